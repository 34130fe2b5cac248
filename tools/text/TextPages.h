#ifndef ORVEL_TEXT_PAGES_H
#define ORVEL_TEXT_PAGES_H

#include "../draw/PlotSubject.h"
#include "Letters.h"

#include <string>

namespace orvel {

// The pictures in Pages.h as text, at most kTextWidth columns wide.

std::string textPatternPage(const PlotSubject& subject, Letters letters);
std::string textFactorPage(const PlotSubject& subject, Letters letters);
std::string textTreePage(const PlotSubject& subject, Letters letters);
std::string textPivotsPage(const PlotSubject& subject, Letters letters);

/// The figures of the subject, for above the pictures.
std::string textHead(const PlotSubject& subject);

} // namespace orvel

#endif
