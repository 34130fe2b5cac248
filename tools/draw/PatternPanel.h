#ifndef ORVEL_PATTERN_PANEL_H
#define ORVEL_PATTERN_PANEL_H

#include "BlockPattern.h"
#include "Canvas.h"
#include "CellGrid.h"
#include "Layout.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvel {

Colour colourOf(BlockKind kind);

/// What the colours of A's blocks mean; trailing blocks only where there are any.
std::vector<LegendKey> keysOf(const PlotSubject& subject);

/// A square that shows a block pattern: a shape for each block, or where they are too many the
/// number of blocks in each cell of a grid as a shade.
class PatternPanel {
public:
    /// @param x,y,side  the square inside the axes
    /// @param rows      of the pattern
    /// @param blocks    that will be drawn
    PatternPanel(Canvas& canvas, double x, double y, double side, unsigned int rows,
                 std::uint64_t blocks);

    void block(unsigned int r, unsigned int c, BlockKind kind);

    /// Completes the picture: the shades, if there are any, and the axes.
    void finish(const std::string& title, const std::string& axisName);

    bool isShaded() const { return m_grid.has_value(); }
    bool showsZeroDiagonals() const; ///< as hollow squares
    std::uint64_t mostInACell() const { return m_grid ? m_grid->most() : 0; }

private:
    void drawShades();
    void drawAxes(const std::string& axisName);

    Canvas& m_canvas;
    double m_x;
    double m_y;
    double m_side;
    unsigned int m_rows;
    double m_cell; ///< side of a block
    std::optional<CellGrid> m_grid;
};

/// What the shades of a panel mean.
void drawShades(Canvas& canvas, double x, double y, const PatternPanel& panel);

} // namespace orvel

#endif
