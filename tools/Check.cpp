#include "Commands.h"
#include "MatrixInput.h"
#include "Orderings.h"
#include "Progress.h"
#include "Report.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Diagnosis>

#include <fmt/core.h>

#include <cstddef>

namespace orvel {

using kyrOrvel::client::BlockLDLT;
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

void reportRedundant(Report& report, const MatrixInput& input, const std::vector<Status>& found)
{
    Json list = Json::array();
    for (const Status& status : found) {
        list.push_back(describeStatus(status));
        report.line(nullptr, {}, "", "", describeRedundant(input, status));
    }
    report.detail("redundant", list);
}

} // namespace

int runCheck(const CheckOptions& options)
{
    MatrixInput input;
    Status status = readInput(options.input, input);
    if (!status.ok())
        return refuse(status.message);
    Report report(options.json);
    reportInput(report, input);

    BlockLDLT<double> solver;
    solver.setOrdering(orderingOf(options.solver.ordering));
    {
        const Progress progress("analysing and factoring");
        solver.compute(input.matrix);
    }
    const auto& order = solver.analysis().order;
    if (order.size() == input.matrix.numBlockRows())
        status = kyrOrvel::client::checkOrder(input.matrix, order);
    else
        status = solver.info();
    report.line("orderCertified", status.ok(), "order", status.ok() ? "certified" : "refused",
                status.ok() ? "no pivot is zero whatever the values" : status.message);

    const Status& info = solver.info();
    const bool factored = info.ok();
    if (factored) {
        const auto statistics = solver.statistics();
        report.line("positivePivots", statistics.positivePivots, "positive pivots",
                    std::to_string(statistics.positivePivots), "of ordinary blocks");
        report.line("negativePivots", statistics.negativePivots, "negative pivots",
                    std::to_string(statistics.negativePivots), "of trailing blocks");
        report.line("smallestPivot", statistics.smallestPivot, "smallest pivot",
                    fmt::format("{:.2e}", statistics.smallestPivot));
        report.line("largestPivot", statistics.largestPivot, "largest pivot",
                    fmt::format("{:.2e}", statistics.largestPivot));
        report.line("rank", "full", "rank", "full", "every row counts");
    } else {
        const bool singular = info.code == StatusCode::Singular;
        report.line("rank", singular ? "deficient" : "unknown", "rank",
                    singular ? "deficient" : "unknown", statusName(info.code));
        if (singular) {
            const Progress progress("looking for redundant constraints");
            reportRedundant(report, input, kyrOrvel::client::findRedundant(input.matrix));
        }
    }
    if (!factored)
        return reportFailure(report, input, info);
    report.finish();
    return kDone;
}

} // namespace orvel
