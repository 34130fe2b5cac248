#include "ReplayReport.h"

#include "Report.h"
#include "draw/Axis.h"

#include <fmt/core.h>

#include <algorithm>

namespace orvel {

using kyrOrvel::kNone;
using kyrOrvel::client::Capture;
using kyrOrvel::client::CapturedOutcome;
using kyrOrvel::client::Comparison;
using kyrOrvel::client::ReplayReport;
using kyrOrvel::client::Status;
using kyrOrvel::client::statusName;

namespace {

constexpr std::size_t kIdsShown = 12;

std::string placeText(const Status& status)
{
    if (status.block == kNone)
        return "";
    const std::string row = status.row == kNone ? "" : fmt::format(", row {}", status.row);
    return fmt::format(" in block {}{}", status.block, row);
}

std::string statusRemark(const Status& then, Comparison comparison)
{
    if (comparison == Comparison::Same)
        return "as captured";
    return fmt::format("captured: {}{}", statusName(then.code), placeText(then));
}

const char* comparisonText(Comparison comparison)
{
    switch (comparison) {
    case Comparison::Same:
        return "same";
    case Comparison::Differs:
        return "differs";
    case Comparison::NotCompared:
        break;
    }
    return "not compared";
}

std::string hexText(std::uint64_t hash)
{
    return fmt::format("{:016x}", hash);
}

void printHash(const char* name, Comparison comparison, std::uint64_t then, std::uint64_t now)
{
    std::string remark;
    if (comparison == Comparison::Same)
        remark = hexText(now);
    if (comparison == Comparison::Differs)
        remark = hexText(now) + ", captured: " + hexText(then);
    printLine(name, comparisonText(comparison), remark);
}

void printShrunk(const Shrunk& shrunk)
{
    printLine("shrunk to", std::to_string(shrunk.ids.size()),
              fmt::format("{}, the smallest of {} tried",
                          shrunk.ids.size() == 1 ? "block" : "blocks",
                          counted(shrunk.tried, "system", "systems")));
    std::string ids = "ids";
    for (std::size_t i = 0; i < std::min(shrunk.ids.size(), kIdsShown); ++i)
        ids += fmt::format(" {}", shrunk.ids[i]);
    printLine("", "", ids + (shrunk.ids.size() > kIdsShown ? " ..." : ""));
    if (shrunk.blocksFile.empty())
        print("Shrunk capture: " + shrunk.file + "\n");
    else
        print("Shrunk matrix: " + shrunk.file + ", blocks: " + shrunk.blocksFile + "\n");
}

Json numberOrNull(unsigned int value)
{
    return value == kNone ? Json() : Json(value);
}

Json statusOf(const Status& status)
{
    return {{"code", statusName(status.code)},
            {"block", numberOrNull(status.block)},
            {"row", numberOrNull(status.row)},
            {"id", status.id},
            {"message", status.message}};
}

Json hashOf(Comparison comparison, bool hasThen, std::uint64_t then, bool hasNow, std::uint64_t now)
{
    return {{"result", comparisonText(comparison)},
            {"captured", hasThen ? Json(hexText(then)) : Json()},
            {"replayed", hasNow ? Json(hexText(now)) : Json()}};
}

Json describe(const Shrunk& shrunk)
{
    return {{"file", shrunk.file},
            {"blocksFile", shrunk.blocksFile.empty() ? Json() : Json(shrunk.blocksFile)},
            {"ids", shrunk.ids},
            {"tried", shrunk.tried}};
}

/// Sizes and type of the system.
struct Shape {
    const char* precision;
    std::size_t scalars;
    unsigned int blocks;
    unsigned int ordinary;
};

Shape shapeOf(const Capture& capture)
{
    const auto of = [](const auto& system) {
        const auto& A = system.matrix;
        return Shape{"", A.dimension(), A.numBlockRows(), A.firstTrailing()};
    };
    Shape shape = std::visit(of, capture.system);
    shape.precision = capture.system.index() == 0 ? "double" : "float";
    return shape;
}

} // namespace

void printReplay(const std::string& file, const Capture& capture, const ReplayReport& report,
                 const Shrunk* shrunk)
{
    const Shape shape = shapeOf(capture);
    const CapturedOutcome& then = capture.outcome;
    const CapturedOutcome& now = report.outcome;
    print(file + "\n");
    printLine("scalars", std::to_string(shape.scalars), shape.precision);
    printLine(
        "blocks", std::to_string(shape.blocks),
        fmt::format("{} ordinary, {} trailing", shape.ordinary, shape.blocks - shape.ordinary));
    printLine("status", statusName(now.status.code), statusRemark(then.status, report.status));
    if (!now.status.message.empty())
        printLine("", "", now.status.message);
    const bool given = report.order == Comparison::Differs && now.order == then.order;
    printLine("order", comparisonText(report.order), given ? "replayed in the one captured" : "");
    printHash("pattern of L", report.pattern, then.pattern, now.pattern);
    printHash("L", report.L, then.L, now.L);
    printHash("D", report.D, then.D, now.D);
    printHash("x", report.x, then.x, now.x);
    if (shrunk)
        printShrunk(*shrunk);
}

void printReplayJson(const std::string& file, const Capture& capture, const ReplayReport& report,
                     const Shrunk* shrunk)
{
    const Shape shape = shapeOf(capture);
    const CapturedOutcome& then = capture.outcome;
    const CapturedOutcome& now = report.outcome;
    const auto hash = [&](Comparison comparison, std::uint64_t a, std::uint64_t b) {
        return hashOf(comparison, then.factored, a, now.factored, b);
    };
    Report json(true);
    json.detail("input", file);
    json.detail("precision", shape.precision);
    json.detail("scalars", shape.scalars);
    json.detail("blocks", shape.blocks);
    json.detail("ordinaryBlocks", shape.ordinary);
    json.detail("trailingBlocks", shape.blocks - shape.ordinary);
    json.detail("same", report.same());
    json.detail("status", {{"result", comparisonText(report.status)},
                           {"captured", statusOf(then.status)},
                           {"replayed", statusOf(now.status)}});
    json.detail("order", comparisonText(report.order));
    json.detail("pattern", hash(report.pattern, then.pattern, now.pattern));
    json.detail("L", hash(report.L, then.L, now.L));
    json.detail("D", hash(report.D, then.D, now.D));
    json.detail("x", hashOf(report.x, then.solved, then.x, now.solved, now.x));
    json.detail("shrunk", shrunk ? describe(*shrunk) : Json());
    json.finish();
}

} // namespace orvel
