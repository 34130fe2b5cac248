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

/// The elimination tree: nodes by their work, and with threads by their owner; where they are too
/// many, a profile in which every subtree is as wide as its work. For analysed subjects.
Page treePage(const PlotSubject& subject);

/// Pivots by sign and size in elimination order, and how many there are of each size. For factored
/// subjects.
Page pivotsPage(const PlotSubject& subject);

/// What each thread did in the multifrontal factorization that was traced.
Page timelinePage(const PlotSubject& subject);

} // namespace orvel

#endif
