#ifndef ORVEL_REPORT_H
#define ORVEL_REPORT_H

#include "Commands.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/BlockMatrix>

#include <nlohmann/json.hpp>

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

/// Writes to standard output. Failures are seen at the end, by flushOutput.
void print(const std::string& text);

/// Writes what standard output holds back.
///
/// @return  why the first write failed, as errno has it, or 0
int flushOutput();

/// One line of a report: a name, a value, a remark.
void printLine(const char* name, const std::string& value, const std::string& remark = "");

using Json = nlohmann::ordered_json;

/// What a command says on standard output: a heading and lines, or one JSON object.
class Report {
public:
    explicit Report(bool json) : m_json(json) {}

    void heading(const std::string& text);

    /// One line: a label, a value, a remark.
    ///
    /// @param key    of the value in the JSON object; null: the line is for people alone
    void line(const char* key, const Json& value, const char* label, const std::string& text,
              const std::string& remark = "");

    /// A line that names a file.
    void file(const char* key, const char* label, const std::string& path);

    /// A value for the JSON object alone.
    void detail(const char* key, const Json& value);

    /// Prints the JSON object.
    void finish() const;

private:
    bool m_json;
    Json m_object = Json::object();
};

void reportMatrix(Report& report, const kyrOrvel::client::BlockMatrix<double>& A);
void reportAnalysis(Report& report, const kyrOrvel::client::Analysis& analysis);
void reportAccuracy(Report& report, const Accuracy& accuracy);

/// A failure as a JSON object: its code, its message, the block and the rows that it is about.
Json describeStatus(const kyrOrvel::client::Status& status);

/// Ends a report, and its command, with a failure: kNumericalFailure.
///
/// @param text  what a person is told
int reportFailure(Report& report, const std::string& input, const kyrOrvel::client::Status& status,
                  const std::string& text);

/// Prints "orvel: message" to standard error.
void printError(const std::string& message);

/// The same, for a command that ends so: kBadInput.
int refuse(const std::string& message);

/// Why a command must not write to a file: it is one that it reads. Empty if it is none; devices
/// and pipes may be both.
std::string refusalToReplace(const std::string& output, const std::vector<std::string>& inputs);

} // namespace orvel

#endif
