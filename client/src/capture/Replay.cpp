#include "../OutOfMemory.h"
#include "Outcome.h"

namespace kyrOrvel {
namespace client {

namespace {

Comparison compared(bool same)
{
    return same ? Comparison::Same : Comparison::Differs;
}

bool sameStatus(const Status& a, const Status& b)
{
    return a.code == b.code && a.block == b.block && a.row == b.row && a.id == b.id;
}

/// Runs a system, in the order captured if its own is another one.
template <class T>
void runAsCaptured(const CapturedSystem<T>& system, const CapturedOutcome& then,
                   ReplayReport& report)
{
    const bool andSolve = endsWithSolve(system, then);
    report.outcome = run(system, andSolve);
    if (then.order.empty() || report.outcome.order.empty())
        return;
    report.order = compared(report.outcome.order == then.order);
    if (report.order == Comparison::Same)
        return;
    CapturedOutcome ordered = runInOrder(system, then.order, andSolve);
    if (ordered.order == then.order)
        report.outcome = std::move(ordered);
}

void compare(const CapturedOutcome& then, ReplayReport& report)
{
    const CapturedOutcome& now = report.outcome;
    report.status = compared(sameStatus(then.status, now.status));
    if (then.factored && now.factored) {
        report.pattern = compared(then.pattern == now.pattern);
        report.L = compared(then.L == now.L);
        report.D = compared(then.D == now.D);
    }
    if (then.solved && now.solved)
        report.x = compared(then.x == now.x);
}

} // namespace

ReplayReport replay(const Capture& capture)
{
    ReplayReport report;
    const Status status = guardMemory([&]() -> Status {
        std::visit([&](const auto& system) { runAsCaptured(system, capture.outcome, report); },
                   capture.system);
        return {};
    });
    if (!status.ok())
        report.outcome.status = status;
    compare(capture.outcome, report);
    return report;
}

} // namespace client
} // namespace kyrOrvel
