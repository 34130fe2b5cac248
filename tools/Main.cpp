#include "OptionTables.h"
#include "Report.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace orvel {

namespace {

/// The subcommands, each with what runs it.
using Subcommands = std::vector<std::pair<CLI::App*, std::function<int()>>>;

template <class Options>
void add(CLI::App& app, Subcommands& subcommands, const char* name, const char* what,
         int (*run)(const Options&))
{
    CLI::App* const command = app.add_subcommand(name, what);
    const auto options = std::make_shared<Options>();
    declare(*command, *options);
    subcommands.emplace_back(command, [run, options] { return run(*options); });
}

Subcommands addSubcommands(CLI::App& app)
{
    Subcommands all;
    add(app, all, "demo", "solve one time step of a rope bridge, built in", runDemo);
    add(app, all, "solve", "solve a system from a file", runSolve);
    add(app, all, "info", "show structure, ordering and fill-in", runInfo);
    add(app, all, "check", "certify the order, count signs, find redundant constraints", runCheck);
    add(app, all, "bench", "measure analysis, refactorization and solve", runBench);
    add(app, all, "scene", "make a system that is built in; write it or solve it", runScene);
    add(app, all, "plot", "draw pattern, factor, tree, pivots or timeline", runPlot);
    add(app, all, "replay", "solve a captured system again and compare, to the bit", runReplay);
    return all;
}

/// The part of a text between two others; the first of them may be empty.
std::string between(const std::string& text, const std::string& before, const std::string& after)
{
    const std::size_t begin = text.find(before) + before.size();
    return text.substr(begin, text.find(after, begin) - begin);
}

/// What the parser says, in words that do not need to know it: options have one value, flags none.
std::string describe(const CLI::ParseError& error)
{
    std::string text = error.what();
    if (dynamic_cast<const CLI::ConversionError*>(&error)) // numbers have been looked at before
        return between(text, "convert: ", " = ") + " takes no value";
    if (!dynamic_cast<const CLI::ArgumentMismatch*>(&error))
        return text;
    const bool missing = text.find("missing") != std::string::npos;
    return between(text, "", ": ") + (missing ? " needs a value" : " is given more than once");
}

/// What is wrong with the command line, in one line.
int usageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> unexpected = app.remaining(true);
    const std::string what =
        unexpected.empty() ? describe(error) : "unexpected '" + unexpected.front() + "'";
    std::string command = "orvel";
    for (const CLI::App* const subcommand : app.get_subcommands())
        command += " " + subcommand->get_name();
    return refuse(what + "; '" + command + " --help' shows the usage");
}

int run(int argc, char** argv)
{
    CLI::App app("Solves sparse symmetric systems of small dense blocks: A = L D L^T.", "orvel");
    app.set_version_flag("--version", "orvel " ORVEL_VERSION);
    app.require_subcommand(1);
    app.footer(kExitCodes);
    const Subcommands subcommands = addSubcommands(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error) : usageError(app, error);
    }
    for (const auto& [command, runIt] : subcommands)
        if (command->parsed())
            return runIt();
    return kBadInput;
}

} // namespace

} // namespace orvel

int main(int argc, char** argv)
{
    int code = orvel::kBadInput;
    try {
        code = orvel::run(argc, argv);
    } catch (const std::bad_alloc&) {
        return orvel::refuse("out of memory");
    } catch (const std::exception& error) {
        return orvel::refuse(error.what());
    }
    const int failure = orvel::flushOutput();
    return failure == 0 ? code
                        : orvel::refuse(std::string("standard output: ") + std::strerror(failure));
}
