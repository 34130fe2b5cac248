#include "PivotCheck.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

/// Whether another order might serve the pivots of block row r better: they are those of an early
/// block, or of an ordinary one that an early block has changed.
template <class T>
bool owesToEarly(const SparseMatrix<T>& L, unsigned int r, bool trailing,
                 const std::vector<unsigned int>& order, const std::vector<unsigned char>& early)
{
    if (trailing)
        return early[order[r]] != 0;
    return std::any_of(L.blockColumns + L.rowStart[r], L.blockColumns + L.rowStart[r + 1],
                       [&](unsigned int c) { return early[order[c]] != 0; });
}

/// Signs among the pivots of a block.
enum : unsigned char { kPositive = 1, kNegative = 2 };

/// The diagonal block of row r, in either order of blocks.
template <class T> const T* diagonalOf(const SparseMatrix<T>& A, unsigned int r)
{
    const unsigned int first = A.rowStart[r];
    const unsigned int last = A.rowStart[r + 1] - 1;
    return A.blockData[A.blockColumns[first] == r ? first : last];
}

/// What doubtful pivots may cost together, in readings of L.
constexpr std::size_t kReadings = 4;

} // namespace

template <class T>
void PivotCheck<T>::reserve(std::size_t dimension, unsigned int blocks, unsigned int largestBlock)
{
    m_scales.resize(largestBlock);
    m_sums.resize(largestBlock);
    m_signs.resize(blocks);
    m_nullVector.reserve(dimension, blocks);
}

template <class T>
PivotFailure<T> PivotCheck<T>::run(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                                   unsigned int firstTrailing, PivotDemands demands)
{
    using Kind = typename PivotFailure<T>::Kind;
    m_counts = {};
    setLeastShare(1);
    const SparseMatrix<T>& L = data.factor;
    m_budget = kReadings * L.valueCapacity;
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        estimateScales(data, r);
        const PivotFailure<T> failure = checkBlock(data, r, order, firstTrailing, demands);
        if (failure.kind != Kind::None)
            return failure;
    }
    return {};
}

/// Checks and counts the pivots of a block row with the scales at hand, up to the first that fails.
template <class T>
PivotFailure<T> PivotCheck<T>::checkBlock(const OrvelData<T>& data, unsigned int r,
                                          const std::vector<unsigned int>& order,
                                          unsigned int firstTrailing, PivotDemands demands)
{
    using Kind = typename PivotFailure<T>::Kind;
    const unsigned int m = data.factor.blockSizes[r];
    m_signs[r] = 0;
    if (m == 0)
        return {};
    const bool trailing = order[r] >= firstTrailing;
    const bool strong =
        demands.early && owesToEarly(data.factor, r, trailing, order, *demands.early);
    PivotFailure<T> pivot;
    pivot.position = r;
    pivot.blockScale = *std::max_element(m_scales.begin(), m_scales.begin() + m);
    const T blockNoise = std::numeric_limits<T>::epsilon() * pivot.blockScale;
    for (unsigned int i = 0; i < m; ++i) {
        pivot.row = i;
        pivot.pivot = data.pivots.data[data.factor.blockOffsets[r] + i];
        pivot.scale = m_scales[i];
        const T magnitude = std::abs(pivot.pivot);
        const T share = strong ? std::max(T(kEarlyShare), m_soundShare) : m_soundShare;
        const bool sound = magnitude > share * pivot.scale && magnitude > blockNoise;
        if (!sound) // as few are; infinities and NaN are not
            pivot.kind = judge(data, pivot, strong);
        if (pivot.kind == Kind::None && demands.signs && (pivot.pivot < 0) != trailing)
            pivot.kind = wrongSign(data, pivot, trailing);
        if (pivot.kind != Kind::None)
            return pivot;
        count(pivot.pivot);
        m_signs[r] |= pivot.pivot > 0 ? kPositive : kNegative;
        if (magnitude < m_leastShare * pivot.scale)
            setLeastShare(magnitude / pivot.scale);
    }
    return {};
}

