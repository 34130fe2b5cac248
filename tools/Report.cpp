#include "Report.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace orvel {

using kyrOrvel::client::Analysis;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::OrderingMethod;

namespace {

int firstOutputError = 0;

/// The largest row sum of |A|.
double largestRowSum(const BlockMatrix<double>& A)
{
    std::vector<double> sums(A.dimension());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        const std::size_t m = A.blockSize(r);
        for (const auto& entry : A.row(r)) {
            const std::size_t n = A.blockSize(entry.column);
            const bool diagonal = entry.column == r;
            for (std::size_t i = 0; i < m; ++i)
                for (std::size_t j = 0; j < (diagonal ? i + 1 : n); ++j) {
                    const double v = std::abs(entry.values[i * n + j]);
                    sums[A.blockOffset(r) + i] += v;
                    if (!diagonal || j != i)
                        sums[A.blockOffset(entry.column) + j] += v;
                }
        }
    }
    return sums.empty() ? 0 : *std::max_element(sums.begin(), sums.end());
}

double largest(const std::vector<double>& v)
{
    double result = 0;
    for (const double x : v)
        result = std::max(result, std::abs(x));
    return result;
}

/// The 2-norm, scaled so that no square overflows or vanishes.
double norm(const std::vector<double>& v)
{
    const double scale = largest(v);
    if (scale == 0)
        return 0;
    double sum = 0;
    for (const double x : v)
        sum += (x / scale) * (x / scale);
    return scale * std::sqrt(sum);
}

double ratio(double part, double whole)
{
    return part == 0 ? 0 : part / whole;
}

} // namespace

Accuracy accuracyOf(const BlockMatrix<double>& A, const std::vector<double>& b,
                    const std::vector<double>& x)
{
    std::vector<double> residual(b.size());
    A.multiply(x.data(), residual.data());
    for (std::size_t i = 0; i < b.size(); ++i)
        residual[i] = b[i] - residual[i];
    return {ratio(norm(residual), norm(b)),
            ratio(largest(residual), largestRowSum(A) * largest(x) + largest(b))};
}

std::string describeOrder(const Analysis& analysis)
{
    const std::string placed =
        analysis.free ? ", trailing blocks, all of them soft, wherever fill is least"
        : analysis.earlyBlocks > 0
            ? ", trailing blocks behind the ordinary blocks that they couple to, " +
                  std::to_string(analysis.earlyBlocks) + " of them behind the first"
            : ", trailing blocks behind the ordinary blocks that they couple to";
    switch (analysis.method) {
    case OrderingMethod::MinimumFill:
        return "minimum fill";
    case OrderingMethod::Symamd:
        return "minimum degree";
    case OrderingMethod::SymamdRepaired:
        return "minimum degree, trailing leaves behind their parents";
    case OrderingMethod::SymamdDelayed:
        return "minimum degree, trailing blocks behind a coupled ordinary block";
    case OrderingMethod::ConstraintAware:
        return "minimum fill" + placed;
    case OrderingMethod::NestedDissection:
        return "nested dissection" + placed;
    case OrderingMethod::Natural:
        return "as numbered";
    case OrderingMethod::User:
        return "as given";
    }
    return "";
}

void print(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && firstOutputError == 0)
        firstOutputError = errno;
}

int flushOutput()
{
    // What filled the buffer has been written before, and may have failed then.
    const bool failedBefore = std::ferror(stdout) != 0;
    const bool failedNow = std::fflush(stdout) != 0;
    if (firstOutputError == 0 && (failedBefore || failedNow))
        firstOutputError = errno;
    return firstOutputError;
}

void printLine(const char* name, const std::string& value, const std::string& remark)
{
    print(fmt::format("  {:<18}{:>12}{}{}\n", name, value, remark.empty() ? "" : "  ", remark));
}

void Report::heading(const std::string& text)
{
    if (m_json)
        m_object["input"] = text;
    else
        print(text + "\n");
}

void Report::line(const char* key, const Json& value, const char* label, const std::string& text,
                  const std::string& remark)
{
    if (!m_json)
        printLine(label, text, remark);
    else if (key)
        m_object[key] = value;
}

