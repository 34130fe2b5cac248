#ifndef ORVEL_LAYOUT_H
#define ORVEL_LAYOUT_H

#include "Canvas.h"
#include "PlotSubject.h"

#include <string>
#include <vector>

namespace orvel {

constexpr double kMargin = 40;     ///< at the left and right of a page
constexpr double kHeadHeight = 92; ///< of title and figures
constexpr double kLegendHeight = 44;

/// The title of a page and two lines of figures below it.
void drawHead(Canvas& canvas, const PlotSubject& subject, const std::string& title);

/// "20 blocks (10 ordinary, 10 trailing), 90 scalars; ..." for a head or a text.
std::string figuresOf(const PlotSubject& subject);
std::string orderOf(const PlotSubject& subject);

/// The longest beginning of a line that fits between the margins, with dots where the rest is
/// missing.
std::string fitted(Canvas& canvas, std::string words);

/// A key of a legend: a filled square, a hollow one, a disc or a cross, and what it stands for.
struct LegendKey {
    enum Mark { Square, Hollow, Disc, Ring, Cross };
    Colour colour;
    std::string words;
    Mark mark = Square;
};

/// Keys in a row; returns where the next would begin.
double drawLegend(Canvas& canvas, double x, double y, const std::vector<LegendKey>& keys);

/// A bar of shades from one colour to another, its ends named.
void drawShadeBar(Canvas& canvas, double x, double y, const Colour& from, const Colour& to,
                  const std::string& low, const std::string& high);

} // namespace orvel

#endif