template <class T>
void PivotCheck<T>::findUnusable(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                                 unsigned int firstTrailing, PivotDemands demands,
                                 std::vector<unsigned char>& later)
{
    using Kind = typename PivotFailure<T>::Kind;
    const SparseMatrix<T>& L = data.factor;
    std::vector<unsigned char> spoilt(L.numBlockRows, 0);
    later.assign(L.numBlockRows, 0);
    m_budget = 0; // noise is not told from weak pivots here
    setLeastShare(1);
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        const bool trailing = order[r] >= firstTrailing;
        if (!spoilt[r]) {
            computeScales(data, r);
            const bool bad = hasBounded(data, r) ||
                             checkBlock(data, r, order, firstTrailing, demands).kind != Kind::None;
            if (!bad)
                continue;
            later[order[r]] = trailing;
            for (unsigned int slot = L.rowStart[r]; !trailing && slot < L.rowStart[r + 1]; ++slot)
                later[order[L.blockColumns[slot]]] = order[L.blockColumns[slot]] >= firstTrailing;
        }
        spoilt[data.eliminationTree.parent[r]] = 1;
    }
}

template <class T> bool PivotCheck<T>::hasBounded(const OrvelData<T>& data, unsigned int r) const
{
    const unsigned int first = data.factor.blockOffsets[r];
    for (unsigned int s = first; data.pivotBounds && s < first + data.factor.blockSizes[r]; ++s)
        if (std::abs(data.pivots.data[s]) == std::abs(data.pivotBounds[s]))
            return true;
    return false;
}

template <class T>
typename PivotFailure<T>::Kind PivotCheck<T>::judge(const OrvelData<T>& data,
                                                    const PivotFailure<T>& pivot, bool strong)
{
    using Kind = typename PivotFailure<T>::Kind;
    if (!std::isfinite(pivot.pivot) || !std::isfinite(pivot.blockScale))
        return Kind::NotFinite;
    if (pivot.pivot == 0)
        return Kind::Zero;
    const T magnitude = std::abs(pivot.pivot);
    if (magnitude <= kNoiseShare<T> * pivot.scale)
        return Kind::Lost;
    if (magnitude <= std::numeric_limits<T>::epsilon() * pivot.blockScale)
        return Kind::OutOfScale;
    if (strong && magnitude <= T(kEarlyShare) * pivot.scale)
        return Kind::Weak;
    // Noise of the pivots before it may have grown on the way by what they lost to cancellation.
    if (magnitude * m_leastShare <= kNoiseShare<T> * pivot.scale && isNoise(data, pivot, magnitude))
        return Kind::Lost;
    return Kind::None;
}

/// Behind sound pivots, only a diagonal block of its own that is not negative definite can make the
/// pivot of a trailing row positive. Without one the pivot was negative and too small to tell; with
/// one that leaves its row alone, if it is small.
template <class T>
typename PivotFailure<T>::Kind PivotCheck<T>::wrongSign(const OrvelData<T>& data,
                                                        const PivotFailure<T>& pivot,
                                                        bool trailing) const
{
    using Kind = typename PivotFailure<T>::Kind;
    const std::size_t m = data.factor.blockSizes[pivot.position];
    const T* const diagonal = diagonalOf(data.matrix, pivot.position);
    const T small = std::sqrt(std::numeric_limits<T>::epsilon()) * pivot.scale;
    if (!trailing || diagonal[pivot.row * m + pivot.row] > 0)
        return Kind::WrongSign;
    bool zero = true;
    for (std::size_t i = 0; i < m; ++i)
        zero = zero && std::all_of(diagonal + i * m, diagonal + i * m + i + 1,
                                   [](T value) { return value == 0; });
    return zero || pivot.pivot <= small ? Kind::Lost : Kind::WrongSign;
}

template <class T>
bool PivotCheck<T>::isNoise(const OrvelData<T>& data, const PivotFailure<T>& pivot, T magnitude)
{
    if (m_budget == 0)
        return false;
    m_nullVector.compute(data, pivot.position, pivot.row);
    m_budget -= std::min(m_budget, m_nullVector.cost());
    return magnitude <= std::numeric_limits<T>::epsilon() * m_nullVector.magnitude(data);
}