void Report::file(const char* key, const char* label, const std::string& path)
{
    if (m_json)
        m_object[key] = path;
    else
        print(fmt::format("{}: {}\n", label, path));
}

void Report::detail(const char* key, const Json& value)
{
    if (m_json)
        m_object[key] = value;
}

void Report::finish() const
{
    // File names may be in any encoding; what is not UTF-8 in them is replaced.
    if (m_json)
        print(m_object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

void reportMatrix(Report& report, const BlockMatrix<double>& A)
{
    const auto& sizes = A.blockSizes();
    const auto [smallest, biggest] = std::minmax_element(sizes.begin(), sizes.end());
    const unsigned int trailing = A.numBlockRows() - A.firstTrailing();
    report.line("scalars", A.dimension(), "scalars", std::to_string(A.dimension()));
    report.line("blocks", A.numBlockRows(), "blocks", std::to_string(A.numBlockRows()),
                fmt::format("{} ordinary, {} trailing, sizes {} to {}", A.firstTrailing(), trailing,
                            *smallest, *biggest));
    report.detail("ordinaryBlocks", A.firstTrailing());
    report.detail("trailingBlocks", trailing);
    report.detail("smallestBlock", *smallest);
    report.detail("largestBlock", *biggest);
}

void reportAnalysis(Report& report, const Analysis& analysis)
{
    const std::uint64_t fill = analysis.factorBlocks - analysis.matrixBlocks;
    report.line("matrixBlocks", analysis.matrixBlocks, "blocks of A",
                std::to_string(analysis.matrixBlocks), "lower triangle");
    report.line("factorBlocks", analysis.factorBlocks, "blocks of L",
                std::to_string(analysis.factorBlocks), fmt::format("{} of them fill-in", fill));
    report.detail("fillBlocks", fill);
    report.line("factorScalars", analysis.factorScalars, "scalars of L",
                std::to_string(analysis.factorScalars));
    report.line("operations", analysis.operations, "operations",
                fmt::format("{:.3g}", static_cast<double>(analysis.operations)),
                "multiply-subtract pairs, about");
    report.line("ordering", describeOrder(analysis), "ordering", "", describeOrder(analysis));
}

void reportAccuracy(Report& report, const Accuracy& accuracy)
{
    report.line("relativeResidual", accuracy.relativeResidual, "relative residual",
                fmt::format("{:.1e}", accuracy.relativeResidual), "|b - A x| / |b|");
    report.line("backwardError", accuracy.backwardError, "backward error",
                fmt::format("{:.1e}", accuracy.backwardError), "|b - A x| / (|A| |x| + |b|)");
}

Json describeStatus(const kyrOrvel::client::Status& status)
{
    Json failure;
    failure["status"] = kyrOrvel::client::statusName(status.code);
    failure["message"] = status.message;
    if (status.block != kyrOrvel::kNone)
        failure["block"] = status.block;
    if (status.row != kyrOrvel::kNone)
        failure["row"] = status.row;
    for (const auto& dependency : status.dependsOn)
        failure["dependsOn"].push_back({{"block", dependency.block},
                                        {"row", dependency.row},
                                        {"coefficient", dependency.coefficient}});
    if (status.compliance > 0)
        failure["compliance"] = status.compliance;
    return failure;
}

int reportFailure(Report& report, const std::string& input, const kyrOrvel::client::Status& status,
                  const std::string& text)
{
    report.detail("input", input);
    report.detail("failure", describeStatus(status));
    report.finish();
    printError(text);
    return kNumericalFailure;
}

void printError(const std::string& message)
{
    const std::string line = "orvel: " + message + "\n";
    // A failure is not told of: there is no other place for it.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

int refuse(const std::string& message)
{
    printError(message);
    return kBadInput;
}

std::string refusalToReplace(const std::string& output, const std::vector<std::string>& inputs)
{
    std::error_code none; // there may be no such file
    if (!std::filesystem::is_regular_file(output, none))
        return "";
    for (const std::string& input : inputs)
        if (std::filesystem::equivalent(output, input, none))
            return output + ": it is read, and would be lost; name another file";
    return "";
}

} // namespace orvel
