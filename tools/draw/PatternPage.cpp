#include "Pages.h"
#include "PatternPanel.h"

namespace orvel {

namespace {

constexpr double kSide = 380;
constexpr double kLeft[2] = {kMargin + 36, kPageWidth - kMargin - kSide}; ///< of the two panels
constexpr double kTop = kHeadHeight + 44;
constexpr double kLegend = kTop + kSide + 52;

/// Draws a symmetric pattern, both triangles.
PatternPanel drawPattern(Canvas& canvas, double x, const BlockPattern& pattern)
{
    PatternPanel panel(canvas, x, kTop, kSide, pattern.numRows(), 2 * pattern.columns.size());
    forEachBlock(pattern, [&](unsigned int r, unsigned int c, BlockKind kind) {
        panel.block(r, c, kind);
        if (r != c)
            panel.block(c, r, kind);
    });
    return panel;
}

void drawPatternPage(Canvas& canvas, const PlotSubject& subject)
{
    drawHead(canvas, subject, "Block pattern of A");
    PatternPanel given = drawPattern(canvas, kLeft[0], patternAsGiven(subject));
    given.finish("as given", "block row and column, as numbered");
    if (subject.analysed) {
        PatternPanel ordered = drawPattern(canvas, kLeft[1], patternInOrder(subject));
        ordered.finish("in elimination order", "position in the order of elimination");
    }
    std::vector<LegendKey> keys = keysOf(subject);
    if (given.showsZeroDiagonals() && keys.size() > 1)
        keys.push_back({kVermilion, "with zero diagonal", LegendKey::Hollow});
    const double x = drawLegend(canvas, kLeft[0], kLegend, keys);
    if (given.isShaded())
        drawShades(canvas, x, kLegend, given);
}

} // namespace

Page patternPage(const PlotSubject& subject)
{
    return {kLegend + 24, [&subject](Canvas& canvas) { drawPatternPage(canvas, subject); }};
}

} // namespace orvel