template <class T> PivotFailure<T> PivotCheck<T>::runBounded(const OrvelData<T>& data)
{
    using Kind = typename PivotFailure<T>::Kind;
    m_counts = {};
    m_firstBounded = {};
    const SparseMatrix<T>& L = data.factor;
    for (unsigned int r = 0; r < L.numBlockRows; ++r)
        for (unsigned int i = 0; i < L.blockSizes[r]; ++i) {
            const unsigned int s = L.blockOffsets[r] + i;
            PivotFailure<T> pivot;
            pivot.position = r;
            pivot.row = i;
            pivot.pivot = data.pivots.data[s];
            const bool bounded = std::abs(pivot.pivot) == std::abs(data.pivotBounds[s]);
            pivot.scale = bounded ? computeScales(data, r)[i] : T(0);
            if (!std::isfinite(pivot.pivot) || !std::isfinite(pivot.scale)) {
                pivot.kind = Kind::NotFinite;
                return pivot;
            }
            if (bounded && m_counts.bounded++ == 0)
                m_firstBounded = pivot;
            count(pivot.pivot);
        }
    return {};
}

template <class T> void PivotCheck<T>::setLeastShare(T share)
{
    m_leastShare = share;
    m_soundShare = kNoiseShare<T> / share;
}

template <class T> void PivotCheck<T>::count(T pivot)
{
    const auto d = double(pivot);
    const bool first = m_counts.positive + m_counts.negative == 0;
    ++(d > 0 ? m_counts.positive : m_counts.negative);
    if (first || std::abs(d) < std::abs(m_counts.smallest))
        m_counts.smallest = d;
    if (first || std::abs(d) > std::abs(m_counts.largest))
        m_counts.largest = d;
}

template <class T>
const std::vector<T>& PivotCheck<T>::computeScales(const OrvelData<T>& data, unsigned int r)
{
    const SparseMatrix<T>& L = data.factor;
    const std::size_t m = L.blockSizes[r];
    const T* const diagonalBlock = diagonalOf(data.matrix, r);
    for (std::size_t i = 0; i < m; ++i)
        m_sums[i].clear();
    const T* const pivots = data.pivots.data;
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        const std::size_t p = L.blockSizes[c];
        for (std::size_t i = 0; i < m; ++i)
            m_sums[i].addWeightedSquares(L.blockData[slot] + i * p, pivots + L.blockOffsets[c], p);
    }
    for (std::size_t i = 0; i < m; ++i) {
        m_sums[i].addWeightedSquares(L.blockData[diagonal] + i * m, pivots + L.blockOffsets[r], i);
        m_scales[i] = std::abs(diagonalBlock[i * m + i]) + m_sums[i].total();
    }
    return m_scales;
}

/// The same up to rounding for pivots that were not replaced by bounds, behind rows that were
/// checked: a pivot is A(i, i) less positive terms plus the magnitudes of negative ones, so that
/// the sum over one sign gives that over the other. Where columns of one sign are all that a row
/// has, as in a chain, that reads nothing of L outside the diagonal block.
template <class T> void PivotCheck<T>::estimateScales(const OrvelData<T>& data, unsigned int r)
{
    const SparseMatrix<T>& L = data.factor;
    const std::size_t m = L.blockSizes[r];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    std::size_t positive = 0;
    std::size_t negative = 0;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        positive += m_signs[c] & kPositive ? L.blockSizes[c] : 0;
        negative += m_signs[c] & kNegative ? L.blockSizes[c] : 0;
    }
    const unsigned char summed = positive < negative ? kPositive : kNegative;
    const T sign = summed == kPositive ? T(1) : T(-1);
    const T* const pivots = data.pivots.data;
    const T* const own = pivots + L.blockOffsets[r];
    std::size_t ownEnd = 0; // one after the last own pivot of that sign
    for (std::size_t i = 0; i < m; ++i) {
        m_sums[i].clear();
        if (own[i] * sign > 0)
            ownEnd = i + 1;
    }
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        if (!(m_signs[c] & summed))
            continue;
        const std::size_t p = L.blockSizes[c];
        for (std::size_t i = 0; i < m; ++i)
            m_sums[i].addPositiveTerms(L.blockData[slot] + i * p, pivots + L.blockOffsets[c], sign,
                                       p);
    }
    const T* const A = diagonalOf(data.matrix, r);
    for (std::size_t i = 0; i < m; ++i) {
        m_sums[i].addPositiveTerms(L.blockData[diagonal] + i * m, own, sign, std::min(i, ownEnd));
        const T difference = sign * (A[i * m + i] - own[i]);
        m_scales[i] = std::abs(A[i * m + i]) + std::abs(2 * m_sums[i].total() - difference);
    }
}

template class PivotCheck<float>;
template class PivotCheck<double>;

} // namespace client
} // namespace kyrOrvel
