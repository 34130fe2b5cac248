#include "PivotBounds.h"

#include "MatrixWalk.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kyrOrvel {
namespace client {

namespace {

/// The magnitudes of the diagonal.
template <class T> void takeDiagonal(const SparseMatrix<T>& A, bool upper, std::vector<T>& d)
{
    for (unsigned int r = 0; r < A.numBlockRows; ++r) {
        const std::size_t m = A.blockSizes[r];
        const T* const block = diagonalBlock(A, upper, r);
        for (std::size_t i = 0; i < m; ++i)
            d[A.blockOffsets[r] + i] = std::abs(block[i * m + i]);
    }
}

/// Adds g²/m for every coupling g of a trailing row with an ordinary one of diagonal m.
template <class T>
void addCouplings(const SparseMatrix<T>& A, bool upper, const std::vector<unsigned int>& order,
                  unsigned int firstTrailing, std::vector<T>& d)
{
    forEachBlock(A, upper, [&](unsigned int late, unsigned int early, const T* block) {
        const bool lateTrails = order[late] >= firstTrailing;
        if (lateTrails == (order[early] >= firstTrailing))
            return;
        const std::size_t n = A.blockSizes[early];
        for (std::size_t i = 0; i < A.blockSizes[late]; ++i)
            for (std::size_t j = 0; j < n; ++j) {
                T& ofLate = d[A.blockOffsets[late] + i];
                T& ofEarly = d[A.blockOffsets[early] + j];
                const T g = block[i * n + j];
                T& multiplier = lateTrails ? ofLate : ofEarly;
                const T mass = lateTrails ? ofEarly : ofLate;
                if (mass > 0)
                    multiplier += g * g / mass;
            }
    });
}

} // namespace

template <class T>
void computePivotBounds(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                        unsigned int firstTrailing, T share, std::vector<T>& bounds)
{
    const SparseMatrix<T>& A = data.matrix;
    const bool upper = data.useMultifrontal != 0;
    takeDiagonal(A, upper, bounds);
    addCouplings(A, upper, order, firstTrailing, bounds);
    T largest = 0;
    for (const T bound : bounds)
        largest = std::max(largest, bound);
    for (unsigned int r = 0; r < A.numBlockRows; ++r) {
        const T signedShare = order[r] >= firstTrailing ? -share : share;
        for (unsigned int i = 0; i < A.blockSizes[r]; ++i) {
            T& bound = bounds[A.blockOffsets[r] + i];
            bound = signedShare * (bound > 0 ? bound : largest > 0 ? largest : T(1));
        }
    }
}

template void computePivotBounds(const OrvelData<float>&, const std::vector<unsigned int>&,
                                 unsigned int, float, std::vector<float>&);
template void computePivotBounds(const OrvelData<double>&, const std::vector<unsigned int>&,
                                 unsigned int, double, std::vector<double>&);

} // namespace client
} // namespace kyrOrvel
