#include "Axis.h"
#include "Pages.h"
#include "PatternPanel.h"

namespace orvel {

namespace {

constexpr double kSide = 700;
constexpr double kLeft = (kPageWidth - kSide) / 2;
constexpr double kTop = kHeadHeight + 44;

void drawFactorPage(Canvas& canvas, const PlotSubject& subject)
{
    const auto& analysis = subject.analysis();
    drawHead(canvas, subject, "Factor L and its fill-in");
    PatternPanel panel(canvas, kLeft, kTop, kSide, subject.matrix.numBlockRows(),
                       analysis.factorBlocks);
    forEachFactorBlock(subject, patternInOrder(subject),
                       [&](unsigned int r, unsigned int c, BlockKind kind) {
                           panel.block(r, c, kind == kZeroDiagonal ? kTrailing : kind);
                       });
    panel.finish("L, lower triangle", "position in the order of elimination");

    const double x = kLeft + 0.56 * kSide; // the upper triangle has room for words
    double y = kTop + 40;
    std::vector<LegendKey> keys = keysOf(subject);
    keys.push_back(
        {panel.isShaded() ? kDenseFillIn : kFillIn,
         "fill-in: " + grouped(analysis.factorBlocks - analysis.matrixBlocks) + " blocks"});
    for (const LegendKey& key : keys) {
        drawLegend(canvas, x, y, {key});
        y += 20;
    }
    if (panel.isShaded())
        drawShades(canvas, x, y, panel);
}

} // namespace

Page factorPage(const PlotSubject& subject)
{
    return {kTop + kSide + 40, [&subject](Canvas& canvas) { drawFactorPage(canvas, subject); }};
}

} // namespace orvel
