#include "PivotCheck.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>

namespace kyrOrvel {
namespace client {

namespace {

/// The share of its terms that a pivot has to keep. Where exact arithmetic gives zero, rounding
/// leaves a few machine epsilons of them at first, and more the longer the way to the pivot: up to
/// some hundred were seen on random systems with dependent constraints.
template <class T> constexpr T kNoiseShare = 512 * std::numeric_limits<T>::epsilon();

/// The same where a better order can be had. A pivot below that makes the factor grow and costs
/// three digits or more: with it, random systems that a later placement solves to machine precision
/// lost up to all but one.
constexpr double kEarlyShare = 1e-3;

std::string number(double v)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", v);
    return text;
}

Status failedPivot(StatusCode code, unsigned int block, unsigned int row, double pivot,
                   const std::string& why)
{
    return {code,
            "the pivot of row " + std::to_string(row) + " of block " + std::to_string(block) +
                " is " + number(pivot) + why,
            block, row};
}

template <class T>
Status judge(T pivot, T scale, T blockScale, T share, unsigned int block, unsigned int row)
{
    constexpr T epsilon = std::numeric_limits<T>::epsilon();
    if (!std::isfinite(pivot) || !std::isfinite(blockScale))
        return failedPivot(StatusCode::NotFinite, block, row, double(pivot),
                           ", with terms of " + number(double(scale)) +
                               ": the values overflow; scale the matrix");
    const T magnitude = std::abs(pivot);
    if (pivot == 0)
        return failedPivot(StatusCode::Singular, block, row, 0,
                           ": the row is zero or depends on rows eliminated before it; "
                           "remove what is redundant or give the block a diagonal (a compliance)");
    if (magnitude <= share * scale)
        return failedPivot(StatusCode::Singular, block, row, double(pivot),
                           ", rounding noise beside its terms of " + number(double(scale)) +
                               ": the row depends on rows eliminated before it; remove what is "
                               "redundant or give the block a diagonal (a compliance)");
    if (magnitude <= epsilon * blockScale)
        return failedPivot(StatusCode::Singular, block, row, double(pivot),
                           ", nothing beside its block's scale of " + number(double(blockScale)) +
                               ": scale the block's rows to comparable sizes");
    return {};
}

} // namespace

template <class T>
Status PivotCheck<T>::run(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                          bool canOrderLater)
{
    const T share = canOrderLater ? T(kEarlyShare) : kNoiseShare<T>;
    const SparseMatrix<T>& L = data.factor;
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        const unsigned int m = L.blockSizes[r];
        if (m == 0)
            continue;
        computeScales(data, r);
        const T blockScale = *std::max_element(m_scales.begin(), m_scales.begin() + m);
        const T* const pivots = data.pivots.data + L.blockOffsets[r];
        for (unsigned int i = 0; i < m; ++i) {
            Status status = judge(pivots[i], m_scales[i], blockScale, share, order[r], i);
            if (!status.ok())
                return status;
        }
    }
    return {};
}

/// |A(i, i)| + Σ |L(i, q)·(L·D)(i, q)| over all columns before i, for every row i of block row r.
template <class T> void PivotCheck<T>::computeScales(const OrvelData<T>& data, unsigned int r)
{
    const SparseMatrix<T>& A = data.matrix;
    const SparseMatrix<T>& L = data.factor;
    const SparseMatrix<T>& S = data.scaledFactor;
    const std::size_t m = L.blockSizes[r];
    const bool upper = A.blockColumns[A.rowStart[r]] == r && A.rowStart[r + 1] - A.rowStart[r] > 1;
    const T* const diagonalOfA = A.blockData[upper ? A.rowStart[r] : A.rowStart[r + 1] - 1];
    for (std::size_t i = 0; i < m; ++i)
        m_scales[i] = std::abs(diagonalOfA[i * m + i]);
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot <= diagonal; ++slot) {
        const std::size_t p = L.blockSizes[L.blockColumns[slot]];
        const T* const l = L.blockData[slot];
        const T* const s = S.blockData[slot];
        for (std::size_t i = 0; i < m; ++i) {
            const std::size_t end = slot == diagonal ? i : p;
            for (std::size_t q = 0; q < end; ++q)
                m_scales[i] += std::abs(l[i * p + q] * s[i * p + q]);
        }
    }
}

template class PivotCheck<float>;
template class PivotCheck<double>;

} // namespace client
} // namespace kyrOrvel
