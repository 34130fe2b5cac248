#include <kyrOrvelClient/Pictures>

#include "../NumberText.h"
#include "../OutOfMemory.h"
#include "../io/WholeFile.h"
#include "Svg.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <sstream>

namespace kyrOrvel {
namespace client {

namespace {

using Clock = FactorTrace::Clock;
using Event = FactorTrace::Event;

constexpr double kWidth = 900; // of the lanes, in pixels
constexpr double kLane = 34;
constexpr double kLaneGap = 26;
constexpr double kMargin = 40;
constexpr double kThinnest = 0.1;

constexpr char kWork[2][8] = {"#2f6db3", "#5b93d0"};
constexpr char kWait[] = "#d9822b";
constexpr char kIdle[] = "#eceef1";

/// Times of a trace on the picture's axis.
struct Axis {
    Clock::time_point begin;
    Clock::time_point end;

    double milliseconds() const
    {
        return std::chrono::duration<double, std::milli>(end - begin).count();
    }
    double at(Clock::time_point t) const
    {
        return kMargin + kWidth * std::chrono::duration<double>(t - begin).count() /
                             std::max(std::chrono::duration<double>(end - begin).count(), 1e-12);
    }
};

bool findAxis(const FactorTrace& trace, Axis& axis)
{
    bool found = false;
    for (const auto& events : trace.threads)
        for (const Event& event : events) {
            axis.begin = found ? std::min(axis.begin, event.begin) : event.begin;
            axis.end = found ? std::max(axis.end, event.end) : event.end;
            found = true;
        }
    return found;
}

/// Draws the events of one kind; neighbours too thin to see become one bar.
void drawBars(Svg& svg, const std::vector<Event>& events, bool waiting, const Axis& axis, double y)
{
    unsigned int shade = 0;
    double from = 0;
    double to = -1;
    const auto flush = [&] {
        if (to >= from)
            svg.rectangle(from, y, std::max(to - from, kThinnest), kLane,
                          waiting ? kWait : kWork[shade++ % 2]);
        to = -1;
    };
    for (const Event& event : events) {
        if (event.waiting != waiting)
            continue;
        const double x = axis.at(event.begin);
        const bool joins = to >= from && x - to < kThinnest && axis.at(event.end) - from < 1;
        if (!joins) {
            flush();
            from = x;
        }
        to = axis.at(event.end);
    }
    flush();
}

/// The share of the time that a thread spends at work.
double shareAtWork(const std::vector<Event>& events, const Axis& axis)
{
    Clock::duration work{};
    for (const Event& event : events)
        work += event.waiting ? event.begin - event.end : event.end - event.begin;
    return std::chrono::duration<double, std::milli>(work).count() / axis.milliseconds();
}

std::string caption(std::size_t thread, double share, const Axis& axis)
{
    std::ostringstream words = plainStream();
    words << "thread " << thread << ": " << std::fixed << std::setprecision(0) << 100 * share
          << " % of " << std::setprecision(2) << axis.milliseconds() << " ms at work";
    return words.str();
}

Status drawTimeline(const std::string& path, const FactorTrace& trace)
{
    Axis axis;
    if (!findAxis(trace, axis))
        return {StatusCode::InvalidInput, path + ": the trace holds no events", kNone, kNone};
    const double height =
        2 * kMargin + static_cast<double>(trace.threads.size()) * (kLane + kLaneGap);
    Svg svg(kWidth + 2 * kMargin, height);
    double y = kMargin;
    for (std::size_t t = 0; t < trace.threads.size(); ++t) {
        const auto& events = trace.threads[t];
        svg.text(kMargin, y - 6, caption(t, shareAtWork(events, axis), axis));
        svg.rectangle(kMargin, y, kWidth, kLane, kIdle);
        drawBars(svg, events, false, axis, y);
        drawBars(svg, events, true, axis, y);
        y += kLane + kLaneGap;
    }
    const std::pair<const char*, const char*> keys[] = {{kWork[0], "factoring a node"},
                                                        {kWait, "waiting for another thread"},
                                                        {kIdle, "nothing to do"}};
    double x = kMargin;
    for (const auto& [colour, name] : keys) {
        svg.rectangle(x, y - 11, 12, 12, colour);
        svg.text(x + 18, y, name);
        x += 220;
    }
    return writeWholeFile(path, svg.finish());
}

} // namespace

Status writeTimeline(const std::string& path, const FactorTrace& trace)
{
    return guardMemory([&] { return drawTimeline(path, trace); });
}

} // namespace client
} // namespace kyrOrvel
