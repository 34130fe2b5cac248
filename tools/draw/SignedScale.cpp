#include "SignedScale.h"

#include "Axis.h"

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

constexpr double kBand = 28;     // height for zeros, and for what is not finite
constexpr double kTickRoom = 26; // for a number

} // namespace

SignedScale::SignedScale(const PivotFigures& figures, double top, double height)
    : m_positiveDecades(figures.positiveDecades), m_negativeDecades(figures.negativeDecades)
{
    const bool both = figures.positive > 0 && figures.negative > 0;
    m_notFinite = {top, figures.notFinite > 0 ? kBand : 0};
    m_zero.height = both || figures.zero > 0 ? kBand : 0;
    const double rest = height - m_notFinite.height - m_zero.height;
    const bool positive = figures.positive > 0;
    const bool negative = figures.negative > 0;
    m_positive = {m_notFinite.bottom(), positive ? (both ? rest / 2 : rest) : 0};
    m_zero.top = m_positive.bottom();
    m_negative = {m_zero.bottom(), negative ? (both ? rest / 2 : rest) : 0};
}

double SignedScale::positiveAt(double logarithm) const
{
    const Decades& d = m_positiveDecades;
    return m_positive.bottom() - m_positive.height * (logarithm - d.low) / (d.high - d.low);
}

double SignedScale::negativeAt(double logarithm) const
{
    const Decades& d = m_negativeDecades;
    return m_negative.top + m_negative.height * (logarithm - d.low) / (d.high - d.low);
}

double SignedScale::at(double pivot) const
{
    if (!std::isfinite(pivot))
        return m_notFinite.top + m_notFinite.height / 2;
    if (pivot == 0)
        return m_zero.top + m_zero.height / 2;
    const double logarithm = std::log10(std::abs(pivot));
    return pivot > 0 ? positiveAt(logarithm) : negativeAt(logarithm);
}

std::vector<SignedScale::Tick> SignedScale::ticks() const
{
    std::vector<Tick> result;
    for (const bool negative : {false, true}) {
        const Decades& d = negative ? m_negativeDecades : m_positiveDecades;
        const Band& band = negative ? m_negative : m_positive;
        if (d.empty)
            continue;
        const int step =
            std::max(1, static_cast<int>(std::lround(roundStep(
                            d.high - d.low, static_cast<unsigned int>(band.height / kTickRoom)))));
        for (int decade = d.low; decade <= d.high; decade += step)
            result.push_back(
                {negative ? negativeAt(decade) : positiveAt(decade), decade, negative});
    }
    return result;
}

} // namespace orvel
