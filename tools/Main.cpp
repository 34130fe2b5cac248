#include "Commands.h"
#include "Report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace orvel {

namespace {

constexpr char kExitCodes[] =
    "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.";

/// What is wrong with the command line, in one line.
int usageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> unexpected = app.remaining(true);
    const std::string what =
        unexpected.empty() ? error.what() : "unexpected '" + unexpected.front() + "'";
    printError(what + "; 'orvel --help' shows the usage");
    return kBadInput;
}

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

void addMatrixOptions(CLI::App& command, MatrixOptions& options)
{
    command
        .add_option("FILE", options.matrix,
                    "Matrix Market file: coordinate, real or integer, symmetric; - is "
                    "standard input")
        ->type_name("")
        ->required();
    CLI::Option* const blocks =
        command
            .add_option("--blocks", options.blocks,
                        "file with the block sizes; by default FILE with the ending .blocks, if "
                        "there is one")
            ->type_name("FILE");
    command
        .add_flag("--find-blocks", options.findBlocks,
                  "find blocks by structure even if there is such a file")
        ->excludes(blocks);
}

void addOrdering(CLI::App& command, std::string& ordering)
{
    command.add_option("--ordering", ordering, listOf(orderingNames()))
        ->type_name("NAME")
        ->check(oneOf(orderingNames()))
        ->capture_default_str();
}

void addJson(CLI::App& command, bool& json)
{
    command.add_flag("--json", json, "report as a JSON object");
}

void addSolverOptions(CLI::App& command, SolverOptions& options)
{
    addOrdering(command, options.ordering);
    command
        .add_option("--threads", options.threads,
                    "threads to factor on, 1 to 255; from 2 on multifrontal")
        ->type_name("N")
        ->check(CLI::Range(1, 255).description(""))
        ->capture_default_str();
    command.add_flag("--float", options.singlePrecision, "factor in single precision");
}

void addRefinements(CLI::App& command, SolverOptions& options)
{
    command
        .add_option("--refine", options.refinements,
                    "refinement steps at the most, 0 to 100; a factor in single precision is "
                    "always corrected")
        ->type_name("N")
        ->check(CLI::Range(0, 100).description(""))
        ->capture_default_str();
}

/// What stands below the options of a subcommand.
std::string footer(const std::string& example)
{
    return "Example: " + example + "\n\n" + kExitCodes;
}

void addSceneOptions(CLI::App& command, SceneOptions& options)
{
    command.add_option("KIND", options.kind, "what to make; see below")->type_name("")->required();
    command.add_option("SIZE", options.sizes, "its sizes; see below")->type_name("");
    command
        .add_option("--output", options.output,
                    "write the matrix as a Matrix Market file, with the block sizes and the "
                    "right-hand side beside it in files with the endings .blocks and .rhs; - "
                    "is standard output, for the matrix alone")
        ->type_name("FILE");
    command.add_flag("--solve", options.solve, "solve it and report as orvel solve does");
    addSolverOptions(command, options.solver);
    addRefinements(command, options.solver);
    addJson(command, options.json);
    command.footer("Kinds and their sizes:\n" + describeScenes() + "\n" +
                   footer("orvel scene wall 30 20 --output wall.mtx"));
}

void addPlotOptions(CLI::App& command, PlotOptions& options)
{
    addMatrixOptions(command, options.input);
    command.add_option("--what", options.what, listOf(plotNames()))
        ->type_name("KIND")
        ->check(oneOf(plotNames()))
        ->capture_default_str();
    addOrdering(command, options.ordering);
    command
        .add_option("--threads", options.threads,
                    "threads to factor on, 1 to 255; the tree shows which owns what")
        ->type_name("N")
        ->check(CLI::Range(1, 255).description(""))
        ->capture_default_str();
    command
        .add_option("--output", options.output,
                    "picture to write: .svg, .png or .pdf; by default text in the terminal")
        ->type_name("FILE");
    command.add_flag("--text", options.text,
                     "draw text in the terminal, at most 80 columns wide, as well");
    command.footer(footer("orvel plot bridge.mtx --what factor --output factor.svg"));
}

CLI::App* addReplay(CLI::App& app, ReplayOptions& options)
{
    CLI::App* const command =
        app.add_subcommand("replay", "solve a captured system again and compare, to the bit");
    command->add_option("FILE", options.capture, "capture of a system")->type_name("")->required();
    command
        ->add_option("--shrink", options.shrink,
                     "write the smallest part that fails alike: as .mtx with .blocks beside it, "
                     "or by any other name as a capture")
        ->type_name("FILE");
    command->add_flag("--json", options.json, "report as JSON");
    command->footer("Example: orvel replay failed.capture --shrink small.mtx\n\n"
                    "Exit codes: 0 the same as captured, 1 something differs, 2 wrong usage or bad "
                    "files.");
    return command;
}

