#ifndef ORVEL_COMMANDS_H
#define ORVEL_COMMANDS_H

#include <string>
#include <vector>

namespace orvel {

/// Exit codes of the command.
enum ExitCode : int {
    kDone = 0,
    kNumericalFailure = 1, ///< the matrix cannot be factored or solved; standard error says where
    kBadInput = 2          ///< files or usage
};

struct DemoOptions {
    unsigned int segments = 60;
    bool json = false;
    std::string picture; ///< SVG file to write, or empty
};

struct MatrixOptions {
    std::string matrix;             ///< Matrix Market file, or "-" for standard input
    std::string blocks;             ///< block partition, or empty: the sidecar if there is one
    bool findBlocks = false;        ///< ignore the sidecar
    std::vector<std::string> scene; ///< kind and sizes, instead of a file; or empty
};

/// How to solve.
struct SolverOptions {
    std::string ordering = "automatic"; ///< one of orderingNames()
    unsigned int threads = 1;
    int refinements = 5;          ///< at the most
    bool singlePrecision = false; ///< factor in float, correct in double
    double compliance = 0;        ///< of every trailing block; 0 or more
};

struct InfoOptions {
    MatrixOptions input;
    SolverOptions solver;
    bool json = false;
};

struct CheckOptions {
    MatrixOptions input;
    SolverOptions solver;
    bool json = false;
};

struct BenchOptions {
    MatrixOptions input;
    SolverOptions solver;
    double seconds = 1; ///< to spend, about
    bool peers = false; ///< beside other solvers, where they were built in
    bool json = false;
};

struct SolveOptions {
    MatrixOptions input;
    SolverOptions solver;
    bool json = false;
    std::string rightHandSide; ///< file, or empty: A times a vector of ones
    std::string out;           ///< file for the solution, or empty
};

struct SceneOptions {
    std::string kind;
    std::vector<std::string> sizes; ///< as many as given; the kind has its own for the rest
    std::string output;             ///< Matrix Market file to write, "-", or empty
    bool solve = false;
    SolverOptions solver;
    bool json = false;
};

/// A line for each kind of scene: its name, its sizes and what it is.
std::string describeScenes();

struct PlotOptions {
    MatrixOptions input;
    std::string what = "all"; ///< a kind of picture, or all
    SolverOptions solver;
    std::string output; ///< picture file, or empty: in the terminal
    bool text = false;  ///< in the terminal, too
    bool json = false;
};

struct ReplayOptions {
    std::string capture;
    std::string shrink; ///< file for the smallest part that fails alike, or empty
    bool json = false;
};

int runDemo(const DemoOptions& options);
int runSolve(const SolveOptions& options);
int runInfo(const InfoOptions& options);
int runCheck(const CheckOptions& options);
int runBench(const BenchOptions& options);
int runPlot(const PlotOptions& options);
int runScene(const SceneOptions& options);

/// The names that PlotOptions knows.
const std::vector<std::string>& plotNames();

/// The names of orderings.
const std::vector<std::string>& orderingNames();

/// kDone if the replay is the same as what was captured, failures included; kNumericalFailure if
/// anything differs.
int runReplay(const ReplayOptions& options);

} // namespace orvel

#endif
