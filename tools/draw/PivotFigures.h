#ifndef ORVEL_PIVOT_FIGURES_H
#define ORVEL_PIVOT_FIGURES_H

#include "PlotSubject.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orvel {

/// The least share of the largest pivot of its kind that a pivot has before it counts as tiny:
/// ordinary and trailing blocks have units of their own.
constexpr double kTinyShare = 1e-12;

struct Pivot {
    double value;
    unsigned int block; ///< in the user's numbers
    unsigned int row;   ///< inside the block
    bool trailing;
    bool tiny; ///< not zero, finite, and small beside the largest of its kind
};

/// The decades that sizes span: 10^low to 10^high. Empty where nothing was added.
struct Decades {
    int low = 0;
    int high = 0;
    bool empty = true;

    void add(double size);
};

/// The pivots of a factorization in elimination order, one per scalar row.
struct PivotFigures {
    std::vector<Pivot> pivots;
    std::size_t positive = 0;
    std::size_t negative = 0;
    std::size_t tiny = 0;
    std::size_t zero = 0;
    std::size_t notFinite = 0;
    Decades positiveDecades; ///< of the finite ones
    Decades negativeDecades;
    const Pivot* smallest = nullptr; ///< by size, of those neither zero nor infinite; or null
    const Pivot* largest = nullptr;
};

/// The pivots of a factored subject.
PivotFigures pivotFiguresOf(const PlotSubject& subject);

/// "30 positive, 15 negative; ..." and where the smallest and the largest are.
std::string describePivots(const PivotFigures& figures);

} // namespace orvel

#endif
