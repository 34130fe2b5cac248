#ifndef KYRORVEL_TESTS_SUPPORT_PLAIN_KERNELS_H
#define KYRORVEL_TESTS_SUPPORT_PLAIN_KERNELS_H

// What each dense kernel computes, told one element of the result at a time: the value that the
// element has at first, and the terms that are added to it or subtracted from it, in their order.
// Every one of them is bound to the kernel's loop nest, whichever way that nest runs.
// Built without contraction, like everything in this repository.

#include "Blocks.h"

#include <vector>

namespace support {
namespace plain {

enum class Sign { minus, plus };

template <class T> T accumulate(Sign sign, T value, T term)
{
    return sign == Sign::plus ? value + term : value - term;
}

/// C(i, j) -+= the sum of A(p, i)·B(p, j)
template <class T>
void productAtB(Sign sign, const Block<T>& A, const Block<T>& B, Block<T>& C, int m, int n, int k)
{
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            for (int p = 0; p < k; ++p)
                C(i, j) = accumulate(sign, C(i, j), A(p, i) * B(p, j));
}

/// C(i, j) -+= the sum of A(i, p)·B(j, p)
template <class T>
void productABt(Sign sign, const Block<T>& A, const Block<T>& B, Block<T>& C, int m, int n, int k)
{
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            for (int p = 0; p < k; ++p)
                C(i, j) = accumulate(sign, C(i, j), A(i, p) * B(j, p));
}

/// y(i) -+= the sum of entry(A(i, j))·x(j); `entry` scales, or does not.
template <class T, class Entry>
void productAx(Sign sign, const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, int m,
               int n, Entry entry)
{
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            y[std::size_t(i)] =
                accumulate(sign, y[std::size_t(i)], entry(A(i, j)) * x[std::size_t(j)]);
}

/// y(j) -+= the sum of entry(A(i, j))·x(i)
template <class T, class Entry>
void productAtx(Sign sign, const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, int m,
                int n, Entry entry)
{
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i)
            y[std::size_t(j)] =
                accumulate(sign, y[std::size_t(j)], entry(A(i, j)) * x[std::size_t(i)]);
}

/// y(i) += the sum of entry(S(i, j))·x(j): the diagonal first, then the rest of row i of the lower
/// triangle, then column i below the diagonal.
template <class T, class Entry>
void productSymmetric(const Block<T>& A, const std::vector<T>& x, std::vector<T>& y, int n,
                      Entry entry)
{
    for (int i = 0; i < n; ++i) {
        T s = y[std::size_t(i)] + entry(A(i, i)) * x[std::size_t(i)];
        for (int j = 0; j < i; ++j)
            s = s + entry(A(i, j)) * x[std::size_t(j)];
        for (int j = i + 1; j < n; ++j)
            s = s + entry(A(j, i)) * x[std::size_t(j)];
        y[std::size_t(i)] = s;
    }
}

/// Solves L·z = x into x.
template <class T> void solveLower(const Block<T>& L, bool unitDiagonal, std::vector<T>& x, int n)
{
    for (int i = 0; i < n; ++i) {
        T s = x[std::size_t(i)];
        for (int j = 0; j < i; ++j)
            s = s - L(i, j) * x[std::size_t(j)];
        x[std::size_t(i)] = unitDiagonal ? s : s / L(i, i);
    }
}

/// Solves Lᵀ·z = x into x: the terms of x(j) come in the order in which z(i), i > j, are known.
template <class T> void solveLowerTransposed(const Block<T>& L, std::vector<T>& x, int n)
{
    for (int j = n - 1; j >= 0; --j) {
        T s = x[std::size_t(j)];
        for (int i = n - 1; i > j; --i)
            s = s - x[std::size_t(i)] * L(i, j);
        x[std::size_t(j)] = s / L(j, j);
    }
}

} // namespace plain
} // namespace support

#endif
