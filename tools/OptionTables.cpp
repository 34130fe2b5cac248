#include "OptionTables.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

namespace orvel {

namespace {

/// "a, b or c".
std::string listOf(const std::vector<std::string>& names)
{
    std::string text = names.front();
    for (std::size_t i = 1; i < names.size(); ++i)
        text += (i + 1 < names.size() ? ", " : " or ") + names[i];
    return text;
}

/// Only these names are taken.
CLI::Validator oneOf(const std::vector<std::string>& names)
{
    const auto check = [names](const std::string& given) {
        return std::find(names.begin(), names.end(), given) != names.end()
                   ? std::string()
                   : "'" + given + "' is none of " + listOf(names);
    };
    return {check, ""};
}

template <class T> constexpr bool kIsWhole = std::is_integral<T>::value;

/// Only numbers from `least` to `most` are taken.
template <class T> CLI::Validator numberFrom(T least, T most)
{
    const auto check = [least, most](const std::string& given) {
        T value = 0;
        const bool taken =
            CLI::detail::lexical_cast(given, value) && value >= least && value <= most;
        return taken ? std::string()
                     : fmt::format("'{}' is not a {} from {} to {}", given,
                                   kIsWhole<T> ? "whole number" : "number", least, most);
    };
    return {check, ""};
}

/// Only finite numbers that are not negative are taken.
CLI::Validator notNegative()
{
    const auto check = [](const std::string& given) {
        double value = 0;
        const bool taken =
            CLI::detail::lexical_cast(given, value) && value >= 0 && std::isfinite(value);
        return taken ? std::string() : "'" + given + "' is not a finite number of 0 or more";
    };
    return {check, ""};
}

/// No empty names: a variable of a script that is not set should not pass for an option left out.
CLI::Validator notEmpty()
{
    const auto check = [](const std::string& given) {
        return given.empty() ? std::string("the file's name is empty") : std::string();
    };
    return {check, ""};
}

void addFlag(CLI::App& command, const char* name, bool& value, const char* help)
{
    command.add_flag(name, value, help);
}

CLI::Option* addFile(CLI::App& command, const char* name, std::string& path, const char* help)
{
    return command.add_option(name, path, help)->type_name("FILE")->check(notEmpty());
}

template <class T>
void addNumber(CLI::App& command, const char* name, T& value, T least, T most, const char* help,
               const char* type = "N")
{
    command.add_option(name, value, help)
        ->type_name(type)
        ->check(numberFrom(least, most))
        ->capture_default_str();
}

void addName(CLI::App& command, const char* name, std::string& value, const char* type,
             const std::vector<std::string>& names)
{
    command.add_option(name, value, listOf(names))
        ->type_name(type)
        ->check(oneOf(names))
        ->capture_default_str();
}

void addMatrix(CLI::App& command, MatrixOptions& options)
{
    CLI::Option* const file = addFile(command, "FILE", options.matrix,
                                      "Matrix Market file: coordinate, real or integer, "
                                      "symmetric; - is standard input");
    file->type_name("");
    CLI::Option* const blocks = addFile(command, "--blocks", options.blocks,
                                        "file with the block sizes; by default FILE with the "
                                        "ending .blocks, if there is one");
    CLI::Option* const find = command
                                  .add_flag("--find-blocks", options.findBlocks,
                                            "find blocks by structure even if there is such a file")
                                  ->excludes(blocks);
    CLI::Option* const scene =
        command
            .add_option("--scene", options.scene,
                        "instead of FILE a system that is built in, by the words that "
                        "orvel scene takes")
            ->type_name("KIND [SIZE]")
            ->expected(-1) // one at least
            ->excludes(file)
            ->excludes(blocks)
            ->excludes(find);
    command.callback([file, scene] {
        if (file->empty() && scene->empty())
            throw CLI::RequiredError("FILE or --scene");
    });
}

void addOrdering(CLI::App& command, std::string& ordering)
{
    addName(command, "--ordering", ordering, "NAME", orderingNames());
}

void addThreads(CLI::App& command, unsigned int& threads, const char* help)
{
    addNumber(command, "--threads", threads, 1u, 255u, help);
}

void addCompliance(CLI::App& command, SolverOptions& options)
{
    command
        .add_option("--compliance", options.compliance,
                    "subtracted from the diagonal of every trailing block, so that redundant "
                    "constraints do no harm; 0 or more")
        ->type_name("C")
        ->check(notNegative())
        ->capture_default_str();
}

void addSolver(CLI::App& command, SolverOptions& options)
{
    addOrdering(command, options.ordering);
    addThreads(command, options.threads, "threads to factor on, 1 to 255; no bit depends on it");
    addFlag(command, "--float", options.singlePrecision, "factor in single precision");
}

void addRefinements(CLI::App& command, SolverOptions& options)
{
    addNumber(command, "--refine", options.refinements, 0, 100,
              "refinement steps at the most, 0 to 100; a factor in single precision is "
              "always corrected");
}

void addJson(CLI::App& command, bool& json)
{
    addFlag(command, "--json", json, "report as a JSON object");
}

/// A matrix and how to order it.
template <class Options> void addAnalysis(CLI::App& command, Options& options)
{
    addMatrix(command, options.input);
    addOrdering(command, options.solver.ordering);
    addCompliance(command, options.solver);
    addJson(command, options.json);
}

/// What stands below the options of a subcommand.
void addFooter(CLI::App& command, const std::string& example, const char* exitCodes = kExitCodes)
{
    command.footer("Example: " + example + "\n\n" + exitCodes);
}

} // namespace

void declare(CLI::App& command, DemoOptions& options)
{
    addNumber(command, "--segments", options.segments, 2u, 100000u,
              "pieces of each rope, 2 to 100000");
    addFile(command, "--picture", options.picture, "draw the bridge and its system as SVG");
    addJson(command, options.json);
    addFooter(command, "orvel demo --segments 100 --picture bridge.svg");
}

void declare(CLI::App& command, SolveOptions& options)
{
    addMatrix(command, options.input);
    addFile(command, "--rhs", options.rightHandSide,
            "right-hand side: Matrix Market array or plain numbers; by default that of the scene, "
            "or A times ones");
    addFile(command, "--out", options.out, "write the solution as a Matrix Market array");
    addSolver(command, options.solver);
    addCompliance(command, options.solver);
    addRefinements(command, options.solver);
    addJson(command, options.json);
    addFooter(command, "orvel solve bridge.mtx --rhs bridge.rhs --out x.mtx");
}

void declare(CLI::App& command, InfoOptions& options)
{
    addAnalysis(command, options);
    addFooter(command, "orvel info bridge.mtx --json");
}

void declare(CLI::App& command, CheckOptions& options)
{
    addAnalysis(command, options);
    addFooter(command, "orvel check frame.mtx");
}

void declare(CLI::App& command, BenchOptions& options)
{
    addMatrix(command, options.input);
    addSolver(command, options.solver);
    addCompliance(command, options.solver);
    addNumber(command, "--seconds", options.seconds, 0.001, 3600.0,
              "to spend, about; 0.001 to 3600", "S");
    CLI::Option* const peers = command.add_flag(
        "--peers", options.peers,
        "beside other solvers, those that the command was built with, one thread each");
    for (const char* const name : {"--ordering", "--threads", "--float", "--compliance"})
        peers->excludes(name);
    addJson(command, options.json);
    addFooter(command, "orvel bench --scene net 60");
}

void declare(CLI::App& command, SceneOptions& options)
{
    command.add_option("KIND", options.kind, "what to make; see below")->type_name("")->required();
    command.add_option("SIZE", options.sizes, "its sizes; see below")->type_name("");
    addFile(command, "--output", options.output,
            "write the matrix as a Matrix Market file, with the block sizes and the "
            "right-hand side beside it in files with the endings .blocks and .rhs; - "
            "is standard output, for the matrix alone");
    addFlag(command, "--solve", options.solve, "solve it and report as orvel solve does");
    addSolver(command, options.solver);
    addRefinements(command, options.solver);
    addJson(command, options.json);
    command.footer("Kinds and their sizes:\n" + describeScenes() +
                   "\nExample: orvel scene wall 30 20 --output wall.mtx\n\n" + kExitCodes);
}

void declare(CLI::App& command, PlotOptions& options)
{
    addMatrix(command, options.input);
    addName(command, "--what", options.what, "KIND", plotNames());
    addOrdering(command, options.solver.ordering);
    addThreads(command, options.solver.threads,
               "threads to factor on, 1 to 255; the tree shows which owns what");
    addCompliance(command, options.solver);
    addFile(command, "--output", options.output,
            "picture to write: .svg, .png or .pdf; by default text in the terminal");
    addFlag(command, "--text", options.text,
            "draw text in the terminal, at most 80 columns wide, as well");
    addFlag(command, "--json", options.json, "say what was drawn as a JSON object");
    addFooter(command, "orvel plot --scene bridge 20 --what factor --output factor.svg");
}

void declare(CLI::App& command, ReplayOptions& options)
{
    addFile(command, "FILE", options.capture, "capture of a system")->type_name("")->required();
    addFile(command, "--shrink", options.shrink,
            "write the smallest part that fails alike: as .mtx with .blocks beside it, "
            "or by any other name as a capture");
    addJson(command, options.json);
    addFooter(command, "orvel replay failed.capture --shrink small.mtx",
              "Exit codes: 0 the same as captured, 1 something differs, 2 wrong usage or bad "
              "files.");
}

} // namespace orvel
