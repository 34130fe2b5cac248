#include "Layout.h"

#include "../Report.h"
#include "Axis.h"

#include <fmt/core.h>

namespace orvel {

namespace {

constexpr double kMarkSize = 11;
constexpr double kFigureSize = 12;
constexpr unsigned int kShades = 32;

void drawMark(Canvas& canvas, double x, double y, const LegendKey& key)
{
    const double half = kMarkSize / 2;
    switch (key.mark) {
    case LegendKey::Square:
        canvas.fillRectangle(x, y - kMarkSize, kMarkSize, kMarkSize, key.colour);
        break;
    case LegendKey::Hollow:
        canvas.strokeRectangle(x + 0.75, y - kMarkSize + 0.75, kMarkSize - 1.5, kMarkSize - 1.5,
                               key.colour, 1.5);
        break;
    case LegendKey::Disc:
        canvas.fillCircle(x + half, y - half + 1, 3.5, key.colour);
        break;
    case LegendKey::Ring:
        canvas.strokeCircle(x + half, y - half + 1, 4.5, key.colour, 1.3);
        break;
    case LegendKey::Cross:
        canvas.line(x + 2, y - kMarkSize + 2, x + kMarkSize - 2, y - 2, key.colour, 1.8);
        canvas.line(x + 2, y - 2, x + kMarkSize - 2, y - kMarkSize + 2, key.colour, 1.8);
        break;
    }
}

/// A letter of UTF-8 ends where its first byte is reached.
void dropLastLetter(std::string& words)
{
    unsigned int byte = 0;
    do {
        byte = static_cast<unsigned char>(words.back());
        words.pop_back();
    } while (!words.empty() && (byte & 0xC0u) == 0x80u);
}

} // namespace

std::string fitted(Canvas& canvas, std::string words)
{
    const double width = kPageWidth - 2 * kMargin;
    if (canvas.widthOf(words, kFigureSize) <= width)
        return words;
    while (!words.empty() && canvas.widthOf(words + "...", kFigureSize) > width)
        dropLastLetter(words);
    return words + "...";
}

std::string figuresOf(const PlotSubject& subject)
{
    const auto& A = subject.matrix;
    std::string text = fmt::format(
        "{}: {} ordinary, {} trailing; {}", counted(A.numBlockRows(), "block row", "block rows"),
        grouped(A.firstTrailing()), grouped(A.numBlockRows() - A.firstTrailing()),
        counted(A.dimension(), "scalar row", "scalar rows"));
    if (subject.analysed) {
        const auto& analysis = subject.analysis();
        text += fmt::format(
            "; {} of A, {} of L, fill ratio {:.2f}; nnz(L) {}",
            counted(analysis.matrixBlocks, "block", "blocks"), grouped(analysis.factorBlocks),
            static_cast<double>(analysis.factorBlocks) / static_cast<double>(analysis.matrixBlocks),
            grouped(analysis.factorScalars));
    }
    return text;
}

std::string orderOf(const PlotSubject& subject)
{
    if (!subject.analysed)
        return "no order: " + subject.solver.info().message;
    return "order: " + describeOrder(subject.analysis()) +
           (subject.analysis().orderedAgain ? ", ordered again for better pivots" : "");
}

void drawHead(Canvas& canvas, const PlotSubject& subject, const std::string& title)
{
    const double width = kPageWidth - 2 * kMargin;
    canvas.text(kMargin, 34, title, 18, Align::Left, true);
    canvas.text(kMargin + width, 34, subject.name, 12, Align::Right);
    canvas.text(kMargin, 56, fitted(canvas, figuresOf(subject)), kFigureSize);
    canvas.text(kMargin, 73, fitted(canvas, orderOf(subject)), kFigureSize);
}

double drawLegend(Canvas& canvas, double x, double y, const std::vector<LegendKey>& keys)
{
    for (const LegendKey& key : keys) {
        drawMark(canvas, x, y, key);
        canvas.text(x + kMarkSize + 6, y - 1, key.words, 11);
        x += kMarkSize + 6 + canvas.widthOf(key.words, 11) + 20;
    }
    return x;
}

void drawShadeBar(Canvas& canvas, double x, double y, const Colour& from, const Colour& to,
                  const std::string& low, const std::string& high)
{
    canvas.text(x, y - 1, low, 11);
    x += canvas.widthOf(low, 11) + 6;
    Raster raster(kShades, 1);
    for (unsigned int i = 0; i < kShades; ++i)
        raster.set(i, 0, mix(from, to, static_cast<double>(i) / (kShades - 1)));
    canvas.image(x, y - kMarkSize, 90, kMarkSize, raster);
    canvas.text(x + 96, y - 1, high, 11);
}

} // namespace orvel
