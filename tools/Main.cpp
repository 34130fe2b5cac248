#include "OptionTables.h"
#include "Report.h"

#include <cerrno>
#include <cstdio>
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

/// What is wrong with the command line, in one line.
int usageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> unexpected = app.remaining(true);
    const std::string what =
        unexpected.empty() ? error.what() : "unexpected '" + unexpected.front() + "'";
    return refuse(what + "; 'orvel --help' shows the usage");
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
    // What filled the buffer has been written before, and may have failed then.
    const bool failedBefore = std::ferror(stdout) != 0;
    if (std::fflush(stdout) != 0 || failedBefore)
        return orvel::refuse(std::string("standard output: ") + std::strerror(errno));
    return code;
}
