#ifndef KYRORVEL_DETAIL_FIXED_SIZES_H
#define KYRORVEL_DETAIL_FIXED_SIZES_H

#include "ExactArithmetic.h"

namespace kyrOrvel {
namespace detail {

// Steps of the solves for block sizes that the compiler knows: sums stay in registers, in the same
// order as in the plain loops. Constraint systems consist of 3, 5 and 6 almost alone; on bridges
// and nets this makes solves 1.3 to 2 times as fast.

template <int N> struct Size {
    static constexpr int value = N;
};

/// Calls f(Size<n>) if n is one of the sizes with steps of their own; returns whether it is.
/// Inlined for certain, as are the steps: sums that are handed over to a function go by way of
/// memory.
template <class F> [[gnu::always_inline]] inline bool withFixedSize(unsigned int n, F f)
{
    switch (n) {
    case 3:
        f(Size<3>());
        return true;
    case 5:
        f(Size<5>());
        return true;
    case 6:
        f(Size<6>());
        return true;
    default:
        return false;
    }
}

/// y -= B·x, B m × n; y in registers.
template <int M, int N, class T>
[[gnu::always_inline]] inline void subtractAx(const T* B, const T* x, T (&y)[M])
{
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
#pragma GCC unroll 8
        for (int j = 0; j < N; ++j)
            y[i] -= B[i * N + j] * x[j];
}

/// y -= Bᵀ·x, B m × n; x in registers.
template <int M, int N, class T>
[[gnu::always_inline]] inline void subtractAtx(const T* B, const T (&x)[M], T* y)
{
    T sums[N];
#pragma GCC unroll 8
    for (int j = 0; j < N; ++j)
        sums[j] = y[j];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
#pragma GCC unroll 8
        for (int j = 0; j < N; ++j)
            sums[j] -= B[i * N + j] * x[i];
#pragma GCC unroll 8
    for (int j = 0; j < N; ++j)
        y[j] = sums[j];
}

/// y -= B·x, of any width.
template <int M, class T>
[[gnu::always_inline]] inline void subtractAx(const T* B, const T* x, T (&y)[M], unsigned int n)
{
    const bool fixed = withFixedSize(
        n, [&](auto size)
               __attribute__((always_inline)) { subtractAx<M, decltype(size)::value>(B, x, y); });
    if (!fixed)
#pragma GCC unroll 8
        for (int i = 0; i < M; ++i)
            for (unsigned int j = 0; j < n; ++j)
                y[i] -= B[static_cast<unsigned int>(i) * n + j] * x[j];
}

/// y -= Bᵀ·x, of any width.
template <int M, class T>
[[gnu::always_inline]] inline void subtractAtx(const T* B, const T (&x)[M], T* y, unsigned int n)
{
    const bool fixed = withFixedSize(
        n, [&](auto size)
               __attribute__((always_inline)) { subtractAtx<M, decltype(size)::value>(B, x, y); });
    if (!fixed)
#pragma GCC unroll 8
        for (int i = 0; i < M; ++i)
            for (unsigned int j = 0; j < n; ++j)
                y[j] -= B[static_cast<unsigned int>(i) * n + j] * x[i];
}

} // namespace detail
} // namespace kyrOrvel

#endif
