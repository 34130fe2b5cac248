#include "Axis.h"
#include "Layout.h"
#include "Pages.h"
#include "SignedScale.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace orvel {

namespace {

constexpr double kTop = kHeadHeight + 40;
constexpr double kHeight = 480;
constexpr double kLeft = kMargin + 50; // of the pivots in elimination order
constexpr double kWidth = 580;
constexpr double kBarsLeft = kLeft + kWidth + 44; // of the histogram
constexpr double kBarsWidth = kPageWidth - kMargin - kBarsLeft;
constexpr double kLegend = kTop + kHeight + 60;

constexpr std::size_t kMostPoints = 4000; // drawn by themselves; more are counted by cells
constexpr double kCell = 2;               // smaller ones are hard to see alone
constexpr std::size_t kMostMarks = 300;   // of zero and tiny pivots
constexpr double kFaintest = 0.35;
constexpr unsigned int kTicks = 8;
constexpr double kBin = 6; // height of a bar of the histogram

Colour colourOf(bool trailing)
{
    return trailing ? kVermilion : kBlue;
}

/// 10 to a power, its exponent raised.
std::string powerOfTen(int decade, bool negative)
{
    static const char* const digits[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
    std::string text = negative ? "−10" : "10";
    for (const char c : std::to_string(decade))
        text += c == '-' ? "⁻" : digits[c - '0'];
    return text;
}

/// Ordinary and trailing pivots counted by places.
using Counts = std::array<std::uint64_t, 2>;

std::uint64_t total(const Counts& counts)
{
    return counts[0] + counts[1];
}

class PivotsDrawing {
public:
    PivotsDrawing(Canvas& canvas, const PivotFigures& figures)
        : m_canvas(canvas), m_figures(figures), m_scale(figures, kTop, kHeight)
    {
    }

    void draw()
    {
        drawBands();
        if (m_figures.pivots.size() > kMostPoints)
            drawShades();
        else
            drawPoints();
        drawMarks();
        drawBars();
        drawAxes();
    }

    std::uint64_t mostInACell() const { return m_mostInACell; }

private:
    double x(std::size_t position) const
    {
        return kLeft + kWidth * (static_cast<double>(position) + 0.5) /
                           static_cast<double>(m_figures.pivots.size());
    }

    /// Where there is neither a positive nor a negative size.
    void drawBands()
    {
        for (const SignedScale::Band& band : {m_scale.notFinite(), m_scale.zero()})
            if (band.height > 0) {
                m_canvas.fillRectangle(kLeft, band.top, kWidth, band.height, kFaint);
                m_canvas.fillRectangle(kBarsLeft, band.top, kBarsWidth, band.height, kFaint);
            }
    }

    void drawPoints()
    {
        const double room = kWidth / static_cast<double>(m_figures.pivots.size());
        const double size = std::clamp(0.8 * room, 2.0, 6.0);
        for (std::size_t k = 0; k < m_figures.pivots.size(); ++k) {
            const Pivot& pivot = m_figures.pivots[k];
            if (pivot.value != 0 && std::isfinite(pivot.value))
                m_canvas.fillRectangle(x(k) - size / 2, m_scale.at(pivot.value) - size / 2, size,
                                       size, colourOf(pivot.trailing));
        }
    }

    void drawShades()
    {
        constexpr auto columns = static_cast<unsigned int>(kWidth / kCell);
        constexpr auto rows = static_cast<unsigned int>(kHeight / kCell);
        std::vector<Counts> cells(std::size_t(columns) * rows, Counts{0, 0});
        for (std::size_t k = 0; k < m_figures.pivots.size(); ++k) {
            const Pivot& pivot = m_figures.pivots[k];
            if (pivot.value == 0 || !std::isfinite(pivot.value))
                continue;
            const double column = std::min((x(k) - kLeft) / kCell, columns - 1.0);
            const double row =
                std::clamp((m_scale.at(pivot.value) - kTop) / kCell, 0.0, rows - 1.0);
            ++cells[static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)]
                   [pivot.trailing];
        }
        for (const Counts& cell : cells)
            m_mostInACell = std::max(m_mostInACell, total(cell));
        Raster raster(columns, rows);
        for (unsigned int row = 0; row < rows; ++row)
            for (unsigned int column = 0; column < columns; ++column) {
                const Counts& cell = cells[std::size_t(row) * columns + column];
                if (total(cell) > 0)
                    raster.set(column, row, shadeOf(cell));
            }
        m_canvas.image(kLeft, kTop, kWidth, kHeight, raster);
    }

    Colour shadeOf(const Counts& cell) const
    {
        const auto all = static_cast<double>(total(cell));
        const Colour mean =
            mix(colourOf(false), colourOf(true), static_cast<double>(cell[1]) / all);
        const double strength = m_mostInACell <= 1
                                    ? 1
                                    : kFaintest + (1 - kFaintest) * std::log(all) /
                                                      std::log(static_cast<double>(m_mostInACell));
        return mix(kWhite, mean, strength);
    }

    /// Rings around tiny pivots, crosses for zeros and for what is not finite.
    void drawMarks()
    {
        std::size_t marks = 0;
        for (std::size_t k = 0; k < m_figures.pivots.size() && marks < kMostMarks; ++k) {
            const Pivot& pivot = m_figures.pivots[k];
            const double y = m_scale.at(pivot.value);
            if (pivot.tiny) {
                m_canvas.strokeCircle(x(k), y, 5, kInk, 1.3);
            } else if (pivot.value == 0 || !std::isfinite(pivot.value)) {
                m_canvas.line(x(k) - 4, y - 4, x(k) + 4, y + 4, kInk, 1.6);
                m_canvas.line(x(k) - 4, y + 4, x(k) + 4, y - 4, kInk, 1.6);
            } else {
                continue;
            }
            ++marks;
        }
    }

    /// How many pivots there are of each size, beside those.
    void drawBars()
    {
        const auto rows = static_cast<unsigned int>(kHeight / kBin);
        std::vector<Counts> bars(rows, Counts{0, 0});
        std::uint64_t most = 1;
        for (const Pivot& pivot : m_figures.pivots) {
            const double y = std::clamp((m_scale.at(pivot.value) - kTop) / kBin, 0.0, rows - 1.0);
            Counts& bar = bars[static_cast<unsigned int>(y)];
            ++bar[pivot.trailing];
            most = std::max(most, total(bar));
        }
        const std::uint64_t fullest = most;
        most += most / 20 + 1; // a bar does not reach the frame
        for (unsigned int row = 0; row < rows; ++row)
            drawBar(kTop + row * kBin, bars[row], most);
        for (const std::uint64_t tick : ticksUpTo(fullest, 4)) {
            const double at =
                kBarsLeft + kBarsWidth * static_cast<double>(tick) / static_cast<double>(most);
            m_canvas.line(at, kTop + kHeight, at, kTop + kHeight + 4, kFrame);
            m_canvas.text(at, kTop + kHeight + 15, grouped(tick), 10, Align::Centre);
        }
    }

    void drawBar(double y, const Counts& bar, std::uint64_t most)
    {
        double left = kBarsLeft;
        for (const bool trailing : {false, true}) {
            if (bar[trailing] == 0)
                continue;
            const double length = std::max(1.0, kBarsWidth * static_cast<double>(bar[trailing]) /
                                                    static_cast<double>(most));
            m_canvas.fillRectangle(left, y + 0.5, length, kBin - 1, colourOf(trailing));
            left += length;
        }
    }

    void drawAxes()
    {
        m_canvas.strokeRectangle(kLeft, kTop, kWidth, kHeight, kFrame);
        m_canvas.strokeRectangle(kBarsLeft, kTop, kBarsWidth, kHeight, kFrame);
        for (const SignedScale::Tick& tick : m_scale.ticks()) {
            m_canvas.line(kLeft - 4, tick.y, kLeft, tick.y, kFrame);
            m_canvas.line(kBarsLeft - 4, tick.y, kBarsLeft, tick.y, kFrame);
            m_canvas.text(kLeft - 7, tick.y + 3.5, powerOfTen(tick.decade, tick.negative), 10,
                          Align::Right);
        }
        nameBand(m_scale.notFinite(), "not finite");
        nameBand(m_scale.zero(), "0");
        for (const std::uint64_t tick :
             ticksUpTo(std::max<std::size_t>(m_figures.pivots.size(), 1) - 1, kTicks)) {
            m_canvas.line(x(tick), kTop + kHeight, x(tick), kTop + kHeight + 4, kFrame);
            m_canvas.text(x(tick), kTop + kHeight + 15, grouped(tick), 10, Align::Centre);
        }
        const double below = kTop + kHeight + 32;
        m_canvas.text(kLeft + kWidth / 2, below, "scalar row, in the order of elimination", 11,
                      Align::Centre);
        m_canvas.text(kBarsLeft + kBarsWidth / 2, below, "pivots of a size", 11, Align::Centre);
        m_canvas.textUpwards(kMargin - 8, kTop + kHeight / 2, "pivot, on logarithmic scales", 11);
    }

    void nameBand(const SignedScale::Band& band, const char* name)
    {
        if (band.height > 0)
            m_canvas.text(kLeft - 7, band.top + band.height / 2 + 3.5, name, 10, Align::Right);
    }

    Canvas& m_canvas;
    const PivotFigures& m_figures;
    SignedScale m_scale;
    std::uint64_t m_mostInACell = 0;
};

void drawKeys(Canvas& canvas, const PlotSubject& subject, const PivotFigures& figures,
              std::uint64_t mostInACell)
{
    std::vector<LegendKey> keys = {{kBlue, "ordinary blocks"}};
    if (subject.matrix.firstTrailing() < subject.matrix.numBlockRows())
        keys.push_back({kVermilion, "trailing blocks"});
    keys.push_back({kInk,
                    fmt::format("tiny, below {:.0e} of the largest of its kind: {}", kTinyShare,
                                grouped(figures.tiny)),
                    LegendKey::Ring});
    keys.push_back({kInk, "zero or not finite: " + grouped(figures.zero + figures.notFinite),
                    LegendKey::Cross});
    drawLegend(canvas, kLeft, kLegend, keys);
    if (mostInACell > 0)
        drawShadeBar(canvas, kLeft, kLegend + 20, mix(kWhite, kInk, kFaintest), kInk,
                     "pivots in a cell: 1", grouped(mostInACell));
}

void drawPivotsPage(Canvas& canvas, const PlotSubject& subject)
{
    const PivotFigures figures = pivotFiguresOf(subject);
    drawHead(canvas, subject, "Pivots");
    canvas.text(kMargin, kHeadHeight + 4, describePivots(figures), 12);
    if (!subject.solver.info().ok())
        canvas.text(kMargin, kHeadHeight + 21,
                    fitted(canvas, "failed: " + subject.solver.info().message), 12);
    PivotsDrawing drawing(canvas, figures);
    drawing.draw();
    drawKeys(canvas, subject, figures, drawing.mostInACell());
}

} // namespace

Page pivotsPage(const PlotSubject& subject)
{
    return {kLegend + 40, [&subject](Canvas& canvas) { drawPivotsPage(canvas, subject); }};
}

} // namespace orvel
