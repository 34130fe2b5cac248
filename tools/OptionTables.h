#ifndef ORVEL_OPTION_TABLES_H
#define ORVEL_OPTION_TABLES_H

#include "Commands.h"

#include <CLI/CLI.hpp>

namespace orvel {

// What each subcommand takes from the command line, with its help.

constexpr char kExitCodes[] =
    "Exit codes: 0 done, 1 the matrix cannot be solved, 2 wrong usage or bad files.";

void declare(CLI::App& command, DemoOptions& options);
void declare(CLI::App& command, SolveOptions& options);
void declare(CLI::App& command, InfoOptions& options);
void declare(CLI::App& command, CheckOptions& options);
void declare(CLI::App& command, BenchOptions& options);
void declare(CLI::App& command, SceneOptions& options);
void declare(CLI::App& command, PlotOptions& options);
void declare(CLI::App& command, ReplayOptions& options);

} // namespace orvel

#endif
