#ifndef ORVEL_PAGES_H
#define ORVEL_PAGES_H

#include "Canvas.h"
#include "PlotSubject.h"

namespace orvel {

// One page for each kind of picture. The subject has to live until the page is drawn.

/// A's block pattern, as given and in elimination order. Without an order the first alone.
Page patternPage(const PlotSubject& subject);

/// L in elimination order, its fill-in apart. For analysed subjects.
Page factorPage(const PlotSubject& subject);

} // namespace orvel

#endif
