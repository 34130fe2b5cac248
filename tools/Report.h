#ifndef ORVEL_REPORT_H
#define ORVEL_REPORT_H

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/BlockMatrix>

#include <chrono>
#include <string>
#include <vector>

namespace orvel {

/// Wall-clock time of a call in milliseconds.
template <class Step> double timeOf(Step step)
{
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// How well x solves A·x = b.
struct Accuracy {
    double relativeResidual; ///< |b - A·x| / |b|, 2-norms
    double backwardError;    ///< |b - A·x| / (|A|·|x| + |b|), largest norms
};
Accuracy accuracyOf(const kyrOrvel::client::BlockMatrix<double>& A, const std::vector<double>& b,
                    const std::vector<double>& x);

/// How the elimination order came about.
std::string describeOrder(const kyrOrvel::client::Analysis& analysis);

/// One line of a report: a name, a value, a remark.
void printLine(const char* name, const std::string& value, const std::string& remark = "");

void printMatrix(const kyrOrvel::client::BlockMatrix<double>& A);
void printAnalysis(const kyrOrvel::client::Analysis& analysis);
void printAccuracy(const Accuracy& accuracy);

/// Prints "orvel: message" to standard error.
void printError(const std::string& message);

} // namespace orvel

#endif
