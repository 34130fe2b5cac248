#include "Axis.h"
#include "Paper.h"
#include "Results.h"

#include <cstdio>

namespace bulletjoints {

namespace {

constexpr int kWidth = 1200;
constexpr int kHeight = 724;
constexpr double kColumn = 385; ///< from one scene to the next
constexpr double kLeft = 84;
constexpr double kPanelWidth = 300;
constexpr double kPanelHeight = 230;
constexpr double kSmallest = 1e-7; ///< metres; what is less is rounding in float

// The last method is the direct one and stands out.
constexpr Colour kMethodColours[] = {kOrange, kVermilion, kBlue, kGreen};

struct Panel {
    Axis x;
    Axis y;
};

void decades(Paper& paper, const Panel& panel, bool vertical)
{
    const Axis& axis = vertical ? panel.y : panel.x;
    const auto first = static_cast<int>(std::lround(std::log10(axis.low)));
    const auto last = static_cast<int>(std::lround(std::log10(axis.high)));
    for (int power = first; power <= last; ++power) {
        const double value = std::pow(10, power);
        const double at = axis.place(value);
        if (vertical) {
            paper.line(panel.x.from, at, panel.x.to, at, kFaint);
            paper.text(panel.x.from - 6, at + 4, lengthText(value), 11, Align::Right);
        } else {
            char text[32];
            std::snprintf(text, sizeof text, "%g", value);
            paper.line(at, panel.y.from, at, panel.y.to, kFaint);
            paper.text(at, panel.y.from + 16, text, 11, Align::Centre);
        }
    }
}

void seconds(Paper& paper, const Panel& panel)
{
    for (int second = 0; second <= static_cast<int>(panel.x.high); ++second) {
        const double at = panel.x.place(second);
        char text[32];
        std::snprintf(text, sizeof text, "%d", second);
        paper.line(at, panel.y.from, at, panel.y.to, kFaint);
        paper.text(at, panel.y.from + 16, text, 11, Align::Centre);
    }
}

void border(Paper& paper, const Panel& panel)
{
    paper.frame(panel.x.from, panel.y.to, panel.x.to - panel.x.from, panel.y.from - panel.y.to);
}

Panel makePanel(double left, double top, const Axis& x, const Axis& y)
{
    Panel panel = {x, y};
    panel.x.from = left;
    panel.x.to = left + kPanelWidth;
    panel.y.from = top + kPanelHeight;
    panel.y.to = top;
    return panel;
}

/// The drift over all scenes' methods, so that panels compare.
Axis driftAxis(const Results& results)
{
    double low = 1;
    double high = 1e-3;
    for (const Result& result : results.scenes)
        for (const Run& run : result.runs) {
            low = std::min(low, run.medianDrift() / 3);
            high = std::max(high, run.largestDrift());
        }
    return {decadeBelow(std::max(low, kSmallest)), decadeAbove(high), 0, 0, true};
}

void drawOverTime(Paper& paper, const Results& results, const Result& result, double left,
                  double top)
{
    const Panel panel =
        makePanel(left, top, {0, result.scene.seconds, 0, 0, false}, driftAxis(results));
    decades(paper, panel, true);
    seconds(paper, panel);
    paper.clip(left, top, kPanelWidth, kPanelHeight);
    for (std::size_t m = 0; m < result.runs.size(); ++m) {
        const std::vector<Drift>& drift = result.runs[m].drift;
        for (std::size_t i = 1; i < drift.size(); ++i)
            paper.line(
                panel.x.place(double(i) / result.scene.rate), panel.y.place(drift[i - 1].rms),
                panel.x.place(double(i + 1) / result.scene.rate), panel.y.place(drift[i].rms),
                kMethodColours[m], m + 1 == result.runs.size() ? 2.5 : 1.5);
    }
    paper.release();
    border(paper, panel);
    paper.text(left + kPanelWidth / 2, top + kPanelHeight + 34, "time simulated, s", 12,
               Align::Centre);
}

Axis costAxis(const Results& results)
{
    double low = 1e9;
    double high = 0;
    for (const Result& result : results.scenes)
        for (const Run& run : result.runs) {
            low = std::min(low, run.medianMilliseconds);
            high = std::max(high, run.medianMilliseconds);
        }
    return {decadeBelow(low), decadeAbove(high), 0, 0, true};
}

void drawCost(Paper& paper, const Results& results, const Result& result, double left, double top)
{
    const Panel panel = makePanel(left, top, costAxis(results), driftAxis(results));
    decades(paper, panel, true);
    decades(paper, panel, false);
    border(paper, panel);
    for (std::size_t m = 0; m < result.runs.size(); ++m) {
        const Run& run = result.runs[m];
        const double x = panel.x.place(run.medianMilliseconds);
        const double y = panel.y.place(run.medianDrift());
        const bool last = m + 1 == result.runs.size();
        paper.circle(x, y, last ? 7 : 5, kMethodColours[m]);
        char text[64];
        std::snprintf(text, sizeof text, "%.2g ms", run.medianMilliseconds);
        const bool right = x < panel.x.to - 80;
        paper.text(right ? x + 10 : x - 10, y + 4, text, 11, right ? Align::Left : Align::Right);
    }
    paper.text(left + kPanelWidth / 2, top + kPanelHeight + 34,
               "median processor time per step, ms", 12, Align::Centre);
}

void drawLegend(Paper& paper, const Results& results)
{
    double x = kLeft;
    for (std::size_t m = 0; m < results.methods.size(); ++m) {
        const bool last = m + 1 == results.methods.size();
        paper.line(x, 54, x + 26, 54, kMethodColours[m], last ? 4 : 2.5);
        paper.text(x + 34, 58, results.methods[m].name, 13, Align::Left, kInk, last);
        x += 215;
    }
}

} // namespace

bool drawCurves(const Results& results, const std::string& path)
{
    Paper paper(kWidth, kHeight);
    paper.text(
        kLeft, 28,
        "How far joints come apart: Bullet's sequential impulses, and joints solved directly", 17,
        Align::Left, kInk, true);
    drawLegend(paper, results);
    double left = kLeft;
    for (const Result& result : results.scenes) {
        paper.text(left, 92, result.scene.title, 14, Align::Left, kInk, true);
        drawOverTime(paper, results, result, left, 104);
        drawCost(paper, results, result, left, 416);
        left += kColumn;
    }
    paper.textUpwards(18, 104 + kPanelHeight / 2, "RMS joint drift");
    paper.textUpwards(18, 416 + kPanelHeight / 2, "median of it over the run");
    paper.text(
        kLeft, kHeight - 14,
        "Above: root mean square over all joints, after each step. Below: its median over the "
        "run, against what a step costs; lower left is better.",
        12, Align::Left, kGrey);
    return paper.save(path);
}

} // namespace bulletjoints
