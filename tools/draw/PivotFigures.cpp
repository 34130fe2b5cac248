#include "PivotFigures.h"

#include "Axis.h"

#include <kyrOrvel/Orvel>

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

std::vector<Pivot> collect(const PlotSubject& subject)
{
    const double* value = subject.solver.data().pivots.data;
    std::vector<Pivot> pivots;
    pivots.reserve(subject.matrix.dimension());
    for (const unsigned int block : subject.analysis().order)
        for (unsigned int row = 0; row < subject.matrix.blockSize(block); ++row)
            pivots.push_back({*value++, block, row, subject.isTrailing(block), false});
    return pivots;
}

void count(PivotFigures& figures, const Pivot& pivot)
{
    const double size = std::abs(pivot.value);
    if (!std::isfinite(size)) {
        ++figures.notFinite;
        return;
    }
    if (size == 0) {
        ++figures.zero;
        return;
    }
    figures.tiny += pivot.tiny ? 1 : 0;
    ++(pivot.value > 0 ? figures.positive : figures.negative);
    (pivot.value > 0 ? figures.positiveDecades : figures.negativeDecades).add(size);
    if (!figures.smallest || size < std::abs(figures.smallest->value))
        figures.smallest = &pivot;
    if (!figures.largest || size > std::abs(figures.largest->value))
        figures.largest = &pivot;
}

std::string placeOf(const Pivot& pivot)
{
    return fmt::format("{:.3g} (block {}, row {})", pivot.value, pivot.block, pivot.row);
}

} // namespace

void Decades::add(double size)
{
    const auto below = static_cast<int>(std::floor(std::log10(size)));
    const auto above = std::max(below + 1, static_cast<int>(std::ceil(std::log10(size))));
    low = empty ? below : std::min(low, below);
    high = empty ? above : std::max(high, above);
    empty = false;
}

PivotFigures pivotFiguresOf(const PlotSubject& subject)
{
    PivotFigures figures;
    figures.pivots = collect(subject);
    double largest[2] = {0, 0}; // of ordinary and of trailing blocks
    for (const Pivot& pivot : figures.pivots)
        if (std::isfinite(pivot.value))
            largest[pivot.trailing] = std::max(largest[pivot.trailing], std::abs(pivot.value));
    for (Pivot& pivot : figures.pivots) {
        pivot.tiny = pivot.value != 0 && std::isfinite(pivot.value) &&
                     std::abs(pivot.value) < kTinyShare * largest[pivot.trailing];
        count(figures, pivot);
    }
    return figures;
}

std::string describePivots(const PivotFigures& figures)
{
    std::string text = fmt::format(
        "{}: {} positive, {} negative, {} zero", counted(figures.pivots.size(), "pivot", "pivots"),
        grouped(figures.positive), grouped(figures.negative), grouped(figures.zero));
    if (figures.notFinite > 0)
        text += fmt::format(", {} not finite", grouped(figures.notFinite));
    if (figures.smallest)
        text +=
            "; smallest " + placeOf(*figures.smallest) + ", largest " + placeOf(*figures.largest);
    return text;
}

} // namespace orvel