int run(int argc, char** argv)
{
    CLI::App app("Solves sparse symmetric systems of small dense blocks: A = L D L^T.", "orvel");
    app.set_version_flag("--version", "orvel " ORVEL_VERSION);
    app.require_subcommand(1);
    app.footer(kExitCodes);

    DemoOptions demo;
    CLI::App* const demoCommand =
        app.add_subcommand("demo", "solve one time step of a rope bridge, built in");
    demoCommand->add_option("--segments", demo.segments, "pieces of each rope, 2 to 100000")
        ->type_name("N")
        ->check(CLI::Range(2, 100000).description(""))
        ->capture_default_str();
    demoCommand->add_option("--picture", demo.picture, "draw the bridge and its system as SVG")
        ->type_name("FILE");
    addJson(*demoCommand, demo.json);
    demoCommand->footer(footer("orvel demo --segments 100 --picture bridge.svg"));

    SolveOptions solve;
    CLI::App* const solveCommand = app.add_subcommand("solve", "solve a system from a file");
    addMatrixOptions(*solveCommand, solve.input);
    solveCommand
        ->add_option("--rhs", solve.rightHandSide,
                     "right-hand side: Matrix Market array or plain numbers; by default A "
                     "times ones")
        ->type_name("FILE");
    solveCommand->add_option("--out", solve.out, "write the solution as a Matrix Market array")
        ->type_name("FILE");

    addSolverOptions(*solveCommand, solve.solver);
    addRefinements(*solveCommand, solve.solver);
    addJson(*solveCommand, solve.json);
    solveCommand->footer(footer("orvel solve bridge.mtx --rhs bridge.rhs --out x.mtx"));

    InfoOptions info;
    CLI::App* const infoCommand =
        app.add_subcommand("info", "show structure, ordering and fill-in");
    addMatrixOptions(*infoCommand, info.input);
    addOrdering(*infoCommand, info.ordering);
    addJson(*infoCommand, info.json);
    infoCommand->footer(footer("orvel info bridge.mtx --json"));

    CheckOptions check;
    CLI::App* const checkCommand =
        app.add_subcommand("check", "certify the order, count signs, find redundant constraints");
    addMatrixOptions(*checkCommand, check.input);
    addOrdering(*checkCommand, check.ordering);
    addJson(*checkCommand, check.json);
    checkCommand->footer(footer("orvel check frame.mtx"));

    BenchOptions bench;
    CLI::App* const benchCommand =
        app.add_subcommand("bench", "measure analysis, refactorization and solve");
    addMatrixOptions(*benchCommand, bench.input);
    addSolverOptions(*benchCommand, bench.solver);
    benchCommand->add_option("--seconds", bench.seconds, "to spend, about; 0.001 to 3600")
        ->type_name("S")
        ->check(CLI::Range(0.001, 3600.0).description(""))
        ->capture_default_str();
    addJson(*benchCommand, bench.json);
    benchCommand->footer(footer("orvel scene net 60 --output net.mtx && orvel bench net.mtx"));

    SceneOptions scene;
    CLI::App* const sceneCommand =
        app.add_subcommand("scene", "make a system that is built in; write it or solve it");
    addSceneOptions(*sceneCommand, scene);

    PlotOptions plot;
    CLI::App* const plotCommand =
        app.add_subcommand("plot", "draw pattern, factor, tree, pivots or timeline");
    addPlotOptions(*plotCommand, plot);

    ReplayOptions replay;
    CLI::App* const replayCommand = addReplay(app, replay);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error) : usageError(app, error);
    }
    if (demoCommand->parsed())
        return runDemo(demo);
    if (sceneCommand->parsed())
        return runScene(scene);
    if (plotCommand->parsed())
        return runPlot(plot);
    if (checkCommand->parsed())
        return runCheck(check);
    if (benchCommand->parsed())
        return runBench(bench);
    if (replayCommand->parsed())
        return runReplay(replay);
    return solveCommand->parsed() ? runSolve(solve) : runInfo(info);
}

} // namespace

} // namespace orvel

int main(int argc, char** argv)
{
    int code = orvel::kBadInput;
    try {
        code = orvel::run(argc, argv);
    } catch (const std::bad_alloc&) {
        orvel::printError("out of memory");
        return orvel::kBadInput;
    } catch (const std::exception& error) {
        orvel::printError(error.what());
        return orvel::kBadInput;
    }
    // What filled the buffer has been written before, and may have failed then.
    const bool failedBefore = std::ferror(stdout) != 0;
    if (std::fflush(stdout) != 0 || failedBefore) {
        orvel::printError(std::string("standard output: ") + std::strerror(errno));
        return orvel::kBadInput;
    }
    return code;
}
