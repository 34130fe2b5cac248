#ifndef KYRORVEL_DETAIL_BLOCK_STEPS_H
#define KYRORVEL_DETAIL_BLOCK_STEPS_H

#include "ExactArithmetic.h"

#include <kyrOrvel/DenseKernels>

#include <cstddef>

namespace kyrOrvel {
namespace detail {

// Steps that the factorizations share, on blocks stored without gaps.

/// Each row of the m × p block X becomes L⁻¹ times it, L the unit lower p × p block.
inline void substituteUnitLower(const double* L, double* X, std::size_t m, std::size_t p)
{
    for (std::size_t i = 0; i < m; ++i) {
        double* x = X + i * p;
        for (std::size_t q = 1; q < p; ++q)
            for (std::size_t t = 0; t < q; ++t)
                x[q] -= L[q * p + t] * x[t];
    }
}

inline void substituteUnitLower(const float* L, float* X, std::size_t m, std::size_t p)
{
    orvel_SM_UD(L, int(p), X, int(p), int(m), int(p));
}

/// S = B·D, B m × p.
template <class T>
void scaleColumns(const T* B, const T* pivots, T* S, std::size_t m, std::size_t p)
{
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t q = 0; q < p; ++q)
            S[i * p + q] = B[i * p + q] * pivots[q];
}

/// B = X·D⁻¹, B m × p. One reciprocal per column: it fixes the rounding.
template <class T>
void divideColumns(const T* X, const T* pivots, T* B, std::size_t m, std::size_t p)
{
    for (std::size_t q = 0; q < p; ++q) {
        const T w = T(1) / pivots[q];
        for (std::size_t i = 0; i < m; ++i)
            B[i * p + q] = X[i * p + q] * w;
    }
}

} // namespace detail
} // namespace kyrOrvel

#endif
