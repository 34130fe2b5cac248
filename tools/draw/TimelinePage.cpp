#include "Axis.h"
#include "Layout.h"
#include "Pages.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <vector>

namespace orvel {

namespace {

using Clock = kyrOrvel::FactorTrace::Clock;
using Event = kyrOrvel::FactorTrace::Event;

constexpr double kLeft = kMargin + 60;
constexpr double kShares = 70; // room for the shares at work, right of the lanes
constexpr double kWidth = kPageWidth - kMargin - kShares - kLeft;
constexpr double kTop = kHeadHeight + 50;
constexpr double kMostHeight = 640;
constexpr double kHighestLane = 40;
constexpr double kNamedFrom = 11; // height of a lane that can be named
constexpr double kThinnest = 0.2; // bars that are thinner are drawn together
constexpr unsigned int kTicks = 10;

constexpr Colour kWait = kOrange;
constexpr Colour kWork[2] = {kBlue, kSky};        // in turn
constexpr Colour kManyNodes = {0.17, 0.58, 0.80}; // what their stripes look like from afar

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

class Lanes {
public:
    Lanes(Canvas& canvas, const kyrOrvel::FactorTrace& trace) : m_canvas(canvas), m_trace(trace)
    {
        bool first = true;
        for (const auto& events : trace.threads)
            for (const Event& event : events) {
                m_begin = first ? event.begin : std::min(m_begin, event.begin);
                m_end = first ? event.end : std::max(m_end, event.end);
                first = false;
            }
    }

    /// Of lanes and axis.
    static double heightOf(std::size_t threads)
    {
        return std::min(kMostHeight, kHighestLane * static_cast<double>(threads));
    }

    void draw()
    {
        const std::size_t threads = m_trace.threads.size();
        const double lane = heightOf(threads) / static_cast<double>(threads);
        const double gap = lane < kNamedFrom ? 0.1 * lane : 4;
        for (std::size_t t = 0; t < threads; ++t) {
            const double y = kTop + lane * static_cast<double>(t);
            m_canvas.fillRectangle(kLeft, y + gap / 2, kWidth, lane - gap, kFaint);
            drawBars(m_trace.threads[t], false, y + gap / 2, lane - gap);
            drawBars(m_trace.threads[t], true, y + gap / 2, lane - gap);
            if (lane < kNamedFrom && t % 10 != 0)
                continue;
            m_canvas.text(kLeft - 7, y + lane / 2 + 4, fmt::format("thread {}", t), 11,
                          Align::Right);
            m_canvas.text(kLeft + kWidth + 7, y + lane / 2 + 4,
                          fmt::format("{:.0f} %", 100 * shareAtWork(m_trace.threads[t])), 11);
        }
        m_canvas.text(kLeft + kWidth + 7, kTop - 6, "at work", 11);
        drawAxis(kTop + heightOf(threads));
    }

    double duration() const { return milliseconds(m_end - m_begin); }

    /// Of all threads together.
    double shareAtWork() const
    {
        double sum = 0;
        for (const auto& events : m_trace.threads)
            sum += shareAtWork(events);
        return sum / static_cast<double>(m_trace.threads.size());
    }

private:
    double x(Clock::time_point t) const
    {
        return kLeft + kWidth * milliseconds(t - m_begin) / std::max(duration(), 1e-9);
    }

    double shareAtWork(const std::vector<Event>& events) const
    {
        double work = 0;
        for (const Event& event : events)
            work += (event.waiting ? -1 : 1) * milliseconds(event.end - event.begin);
        return work / std::max(duration(), 1e-9);
    }

    /// Draws the events of one kind; neighbours too thin to see become one bar.
    void drawBars(const std::vector<Event>& events, bool waiting, double y, double height)
    {
        unsigned int shade = 0;
        unsigned int joined = 0; // events in the bar to draw next
        double from = 0;
        double to = 0;
        const auto close = [&] {
            if (joined == 0)
                return;
            const Colour work = joined > 1 ? kManyNodes : kWork[shade++ % 2];
            m_canvas.fillRectangle(from, y, std::max(to - from, kThinnest), height,
                                   waiting ? kWait : work);
            joined = 0;
        };
        for (const Event& event : events) {
            if (event.waiting != waiting)
                continue;
            if (joined > 0 && (x(event.begin) - to >= kThinnest || x(event.end) - from >= 1))
                close();
            if (joined == 0)
                from = x(event.begin);
            to = x(event.end);
            ++joined;
        }
        close();
    }

    void drawAxis(double y)
    {
        const double step = roundStep(std::max(duration(), 1e-9), kTicks);
        const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
        m_canvas.line(kLeft, y, kLeft + kWidth, y, kFrame);
        for (int k = 0; k * step <= duration() * (1 + 1e-9); ++k) {
            const double at = kLeft + kWidth * k * step / std::max(duration(), 1e-9);
            m_canvas.line(at, y, at, y + 4, kFrame);
            m_canvas.text(at, y + 16, fmt::format("{:.{}f}", k * step, decimals), 10,
                          Align::Centre);
        }
        m_canvas.text(kLeft + kWidth / 2, y + 32, "time, ms", 11, Align::Centre);
    }

    Canvas& m_canvas;
    const kyrOrvel::FactorTrace& m_trace;
    Clock::time_point m_begin;
    Clock::time_point m_end;
};

/// With three digits behind the point, or none where there are enough before it.
std::string durationText(double milliseconds)
{
    return fmt::format("{:.{}f}", milliseconds, milliseconds < 1000 ? 3 : 0);
}

void drawTimelinePage(Canvas& canvas, const PlotSubject& subject)
{
    const std::size_t threads = subject.trace.threads.size();
    drawHead(canvas, subject, "Timeline of the multifrontal factorization");
    Lanes lanes(canvas, subject.trace);
    canvas.text(kMargin, kHeadHeight + 4,
                fmt::format("{}, {} ms, {:.0f} % of their time at work; operations: {}",
                            counted(threads, "thread", "threads"), durationText(lanes.duration()),
                            100 * lanes.shareAtWork(), amount(subject.analysis().operations)),
                12);
    lanes.draw();
    drawLegend(canvas, kLeft, kTop + Lanes::heightOf(threads) + 60,
               {{kWork[0], "factoring a node"},
                {kWork[1], "the next one"},
                {kManyNodes, "several, too short to tell apart"},
                {kWait, "waiting for another thread"},
                {kFaint, "nothing to do"}});
}

} // namespace

Page timelinePage(const PlotSubject& subject)
{
    return {kTop + Lanes::heightOf(subject.trace.threads.size()) + 84,
            [&subject](Canvas& canvas) { drawTimelinePage(canvas, subject); }};
}

} // namespace orvel
