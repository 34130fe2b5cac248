#ifndef ORVEL_COMMANDS_H
#define ORVEL_COMMANDS_H

#include <string>

namespace orvel {

/// Exit codes of the command.
enum ExitCode : int {
    kDone = 0,
    kNumericalFailure = 1, ///< the matrix cannot be factored or solved; standard error says where
    kBadInput = 2          ///< files or usage
};

struct DemoOptions {
    unsigned int segments = 60;
    std::string picture; ///< SVG file to write, or empty
};

struct MatrixOptions {
    std::string matrix;      ///< Matrix Market file
    std::string blocks;      ///< block partition, or empty: the sidecar if there is one
    bool findBlocks = false; ///< ignore the sidecar
};

struct SolveOptions {
    MatrixOptions input;
    std::string rightHandSide; ///< file, or empty: A times a vector of ones
    std::string out;           ///< file for the solution, or empty
};

struct ReplayOptions {
    std::string capture;
    std::string shrink; ///< file for the smallest part that fails alike, or empty
    bool json = false;
};

int runDemo(const DemoOptions& options);
int runSolve(const SolveOptions& options);
int runInfo(const MatrixOptions& options);

/// kDone if the replay is the same as what was captured, failures included; kNumericalFailure if
/// anything differs.
int runReplay(const ReplayOptions& options);

} // namespace orvel

#endif
