#include "TextPages.h"
#include "TextPattern.h"

#include "../draw/Layout.h"

#include <string>

namespace orvel {

namespace {

constexpr unsigned int kHalf = kTextWidth / 2 - 1;

TextPattern drawn(const BlockPattern& pattern, bool bothTriangles, Letters letters)
{
    TextPattern text(pattern.numRows(), kHalf, letters);
    forEachBlock(pattern, [&](unsigned int r, unsigned int c, BlockKind kind) {
        text.block(r, c, kind);
        if (bothTriangles && r != c)
            text.block(c, r, kind);
    });
    return text;
}

void addKey(std::string& line, const std::string& sign, const char* words)
{
    line += "  " + sign + " " + words;
}

std::string keysOf(const PlotSubject& subject, Letters letters, bool factor)
{
    std::string line = "     ";
    addKey(line, letters.ofBlock(kOrdinary), "ordinary");
    if (subject.matrix.firstTrailing() < subject.matrix.numBlockRows()) {
        addKey(line, letters.ofBlock(kCoupling), "coupling");
        addKey(line, letters.ofBlock(kTrailing), "trailing");
        if (!factor)
            addKey(line, letters.ofBlock(kZeroDiagonal), "zero diagonal");
    }
    if (factor)
        addKey(line, letters.ofBlock(kFill), "fill-in");
    return line + "\n";
}

/// L with a sign for each block.
TextPattern drawnFactor(const PlotSubject& subject, const BlockPattern& ordered,
                        unsigned int columns, Letters letters)
{
    TextPattern text(ordered.numRows(), columns, letters);
    forEachFactorBlock(subject, ordered, [&](unsigned int r, unsigned int c, BlockKind kind) {
        text.block(r, c, kind == kZeroDiagonal ? kTrailing : kind);
    });
    return text;
}

} // namespace

std::string textHead(const PlotSubject& subject)
{
    return wrapped(plainDigits(figuresOf(subject))) + wrapped(plainDigits(orderOf(subject)));
}

std::string textPatternPage(const PlotSubject& subject, Letters letters)
{
    const TextPattern given = drawn(patternAsGiven(subject), true, letters);
    std::string text = "\nBlock pattern of A\n";
    if (subject.analysed) {
        const TextPattern ordered = drawn(patternInOrder(subject), true, letters);
        text += sideBySide(given, "as given", &ordered, "in elimination order");
    } else {
        text += sideBySide(given, "as given", nullptr, "");
    }
    return given.hasASignPerBlock() ? text + keysOf(subject, letters, false) : text;
}

std::string textFactorPage(const PlotSubject& subject, Letters letters)
{
    const BlockPattern ordered = patternInOrder(subject);
    const TextPattern factor = drawnFactor(subject, ordered, kTextWidth, letters);
    if (factor.hasASignPerBlock())
        return "\nFactor L and its fill-in\n" +
               sideBySide(factor, "in elimination order", nullptr, "") +
               keysOf(subject, letters, true);
    const TextPattern matrix = drawn(ordered, false, letters);
    const TextPattern half = drawnFactor(subject, ordered, kHalf, letters);
    return "\nFactor L and its fill-in\n" +
           sideBySide(matrix, "A in elimination order", &half, "L, with the fill-in");
}

} // namespace orvel
