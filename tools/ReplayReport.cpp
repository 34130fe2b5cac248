#include "ReplayReport.h"

#include "Report.h"

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
              fmt::format("blocks, the smallest of {} systems tried", shrunk.tried));
    std::string ids = "ids";
    for (std::size_t i = 0; i < std::min(shrunk.ids.size(), kIdsShown); ++i)
        ids += fmt::format(" {}", shrunk.ids[i]);
    printLine("", "", ids + (shrunk.ids.size() > kIdsShown ? " ..." : ""));
    if (shrunk.blocksFile.empty())
        fmt::print("Shrunk capture: {}\n", shrunk.file);
    else
        fmt::print("Shrunk matrix: {}, blocks: {}\n", shrunk.file, shrunk.blocksFile);
}

// JSON

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        if (static_cast<unsigned char>(c) < ' ')
            result += fmt::format("\\u{:04x}", static_cast<unsigned int>(c));
        else
            result += c;
    }
    return result + '"';
}

std::string numberOrNull(unsigned int value)
{
    return value == kNone ? "null" : std::to_string(value);
}

std::string statusJson(const Status& status)
{
    return fmt::format(R"({{"code": "{}", "block": {}, "row": {}, "id": {}, "message": {}}})",
                       statusName(status.code), numberOrNull(status.block),
                       numberOrNull(status.row), status.id, quoted(status.message));
}

std::string hashJson(Comparison comparison, bool hasThen, std::uint64_t then, bool hasNow,
                     std::uint64_t now)
{
    return fmt::format(R"({{"result": "{}", "captured": {}, "replayed": {}}})",
                       comparisonText(comparison), hasThen ? quoted(hexText(then)) : "null",
                       hasNow ? quoted(hexText(now)) : "null");
}

std::string shrunkJson(const Shrunk& shrunk)
{
    std::string ids;
    for (const std::uint64_t id : shrunk.ids)
        ids += (ids.empty() ? "" : ", ") + std::to_string(id);
    const std::string blocks = shrunk.blocksFile.empty() ? "null" : quoted(shrunk.blocksFile);
    return fmt::format(R"({{"file": {}, "blocksFile": {}, "ids": [{}], "tried": {}}})",
                       quoted(shrunk.file), blocks, ids, shrunk.tried);
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
    fmt::print("{}\n", file);
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
        return hashJson(comparison, then.factored, a, now.factored, b);
    };
    fmt::print("{{\n  \"file\": {},\n  \"precision\": \"{}\",\n", quoted(file), shape.precision);
    fmt::print("  \"scalars\": {},\n  \"blocks\": {},\n  \"ordinary\": {},\n", shape.scalars,
               shape.blocks, shape.ordinary);
    fmt::print("  \"same\": {},\n", report.same());
    fmt::print(
        "  \"status\": {{\"result\": \"{}\",\n    \"captured\": {},\n    \"replayed\": {}}},\n",
        comparisonText(report.status), statusJson(then.status), statusJson(now.status));
    fmt::print("  \"order\": \"{}\",\n", comparisonText(report.order));
    fmt::print("  \"pattern\": {},\n", hash(report.pattern, then.pattern, now.pattern));
    fmt::print("  \"L\": {},\n", hash(report.L, then.L, now.L));
    fmt::print("  \"D\": {},\n", hash(report.D, then.D, now.D));
    fmt::print("  \"x\": {},\n", hashJson(report.x, then.solved, then.x, now.solved, now.x));
    fmt::print("  \"shrunk\": {}\n}}\n", shrunk ? shrunkJson(*shrunk) : "null");
}

} // namespace orvel
