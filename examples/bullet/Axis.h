#ifndef BULLET_AXIS_H
#define BULLET_AXIS_H

#include <algorithm>
#include <cmath>

namespace bulletjoints {

/// From values to places on the sheet, linear or logarithmic.
struct Axis {
    double low;
    double high;
    double from; ///< where low is
    double to;
    bool logarithmic = false;

    double place(double value) const
    {
        const double clamped = std::clamp(value, low, high);
        const double share = logarithmic ? std::log(clamped / low) / std::log(high / low)
                                         : (clamped - low) / (high - low);
        return from + share * (to - from);
    }
};

/// The powers of ten that enclose some values.
inline double decadeBelow(double value)
{
    return std::pow(10, std::floor(std::log10(value)));
}
inline double decadeAbove(double value)
{
    return std::pow(10, std::ceil(std::log10(value)));
}

} // namespace bulletjoints

#endif
