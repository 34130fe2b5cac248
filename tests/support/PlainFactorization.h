#ifndef KYRORVEL_TESTS_SUPPORT_PLAIN_FACTORIZATION_H
#define KYRORVEL_TESTS_SUPPORT_PLAIN_FACTORIZATION_H

// What the factorization and the solves compute, as plainly as it can be said: blocks in a map,
// one loop per index, no storage to share and no work to save. The library has to agree with it to
// the last bit, so every product is formed and subtracted in the order written here.

#include "Systems.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace support {

template <class T> struct PlainFactors {
    Sizes sizes;
    Rows rows;        ///< columns of each row of L, the diagonal last
    std::vector<T> D; ///< the pivots of all rows, one after the other
    BlockMap<T> L;    ///< unit lower triangular
    BlockMap<T> LD;   ///< L·D
    std::vector<unsigned int> offsets;

    unsigned int numRows() const { return static_cast<unsigned int>(sizes.size()); }
};

inline bool contains(const std::vector<unsigned int>& row, unsigned int column)
{
    return std::find(row.begin(), row.end(), column) != row.end();
}

/// The lower triangle of A on the pattern of L. The blocks of a row are taken up in their order:
/// one that the pattern lacks is not taken, nor any after it.
template <class T> BlockMap<T> plainInput(const System<T>& system)
{
    BlockMap<T> A;
    for (unsigned int r = 0; r < system.numRows(); ++r) {
        std::size_t next = 0;
        for (const unsigned int c : system.factorRows[r]) {
            if (c > r)
                break;
            if (next < system.rows[r].size() && system.rows[r][next] == c) {
                A[{r, c}] = system.blocks.at({r, c});
                ++next;
            } else {
                A[{r, c}].assign(std::size_t(system.sizes[r]) * system.sizes[c], T(0));
            }
        }
    }
    return A;
}

/// C(i, j) -= Σ over t of A(i, t)·B(j, t)
template <class T>
void plainSubtract(std::vector<T>& C, const std::vector<T>& A, const std::vector<T>& B,
                   std::size_t m, std::size_t n, std::size_t s)
{
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j)
            for (std::size_t t = 0; t < s; ++t)
                C[i * n + j] = C[i * n + j] - A[i * s + t] * B[j * s + t];
}

/// Dense L·D·Lᵀ of the m × m block W in place; the pivots go to d.
template <class T> void plainDense(std::vector<T>& W, T* d, std::size_t m)
{
    for (std::size_t q = 0; q < m; ++q) {
        d[q] = W[q * m + q];
        W[q * m + q] = 1;
    }
    for (std::size_t i = 1; i < m; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            T v = W[i * m + j];
            for (std::size_t t = 0; t < j; ++t) {
                const T ld = W[i * m + t] * d[t];
                v = v - ld * W[j * m + t];
            }
            W[i * m + j] = v / d[j];
        }
        for (std::size_t t = 0; t < i; ++t) {
            const T ld = W[i * m + t] * d[t];
            d[i] = d[i] - W[i * m + t] * ld;
        }
    }
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = i + 1; j < m; ++j)
            W[i * m + j] = 0;
}

/// B(i, q)·d(q)
template <class T>
std::vector<T> plainScaled(const std::vector<T>& B, const T* d, std::size_t m, std::size_t p)
{
    std::vector<T> S(m * p);
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t q = 0; q < p; ++q)
            S[i * p + q] = B[i * p + q] * d[q];
    return S;
}

/// Finishes L(r, c) and (L·D)(r, c), c < r, from the columns before c.
template <class T>
void plainOffDiagonal(PlainFactors<T>& f, const BlockMap<T>& A, unsigned int r, unsigned int c)
{
    const std::size_t m = f.sizes[r];
    const std::size_t p = f.sizes[c];
    std::vector<T> W = A.at({r, c});
    for (unsigned int k = 0; k < c; ++k)
        if (contains(f.rows[r], k) && contains(f.rows[c], k))
            plainSubtract(W, f.LD.at({r, k}), f.L.at({c, k}), m, p, f.sizes[k]);
    const std::vector<T>& Lcc = f.L.at({c, c});
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t q = 1; q < p; ++q)
            for (std::size_t t = 0; t < q; ++t)
                W[i * p + q] = W[i * p + q] - Lcc[q * p + t] * W[i * p + t];
    const T* d = f.D.data() + f.offsets[c];
    for (std::size_t q = 0; q < p; ++q) {
        const T reciprocal = T(1) / d[q];
        for (std::size_t i = 0; i < m; ++i)
            W[i * p + q] = W[i * p + q] * reciprocal;
    }
    f.LD[{r, c}] = plainScaled(W, d, m, p);
    f.L[{r, c}] = std::move(W);
}

template <class T> void plainDiagonal(PlainFactors<T>& f, const BlockMap<T>& A, unsigned int r)
{
    const std::size_t m = f.sizes[r];
    std::vector<T> W = A.at({r, r});
    for (unsigned int c = 0; c < r; ++c)
        if (contains(f.rows[r], c))
            plainSubtract(W, f.L.at({r, c}), f.LD.at({r, c}), m, m, f.sizes[c]);
    T* d = f.D.data() + f.offsets[r];
    plainDense(W, d, m);
    f.LD[{r, r}] = plainScaled(W, d, m, m);
    f.L[{r, r}] = std::move(W);
}

