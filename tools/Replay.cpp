#include "Commands.h"
#include "Progress.h"
#include "ReplayReport.h"
#include "Report.h"

#include <kyrOrvelClient/Capture>
#include <kyrOrvelClient/MatrixFiles>

#include <fmt/core.h>

#include <filesystem>

namespace orvel {

using kyrOrvel::client::Capture;
using kyrOrvel::client::ReplayReport;
using kyrOrvel::client::ShrinkProgress;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;

namespace {

std::vector<std::uint64_t> idsOf(const Capture& capture)
{
    return std::visit(
        [](const auto& system) {
            std::vector<std::uint64_t> ids;
            for (unsigned int b = 0; b < system.matrix.numBlockRows(); ++b)
                ids.push_back(system.matrix.id(b));
            return ids;
        },
        capture.system);
}

/// Finds the smallest part that fails alike.
Status search(const Capture& capture, Capture& smallest, std::size_t& tried)
{
    Progress progress("shrinking");
    const auto callback = [&](const ShrinkProgress& shrinking) {
        tried = shrinking.tried;
        progress.soFar(fmt::format("{} blocks left, {} systems tried", shrinking.blocks, tried));
        return true;
    };
    return kyrOrvel::client::shrink(capture, smallest, callback);
}

ReplayReport replayIt(const Capture& capture)
{
    const Progress progress("replaying");
    return kyrOrvel::client::replay(capture);
}

/// Matrix Market with its blocks beside it if the name ends so, else a capture.
Status write(const Capture& smallest, Shrunk& shrunk)
{
    std::filesystem::path path = shrunk.file;
    if (path.extension() != ".mtx")
        return kyrOrvel::client::writeCapture(shrunk.file, smallest);
    shrunk.blocksFile = path.replace_extension(".blocks").string();
    const auto A = kyrOrvel::client::toMatrix(smallest);
    Status status = kyrOrvel::client::writeMatrixMarket(shrunk.file, A);
    if (status.ok())
        status = kyrOrvel::client::writeBlocks(shrunk.blocksFile, A);
    else if (smallest.outcome.status.code == StatusCode::NotFinite)
        status.message += "; a name without the ending .mtx makes a capture";
    return status;
}

/// kDone, or the exit code of what was reported.
int shrinkTo(const ReplayOptions& options, const Capture& capture, Shrunk& shrunk)
{
    if (capture.outcome.status.ok())
        return refuse(options.capture + ": the system captured did not fail: nothing to shrink");
    Capture smallest;
    Status status = search(capture, smallest, shrunk.tried);
    if (!status.ok()) {
        printError(options.capture + ": " + status.message);
        return kNumericalFailure;
    }
    shrunk.ids = idsOf(smallest);
    shrunk.file = options.shrink;
    status = write(smallest, shrunk);
    return status.ok() ? kDone : refuse(status.message);
}

} // namespace

int runReplay(const ReplayOptions& options)
{
    Capture capture;
    const Status status = kyrOrvel::client::readCapture(options.capture, capture);
    if (!status.ok())
        return refuse(status.message);
    const std::string refusal = refusalToReplace(options.shrink, {options.capture});
    if (!refusal.empty())
        return refuse(refusal);
    const bool shrinks = !options.shrink.empty();
    Shrunk shrunk;
    if (shrinks) {
        const int code = shrinkTo(options, capture, shrunk);
        if (code != kDone)
            return code;
    }
    const ReplayReport report = replayIt(capture);
    const auto print = options.json ? printReplayJson : printReplay;
    print(options.capture, capture, report, shrinks ? &shrunk : nullptr);
    return report.same() ? kDone : kNumericalFailure;
}

} // namespace orvel
