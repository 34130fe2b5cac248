#ifndef ORVEL_SIGNED_SCALE_H
#define ORVEL_SIGNED_SCALE_H

#include "PivotFigures.h"

#include <vector>

namespace orvel {

/// Where pivots stand on a vertical axis, from the top: those that are not finite, positive ones,
/// large ones first, zeros, negative ones, large ones last. Sizes are on a logarithmic scale. A
/// band that has nothing to show takes no room.
class SignedScale {
public:
    /// @param top,height  of the axis
    SignedScale(const PivotFigures& figures, double top, double height);

    /// A stretch of the axis; height 0 if it is not there.
    struct Band {
        double top = 0;
        double height = 0;
        double bottom() const { return top + height; }
    };
    const Band& notFinite() const { return m_notFinite; }
    const Band& positive() const { return m_positive; }
    const Band& zero() const { return m_zero; }
    const Band& negative() const { return m_negative; }

    double at(double pivot) const;

    struct Tick {
        double y;
        int decade; ///< of 10^decade
        bool negative;
    };
    std::vector<Tick> ticks() const;

private:
    double positiveAt(double logarithm) const;
    double negativeAt(double logarithm) const;

    Decades m_positiveDecades;
    Decades m_negativeDecades;
    Band m_notFinite;
    Band m_positive;
    Band m_zero;
    Band m_negative;
};

} // namespace orvel

#endif