template <class T> PlainFactors<T> plainFactor(const System<T>& system)
{
    PlainFactors<T> f;
    f.sizes = system.sizes;
    f.rows = system.factorRows;
    f.D.assign(system.dimension(), T(0));
    for (unsigned int r = 0; r < system.numRows(); ++r)
        f.offsets.push_back(system.offsetOf(r));
    const BlockMap<T> A = plainInput(system);
    for (unsigned int r = 0; r < system.numRows(); ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (contains(f.rows[r], c))
                plainOffDiagonal(f, A, r, c);
        plainDiagonal(f, A, r);
    }
    return f;
}

/// The first row with an element outside (-epsilon, epsilon), else the last one.
template <class T> unsigned int plainFirstRow(const PlainFactors<T>& f, const std::vector<T>& x)
{
    const T epsilon = sizeof(T) == 8 ? static_cast<T>(2.220446049250313e-16)
                                     : static_cast<T>(1.1920928955078125e-07);
    for (unsigned int r = 0; r < f.numRows(); ++r)
        for (unsigned int i = 0; i < f.sizes[r]; ++i) {
            const T v = x[f.offsets[r] + i];
            const bool zero = v > -epsilon && v < epsilon;
            if (!zero)
                return r;
        }
    return f.numRows() - 1;
}

/// x_r -= L(r, c)·x_c
template <class T>
void plainGather(const PlainFactors<T>& f, unsigned int r, unsigned int c, std::vector<T>& x)
{
    const std::vector<T>& B = f.L.at({r, c});
    for (std::size_t i = 0; i < f.sizes[r]; ++i)
        for (std::size_t k = 0; k < f.sizes[c]; ++k) {
            T& v = x[f.offsets[r] + i];
            v = v - B[i * f.sizes[c] + k] * x[f.offsets[c] + k];
        }
}

/// x_r := L(r, r)⁻¹·x_r
template <class T>
void plainForwardDiagonal(const PlainFactors<T>& f, unsigned int r, std::vector<T>& x)
{
    const std::vector<T>& D = f.L.at({r, r});
    const std::size_t m = f.sizes[r];
    T* xr = x.data() + f.offsets[r];
    for (std::size_t i = 1; i < m; ++i)
        for (std::size_t k = 0; k < i; ++k)
            xr[i] = xr[i] - D[i * m + k] * xr[k];
}

/// x_r := (L·D)(r, r)⁻ᵀ·x_r
template <class T>
void plainBackwardDiagonal(const PlainFactors<T>& f, unsigned int r, std::vector<T>& x)
{
    const std::vector<T>& S = f.LD.at({r, r});
    const std::size_t m = f.sizes[r];
    T* xr = x.data() + f.offsets[r];
    for (std::size_t i = m; i > 0; --i) {
        xr[i - 1] = xr[i - 1] / S[(i - 1) * m + (i - 1)];
        for (std::size_t k = 0; k + 1 < i; ++k)
            xr[k] = xr[k] - xr[i - 1] * S[(i - 1) * m + k];
    }
}

/// x_c -= (L·D)(r, c)ᵀ·x_r
template <class T>
void plainScatter(const PlainFactors<T>& f, unsigned int r, unsigned int c, std::vector<T>& x)
{
    const std::vector<T>& B = f.LD.at({r, c});
    for (std::size_t i = 0; i < f.sizes[r]; ++i)
        for (std::size_t k = 0; k < f.sizes[c]; ++k) {
            T& v = x[f.offsets[c] + k];
            v = v - B[i * f.sizes[c] + k] * x[f.offsets[r] + i];
        }
}

template <class T> void plainSolve(const PlainFactors<T>& f, std::vector<T>& x)
{
    for (unsigned int r = plainFirstRow(f, x); r < f.numRows(); ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (contains(f.rows[r], c))
                plainGather(f, r, c, x);
        plainForwardDiagonal(f, r, x);
    }
    for (unsigned int r = f.numRows(); r-- > 0;) {
        plainBackwardDiagonal(f, r, x);
        for (unsigned int c = 0; c < r; ++c)
            if (contains(f.rows[r], c))
                plainScatter(f, r, c, x);
    }
}

template <class T>
unsigned int plainStartRow(const PlainFactors<T>& f, const std::vector<T>& x, int start)
{
    if (start < 0)
        return plainFirstRow(f, x);
    if (start == 0)
        return 0;
    long total = 0;
    for (unsigned int r = 0; r < f.numRows(); ++r) {
        total += f.sizes[r];
        if (total >= start)
            return r;
    }
    return f.numRows() - 1;
}

/// The solve along the path from the starting row to its root; returns the smallest offset of a
/// row that it reads or writes. The system has at least one row.
template <class T>
unsigned int plainUnitSolve(const PlainFactors<T>& f, std::vector<T>& x, int start)
{
    const std::vector<unsigned int> parents = parentsOf(f.rows);
    std::vector<unsigned int> path{plainStartRow(f, x, start)};
    while (parents[path.back()] != path.back())
        path.push_back(parents[path.back()]);

    std::vector<bool> reached(f.numRows(), false);
    for (const unsigned int r : path)
        reached[r] = true;
    for (const unsigned int r : path) {
        for (unsigned int c = 0; c < r; ++c)
            if (reached[c] && contains(f.rows[r], c))
                plainGather(f, r, c, x);
        plainForwardDiagonal(f, r, x);
    }
    for (unsigned int r = path.back() + 1; r-- > 0;) {
        if (!reached[r])
            continue;
        plainBackwardDiagonal(f, r, x);
        for (unsigned int c = 0; c < r; ++c)
            if (contains(f.rows[r], c)) {
                reached[c] = true;
                plainScatter(f, r, c, x);
            }
    }
    for (unsigned int r = 0;; ++r)
        if (reached[r])
            return f.offsets[r];
}

} // namespace support

#endif
