#include "Commands.h"
#include "Compliance.h"
#include "Configure.h"
#include "MatrixInput.h"
#include "Progress.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <kyrOrvel/Orvel>

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Dependency;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

constexpr std::size_t kShownDependencies = 8;

std::string dependenciesOf(const MatrixInput& input, const Status& status)
{
    std::string text;
    std::size_t shown = 0;
    for (const Dependency& dependency : status.dependsOn) {
        if (shown == kShownDependencies)
            return text + " and others";
        text +=
            (shown++ ? ", " : "") + std::to_string(rowOf(input, dependency.block, dependency.row));
    }
    return text;
}

/// What a person is told of a redundant row.
std::string describeRedundant(const MatrixInput& input, const Status& status)
{
    if (status.code == StatusCode::WrongSigns)
        return fmt::format("the search ends at row {}, of block {}, whose pivot has another sign "
                           "than expected",
                           rowOf(input, status.block, status.row), status.block);
    if (status.code != StatusCode::Singular || status.block == kyrOrvel::kNone)
        return status.message;
    std::string text =
        fmt::format("row {}, of block {},", rowOf(input, status.block, status.row), status.block);
    if (status.dependsOn.empty())
        text += " has nothing to lean on";
    else
        text += (status.dependsOn.size() == 1 ? " depends on row " : " depends on rows ") +
                dependenciesOf(input, status);
    if (status.compliance > 0)
        text += fmt::format("; a compliance of {:.2g} would do", status.compliance);
    return text;
}

/// Those found, and the one that the factorization failed at if the search did not come that far.
std::vector<Status> redundantRows(const BlockMatrix<double>& A, const Status& failure)
{
    const Progress progress("looking for redundant constraints");
    std::vector<Status> found = kyrOrvel::client::findRedundant(A);
    if (found.empty() || found.front().code != StatusCode::Singular)
        found.insert(found.begin(), failure);
    return found;
}

void reportRedundant(Report& report, const MatrixInput& input, const std::vector<Status>& found)
{
    Json list = Json::array();
    for (const Status& status : found) {
        list.push_back(describeStatus(status));
        report.line(nullptr, {}, "", "", describeRedundant(input, status));
    }
    report.detail("redundant", list);
}

void reportOrder(Report& report, const BlockMatrix<double>& A, const BlockLDLT<double>& solver)
{
    Status status = solver.info();
    if (hasOrder(solver, A))
        status = kyrOrvel::client::checkOrder(A, solver.analysis().order);
    report.line("orderCertified", status.ok(), "order", status.ok() ? "certified" : "refused",
                status.ok() ? "of the structure alone: it forces no pivot to be zero"
                            : status.message);
}

/// Pivots of other signs than those of bodies and constraints: positive for ordinary blocks,
/// negative for trailing ones.
struct UnexpectedSigns {
    std::size_t ordinary = 0;
    std::size_t trailing = 0;
    unsigned int block = kyrOrvel::kNone; ///< of the first one
    unsigned int row = kyrOrvel::kNone;   ///< of the block
};

UnexpectedSigns findUnexpectedSigns(const MatrixInput& input, const BlockLDLT<double>& solver)
{
    UnexpectedSigns found;
    const double* pivot = solver.data().pivots.data;
    for (const unsigned int block : solver.analysis().order) {
        const bool trailing = block >= input.matrix.firstTrailing();
        for (unsigned int row = 0; row < input.matrix.blockSize(block); ++row) {
            if ((*pivot++ < 0) == trailing)
                continue;
            if (found.ordinary + found.trailing == 0) {
                found.block = block;
                found.row = row;
            }
            ++(trailing ? found.trailing : found.ordinary);
        }
    }
    return found;
}

std::string describeSigns(const MatrixInput& input, const UnexpectedSigns& found)
{
    const bool trailing = input.matrix.firstTrailing() < input.matrix.numBlockRows();
    if (found.block == kyrOrvel::kNone)
        return trailing ? "positive in ordinary blocks, negative in trailing ones"
                        : "all positive: the matrix is definite";
    std::string text = fmt::format("{} negative in ordinary blocks", found.ordinary);
    if (trailing)
        text += fmt::format(", {} positive in trailing ones", found.trailing);
    return text + fmt::format("; the first in row {}, of block {}",
                              rowOf(input, found.block, found.row), found.block);
}

/// Signs that are not expected are no failure: a system may be meant to have them.
void reportSigns(Report& report, const MatrixInput& input, const BlockLDLT<double>& solver)
{
    const auto statistics = solver.statistics();
    report.line("positivePivots", statistics.positivePivots, "positive pivots",
                std::to_string(statistics.positivePivots));
    report.line("negativePivots", statistics.negativePivots, "negative pivots",
                std::to_string(statistics.negativePivots));
    const UnexpectedSigns found = findUnexpectedSigns(input, solver);
    const char* const signs = found.block == kyrOrvel::kNone ? "expected" : "unexpected";
    report.line("signs", signs, "signs", signs, describeSigns(input, found));
    report.detail("negativeInOrdinaryBlocks", found.ordinary);
    report.detail("positiveInTrailingBlocks", found.trailing);
}

void reportPivots(Report& report, const MatrixInput& input, const BlockLDLT<double>& solver)
{
    reportSigns(report, input, solver);
    const auto statistics = solver.statistics();
    report.line("smallestPivot", statistics.smallestPivot, "smallest pivot",
                fmt::format("{:.2e}", statistics.smallestPivot));
    report.line("largestPivot", statistics.largestPivot, "largest pivot",
                fmt::format("{:.2e}", statistics.largestPivot));
    report.line("rank", "full", "rank", "full", "every row counts");
}

void reportDeficiency(Report& report, const MatrixInput& input, const BlockMatrix<double>& A,
                      const Status& failure)
{
    const bool singular = failure.code == StatusCode::Singular;
    const char* const rank = singular ? "deficient" : "unknown";
    report.line("rank", rank, "rank", rank, statusName(failure.code));
    if (singular)
        reportRedundant(report, input, redundantRows(A, failure));
}

} // namespace

int runCheck(const CheckOptions& options)
{
    MatrixInput input;
    const Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);
    Report report(options.json);
    reportInput(report, input);
    reportCompliance(report, input.matrix, options.solver);

    BlockLDLT<double> solver;
    configure(solver, options.solver);
    {
        const Progress progress("analysing and factoring");
        solver.compute(input.matrix);
    }
    const CompliantMatrix solved(input.matrix, options.solver);
    reportOrder(report, solved.get(), solver);
    if (!solver.info().ok()) {
        reportDeficiency(report, input, solved.get(), solver.info());
        return reportFailure(report, input, solver.info());
    }
    reportPivots(report, input, solver);
    report.finish();
    return kDone;
}

} // namespace orvel
