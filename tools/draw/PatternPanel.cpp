#include "PatternPanel.h"

#include "Axis.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

// Beyond these a block is no longer seen as a shape, or the file becomes large.
constexpr unsigned int kMostRowsAsShapes = 2000;
constexpr std::uint64_t kMostShapes = 20000;

constexpr double kThinnest = 0.8; ///< a block is never drawn smaller
constexpr double kGapFrom = 5;    ///< blocks of that size are set apart
constexpr double kFaintest = 0.3; ///< shade of a cell with one block
constexpr unsigned int kTicks = 8;

/// The colours of a cell's blocks, each by the logarithm of their number so that the few are seen
/// among the many, over a white that shines through the more the fewer blocks there are.
Colour shadeOf(const CellGrid::Counts& counts, std::uint64_t most)
{
    Colour sum = {0, 0, 0};
    double weights = 0;
    for (unsigned int kind = 0; kind < kBlockKinds; ++kind) {
        const Colour colour = kind == kFill ? kDenseFillIn : colourOf(static_cast<BlockKind>(kind));
        const double weight = std::log1p(counts[kind]);
        sum.red += weight * colour.red;
        sum.green += weight * colour.green;
        sum.blue += weight * colour.blue;
        weights += weight;
    }
    const Colour mean = {sum.red / weights, sum.green / weights, sum.blue / weights};
    const auto total = static_cast<double>(CellGrid::total(counts));
    const double strength =
        most <= 1 ? 1 : kFaintest + (1 - kFaintest) * std::log(total) / std::log(double(most));
    return mix(kWhite, mean, strength);
}

} // namespace

Colour colourOf(BlockKind kind)
{
    switch (kind) {
    case kOrdinary:
        return kBlue;
    case kTrailing:
    case kZeroDiagonal:
        return kVermilion;
    case kCoupling:
        return kGreen;
    case kFill:
        break;
    }
    return kFillIn;
}

std::vector<LegendKey> keysOf(const PlotSubject& subject)
{
    if (subject.matrix.firstTrailing() == subject.matrix.numBlockRows())
        return {{kBlue, "blocks of A"}};
    return {{kBlue, "ordinary blocks"},
            {kGreen, "coupling of an ordinary and a trailing block"},
            {kVermilion, "trailing blocks"}};
}

PatternPanel::PatternPanel(Canvas& canvas, double x, double y, double side, unsigned int rows,
                           std::uint64_t blocks)
    : m_canvas(canvas),
      m_x(x),
      m_y(y),
      m_side(side),
      m_rows(rows),
      m_cell(side / std::max(rows, 1u))
{
    if (rows > kMostRowsAsShapes || blocks > kMostShapes)
        m_grid.emplace(rows, static_cast<unsigned int>(side));
}

bool PatternPanel::showsZeroDiagonals() const
{
    return !m_grid && m_cell >= kGapFrom;
}

void PatternPanel::block(unsigned int r, unsigned int c, BlockKind kind)
{
    if (m_grid) {
        m_grid->add(r, c, kind);
        return;
    }
    const double gap = m_cell < kGapFrom ? 0 : 0.06 * m_cell;
    const double extent = std::max(m_cell - 2 * gap, kThinnest);
    const double x = m_x + c * m_cell + gap;
    const double y = m_y + r * m_cell + gap;
    if (kind == kZeroDiagonal && showsZeroDiagonals())
        m_canvas.strokeRectangle(x + 1, y + 1, extent - 2, extent - 2, colourOf(kind),
                                 std::min(1.5, extent / 5));
    else
        m_canvas.fillRectangle(x, y, extent, extent, colourOf(kind));
}

void PatternPanel::finish(const std::string& title, const std::string& axisName)
{
    if (m_grid)
        drawShades();
    m_canvas.text(m_x + m_side / 2, m_y - 32, title, 13, Align::Centre, true);
    drawAxes(axisName);
}

void PatternPanel::drawShades()
{
    const unsigned int cells = m_grid->cells();
    const std::uint64_t most = m_grid->most();
    Raster raster(cells, cells);
    for (unsigned int row = 0; row < cells; ++row)
        for (unsigned int column = 0; column < cells; ++column)
            if (CellGrid::total(m_grid->at(row, column)) > 0)
                raster.set(column, row, shadeOf(m_grid->at(row, column), most));
    m_canvas.image(m_x, m_y, m_side, m_side, raster);
}

void PatternPanel::drawAxes(const std::string& axisName)
{
    m_canvas.strokeRectangle(m_x, m_y, m_side, m_side, kFrame);
    for (const std::uint64_t tick : ticksUpTo(m_rows == 0 ? 0 : m_rows - 1, kTicks)) {
        const double at = m_cell * (static_cast<double>(tick) + 0.5);
        m_canvas.line(m_x + at, m_y - 4, m_x + at, m_y, kFrame);
        m_canvas.text(m_x + at, m_y - 7, grouped(tick), 10, Align::Centre);
        m_canvas.line(m_x - 4, m_y + at, m_x, m_y + at, kFrame);
        m_canvas.text(m_x - 7, m_y + at + 3.5, grouped(tick), 10, Align::Right);
    }
    m_canvas.text(m_x + m_side / 2, m_y + m_side + 16, axisName, 11, Align::Centre);
}

void drawShades(Canvas& canvas, double x, double y, const PatternPanel& panel)
{
    drawShadeBar(canvas, x, y, mix(kWhite, kInk, kFaintest), kInk, "blocks in a cell: 1",
                 grouped(panel.mostInACell()));
}

} // namespace orvel
