#include "Commands.h"
#include "Report.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace orvel {

namespace {

/// What is wrong with the command line, in one line.
int usageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> unexpected = app.remaining(true);
    const std::string what =
        unexpected.empty() ? error.what() : "unexpected '" + unexpected.front() + "'";
    printError(what + "; 'orvel --help' shows the usage");
    return kBadInput;
}

void addMatrixOptions(CLI::App& command, MatrixOptions& options)
{
    command
        .add_option("FILE", options.matrix,
                    "Matrix Market file: coordinate, real or integer, symmetric")
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
    command->footer("Exit codes: 0 the same as captured, 1 something differs, 2 wrong usage or bad "
                    "files.");
    return command;
}

int run(int argc, char** argv)
{
    CLI::App app("Solves sparse symmetric systems of small dense blocks: A = L D L^T.", "orvel");
    app.set_version_flag("--version", "orvel " ORVEL_VERSION);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.");

    DemoOptions demo;
    CLI::App* const demoCommand =
        app.add_subcommand("demo", "solve one time step of a rope bridge, built in");
    demoCommand->add_option("--segments", demo.segments, "pieces of each rope, 2 to 100000")
        ->type_name("N")
        ->check(CLI::Range(2, 100000).description(""))
        ->capture_default_str();
    demoCommand->add_option("--picture", demo.picture, "draw the bridge and its system as SVG")
        ->type_name("FILE");

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

    MatrixOptions info;
    CLI::App* const infoCommand =
        app.add_subcommand("info", "show structure, ordering and fill-in");
    addMatrixOptions(*infoCommand, info);

    ReplayOptions replay;
    CLI::App* const replayCommand = addReplay(app, replay);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error) : usageError(app, error);
    }
    if (demoCommand->parsed())
        return runDemo(demo);
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
    if (std::fflush(stdout) != 0) {
        orvel::printError(std::string("standard output: ") + std::strerror(errno));
        return orvel::kBadInput;
    }
    return code;
}
