#include "PivotCheck.h"

#include "../NoiseShare.h"
#include "PivotRange.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kyrOrvel {
namespace client {

namespace {

/// Signs among the pivots of a block.
enum : unsigned char { kPositive = 1, kNegative = 2 };

/// The diagonal block of row r, in either order of blocks.
template <class T> const T* diagonalOf(const SparseMatrix<T>& A, unsigned int r)
{
    const unsigned int first = A.rowStart[r];
    const unsigned int last = A.rowStart[r + 1] - 1;
    return A.blockData[A.blockColumns[first] == r ? first : last];
}

/// Whether the pivots of a block are as those of definite systems: positive, or of trailing blocks
/// negative.
template <class T> bool haveSign(const T* pivots, std::size_t m, bool trailing)
{
    bool all = true;
    for (std::size_t i = 0; i < m; ++i)
        all &= (pivots[i] < 0) == trailing;
    return all;
}

template <class T> T largestOf(const T* values, std::size_t n)
{
    T largest = values[0];
    for (std::size_t i = 1; i < n; ++i)
        largest = largest < values[i] ? values[i] : largest;
    return largest;
}

/// Adds Σ v(q)²·w(q) over the columns of an m × p block to its rows' sums.
template <class T>
void addSquares(const T* block, const T* w, std::size_t m, std::size_t p, FourSums<T>* sums)
{
    switch (p) { // as in most rows
    case 3:
        for (std::size_t i = 0; i < m; ++i)
            sums[i].template addSquares<3>(block + i * 3, w);
        break;
    case 6:
        for (std::size_t i = 0; i < m; ++i)
            sums[i].template addSquares<6>(block + i * 6, w);
        break;
    default:
        for (std::size_t i = 0; i < m; ++i)
            sums[i].addSquares(block + i * p, w, p);
    }
}

/// Whether every diagonal entry of an m × m block is more than a share of its pivot's terms. Size
/// is m where the compiler is to know it, else 0.
template <unsigned int Size, class T>
bool isDiagonalSound(const T* block, unsigned int m, const T* scales, T share)
{
    const unsigned int n = Size > 0 ? Size : m;
    int all = 1;
    for (unsigned int i = 0; i < n; ++i)
        all &= int(std::abs(block[std::size_t(i) * (n + 1)]) > share * scales[i]);
    return all != 0;
}

/// What the doubtful pivots of a tree may cost together, in readings of its part of L.
constexpr std::size_t kReadings = 2;

} // namespace

template <class T>
void PivotCheck<T>::prepare(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                            unsigned int firstTrailing, const std::vector<unsigned char>* early)
{
    const SparseMatrix<T>& A = data.matrix;
    const unsigned int blocks = A.numBlockRows;
    m_owing.clear();
    for (unsigned int r = 0; early && r < blocks; ++r)
        if (order[r] < firstTrailing &&
            std::any_of(data.factorColumns.data() + data.factorRowStart[r],
                        data.factorColumns.data() + data.factorRowStart[r + 1],
                        [&](unsigned int c) { return (*early)[order[c]] != 0; }))
            m_owing.push_back({diagonalOf(A, r), A.blockOffsets[r], A.blockSizes[r], r});
    m_trailingCouple = false;
    for (unsigned int r = 0; r < blocks; ++r)
        for (unsigned int slot = A.rowStart[r]; slot < A.rowStart[r + 1]; ++slot)
            m_trailingCouple |= A.blockColumns[slot] != r && order[r] >= firstTrailing &&
                                order[A.blockColumns[slot]] >= firstTrailing;
    m_expected.clear();
    m_expectedNegative = 0;
    std::size_t largestBlock = 0;
    for (unsigned int r = 0; r < blocks; ++r) {
        const bool trailing = order[r] >= firstTrailing;
        const std::size_t m = A.blockSizes[r];
        m_expected.insert(m_expected.end(), m, trailing ? T(-1) : T(1));
        m_expectedNegative += trailing ? m : 0;
        largestBlock = std::max(largestBlock, m);
    }
    const std::size_t dimension = m_expected.size();
    m_scales.resize(largestBlock);
    m_sums.resize(largestBlock);
    m_signs.resize(blocks);
    m_positive.resize(dimension);
    m_negative.resize(dimension);
    m_below.resize(blocks);
    m_top.resize(blocks);
    m_budget.resize(blocks);
    m_doubtful.reserve(dimension);
    m_nullVector.reserve(dimension, blocks);
}

template <class T>
PivotFailure<T> PivotCheck<T>::run(const OrvelData<T>& data, const std::vector<unsigned int>& order,
                                   unsigned int firstTrailing, PivotDemands demands)
{
    using Kind = typename PivotFailure<T>::Kind;
    m_counts = {};
    if (data.hasPivotScales && takeAllAtOnce(data, demands))
        return {};
    begin();
    const SparseMatrix<T>& L = data.factor;
    PivotFailure<T> failure;
    unsigned int r = 0;
    for (; r < L.numBlockRows && failure.kind == Kind::None; ++r) {
        if (!data.hasPivotScales)
            estimateScales(data, r);
        const T* const scales =
            data.hasPivotScales ? data.pivotScales + L.blockOffsets[r] : m_scales.data();
        failure = checkBlock(data, r, scales, order, firstTrailing, demands);
    }
    const unsigned int sound = failure.kind == Kind::None ? r : r - 1;
    const PivotFailure<T> noise = findNoise(data, sound);
    return noise.kind == Kind::None ? failure : noise;
}

/// Counts all pivots if none can need a closer look, whatever their blocks and what came before
/// them: a share of its terms that no noise reaches is left of each, and none is small beside any
/// of the terms. So it is of most systems, in a fraction of the time.
template <class T> bool PivotCheck<T>::takeAllAtOnce(const OrvelData<T>& data, PivotDemands demands)
{
    const std::size_t n = m_expected.size();
    if (n == 0)
        return true;
    const T* const pivots = data.pivots.data;
    // Behind pivots that kept that share, noise is less than the share.
    const T share =
        std::max(std::sqrt(kNoiseShare<T>), demands.early ? T(demands.earlyShare) : T(0));
    const PivotRange<T> range =
        findRange(pivots, data.pivotScales, demands.signs ? m_expected.data() : nullptr, n, share);
    if (!range.known || range.leastMargin <= 0 ||
        range.smallest <= std::numeric_limits<T>::epsilon() * range.largestScale ||
        (demands.early &&
         !areDiagonalsSound(data, T(std::max(demands.diagonalShare, demands.jointShare)))))
        return false;
    m_counts.negative = demands.signs ? m_expectedNegative
                                      : static_cast<std::size_t>(std::count_if(
                                            pivots, pivots + n, [](T d) { return d < 0; }));
    m_counts.positive = n - m_counts.negative;
    const auto firstOf = [&](T magnitude) {
        return double(
            *std::find_if(pivots, pivots + n, [&](T d) { return std::abs(d) == magnitude; }));
    };
    m_counts.smallest = firstOf(range.smallest);
    m_counts.largest = firstOf(range.largest);
    return true;
}

template <class T> bool PivotCheck<T>::isOwing(unsigned int r) const
{
    const auto found =
        std::lower_bound(m_owing.begin(), m_owing.end(), r,
                         [](const Owing& o, unsigned int row) { return o.row < row; });
    return found != m_owing.end() && found->row == r;
}

template <class T> bool PivotCheck<T>::areDiagonalsSound(const OrvelData<T>& data, T share) const
{
    const T* const scales = data.pivotScales;
    bool all = true;
    for (const Owing& owing : m_owing)
        if (owing.size == 6) // as most bodies
            all &= isDiagonalSound<6>(owing.block, 6, scales + owing.offset, share);
        else
            all &= isDiagonalSound<0>(owing.block, owing.size, scales + owing.offset, share);
    return all;
}

/// Checks and counts the pivots of a block row, up to the first that fails; rows are checked in
/// order.
///
/// @param scales  one per pivot of the row
template <class T>
PivotFailure<T> PivotCheck<T>::checkBlock(const OrvelData<T>& data, unsigned int r, const T* scales,
                                          const std::vector<unsigned int>& order,
                                          unsigned int firstTrailing, PivotDemands demands)
{
    enter(r);
    const PivotFailure<T> failure = checkPivots(data, r, scales, order, firstTrailing, demands);
    if (failure.kind == PivotFailure<T>::Kind::None)
        leave(data, r);
    return failure;
}

template <class T>
PivotFailure<T> PivotCheck<T>::checkPivots(const OrvelData<T>& data, unsigned int r,
                                           const T* scales, const std::vector<unsigned int>& order,
                                           unsigned int firstTrailing, PivotDemands demands)
{
    using Kind = typename PivotFailure<T>::Kind;
    const unsigned int m = data.factor.blockSizes[r];
    if (m == 0)
        return {};
    const bool trailing = order[r] >= firstTrailing;
    // Whether another order might serve these pivots better: those of an early block, or of an
    // ordinary one that early blocks add to.
    const bool early = demands.early && trailing && (*demands.early)[order[r]] != 0;
    const bool owing = demands.early && !trailing && isOwing(r);
    const T leastShare = early || owing ? T(demands.earlyShare) : T(0);
    PivotFailure<T> pivot;
    pivot.position = r;
    pivot.blockScale = largestOf(scales, m);
    const T blockNoise = std::numeric_limits<T>::epsilon() * pivot.blockScale;
    const T* const pivots = data.pivots.data + data.factor.blockOffsets[r];
    const bool known = !demands.signs || haveSign(pivots, m, trailing);
    if (known && !owing && areSound(pivots, scales, m, leastShare, blockNoise)) {
        count(pivots, m);
        return {};
    }
    for (unsigned int i = 0; i < m; ++i) {
        pivot.row = i;
        pivot.pivot = pivots[i];
        pivot.scale = scales[i];
        const T magnitude = std::abs(pivot.pivot);
        const T share = std::max(leastShare, m_soundShare);
        const bool sound = magnitude > share * pivot.scale && magnitude > blockNoise;
        if (!sound) // as few are; infinities and NaN are not
            pivot.kind = judge(pivot, leastShare);
        if (owing && pivot.kind == Kind::None && isBuried(data, pivot, order, demands))
            pivot.kind = Kind::Weak;
        if (pivot.kind == Kind::None && demands.signs && (pivot.pivot < 0) != trailing)
            pivot.kind = wrongSign(data, pivot, trailing);
        if (pivot.kind != Kind::None)
            return pivot;
        count(&pivot.pivot, 1);
        if (magnitude < m_leastShare * pivot.scale)
            setLeastShare(magnitude / pivot.scale);
    }
    return {};
}

/// Whether early blocks left too little of an ordinary block's diagonal entry among the terms of
/// its pivot: all of them together, or one alone.
template <class T>
bool PivotCheck<T>::isBuried(const OrvelData<T>& data, const PivotFailure<T>& pivot,
                             const std::vector<unsigned int>& order,
                             const PivotDemands& demands) const
{
    const SparseMatrix<T>& L = data.factor;
    const unsigned int r = pivot.position;
    const std::size_t m = L.blockSizes[r];
    const T diagonal = std::abs(diagonalOf(data.matrix, r)[pivot.row * (m + 1)]);
    if (!(diagonal > T(demands.diagonalShare) * pivot.scale))
        return true;
    const T share = T(demands.jointShare);
    if (diagonal > share * pivot.scale)
        return false;
    for (unsigned int slot = L.rowStart[r]; slot < L.rowStart[r + 1]; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        if (!(*demands.early)[order[c]])
            continue;
        const std::size_t p = L.blockSizes[c];
        const T* const row = L.blockData[slot] + pivot.row * p;
        const T* const d = data.pivots.data + L.blockOffsets[c];
        T added = 0;
        for (std::size_t q = 0; q < p; ++q)
            added += row[q] * row[q] * std::abs(d[q]);
        if (!(diagonal > share * added))
            return true;
    }
    return false;
}

template <class T>
double PivotCheck<T>::complianceOf(const OrvelData<T>& data, const PivotFailure<T>& pivot) const
{
    const std::size_t m = data.factor.blockSizes[pivot.position];
    return std::max(-double(diagonalOf(data.matrix, pivot.position)[pivot.row * (m + 1)]), 0.0);
}

/// Whether no pivot of a block needs a closer look, as is almost always so.
///
/// @param share  of its terms that each has to keep, at least
template <class T>
bool PivotCheck<T>::areSound(const T* pivots, const T* scales, std::size_t m, T share,
                             T noise) const
{
    share = std::max({share, m_soundShare, m_leastShare});
    bool all = true;
    for (std::size_t i = 0; i < m; ++i)
        all &= int(std::abs(pivots[i]) > share * scales[i]) & int(std::abs(pivots[i]) > noise);
    return all;
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
    begin(); // noise is not told from weak pivots here
    for (unsigned int r = 0; r < L.numBlockRows; ++r) {
        const bool trailing = order[r] >= firstTrailing;
        if (!spoilt[r]) {
            const T* const scales = computeScales(data, r).data();
            const bool bad =
                hasBounded(data, r) ||
                checkBlock(data, r, scales, order, firstTrailing, demands).kind != Kind::None;
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
typename PivotFailure<T>::Kind PivotCheck<T>::judge(const PivotFailure<T>& pivot, T leastShare)
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
    if (magnitude <= leastShare * pivot.scale)
        return Kind::Weak;
    // Noise of the pivots before it may have grown on the way by what they lost to cancellation.
    if (magnitude * m_leastShare <= kNoiseShare<T> * pivot.scale)
        m_doubtful.push_back({pivot.position, pivot.row, 0});
    return Kind::None;
}

/// Behind sound pivots, only a diagonal block of its own that is not negative semidefinite can make
/// the pivot of a trailing row positive. Without one the pivot was negative and too small to tell;
/// with one that leaves its row alone, if it is small.
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
    bool semidefinite = true; // zero, or compliances where no other block adds to them
    for (std::size_t i = 0; i < m; ++i) {
        const T own = diagonal[i * m + i];
        semidefinite =
            semidefinite && (own == 0 || (own < 0 && !m_trailingCouple)) &&
            std::all_of(diagonal + i * m, diagonal + i * m + i, [](T value) { return value == 0; });
    }
    return semidefinite || pivot.pivot <= small ? Kind::Lost : Kind::WrongSign;
}

template <class T> void PivotCheck<T>::begin()
{
    m_doubtful.clear();
    m_scalarsRead = 0;
    std::fill(m_below.begin(), m_below.end(), Below{T(1), 0});
    setLeastShare(1);
}

/// What was lost in the pivots below a block row can have grown in its own; what was lost
/// elsewhere cannot.
template <class T> void PivotCheck<T>::enter(unsigned int r)
{
    if (m_leastShare != m_below[r].leastShare)
        setLeastShare(m_below[r].leastShare);
}

template <class T> void PivotCheck<T>::leave(const OrvelData<T>& data, unsigned int r)
{
    const SparseMatrix<T>& L = data.factor;
    std::size_t columns = 0;
    for (unsigned int slot = L.rowStart[r]; slot < L.rowStart[r + 1]; ++slot)
        columns += L.blockSizes[L.blockColumns[slot]];
    m_below[r].scalars += columns * L.blockSizes[r];
    const unsigned int parent = data.eliminationTree.parent[r];
    if (parent == r)
        return;
    m_below[parent].leastShare = std::min(m_below[parent].leastShare, m_leastShare);
    m_below[parent].scalars += m_below[r].scalars;
}

/// Of the doubtful pivots in the first `rows` block rows leaves those that may well be noise, the
/// most likely first. Each pivot d(q) is taken to be off by ε·e(q), but not by more than itself,
/// which makes e(p) = |A(p, p)| + Σ L(p, q)²·(|d(q)| + e(q)): as if errors on different ways to p
/// had random signs.
template <class T> void PivotCheck<T>::keepLikelyNoise(const OrvelData<T>& data, unsigned int rows)
{
    const SparseMatrix<T>& L = data.factor;
    const T* const pivots = data.pivots.data;
    std::vector<T>& weights = m_positive; // |d| + e: what it held has served
    auto next = m_doubtful.begin();
    for (unsigned int r = 0; r < rows; ++r) {
        const unsigned int m = L.blockSizes[r];
        const unsigned int diagonal = L.rowStart[r + 1] - 1;
        for (unsigned int i = 0; i < m; ++i)
            m_sums[i].clear();
        for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
            const unsigned int c = L.blockColumns[slot];
            addSquares(L.blockData[slot], weights.data() + L.blockOffsets[c], m, L.blockSizes[c],
                       m_sums.data());
        }
        T* const own = weights.data() + L.blockOffsets[r];
        const T* const A = diagonalOf(data.matrix, r);
        for (unsigned int i = 0; i < m; ++i) {
            m_sums[i].addSquares(L.blockData[diagonal] + std::size_t(i) * m, own, i);
            const T noise = std::abs(A[i * m + i]) + m_sums[i].total();
            const T magnitude = std::abs(pivots[L.blockOffsets[r] + i]);
            const T most = magnitude / std::numeric_limits<T>::epsilon();
            own[i] = magnitude + (noise < most ? noise : most); // of huge values noise may be NaN
            if (next != m_doubtful.end() && next->position == r && next->row == i)
                next++->share = std::isfinite(noise) ? magnitude / noise : T(0);
        }
    }
    m_doubtful.erase(std::remove_if(m_doubtful.begin(), m_doubtful.end(),
                                    [](const Doubtful& d) { return d.share > kNoiseShare<T>; }),
                     m_doubtful.end());
    std::sort(m_doubtful.begin(), m_doubtful.end(),
              [](const Doubtful& a, const Doubtful& b) { return a.share < b.share; });
}

/// The first of the doubtful pivots in the first `rows` block rows that is found to be noise. The
/// most doubtful ones are looked at first, until their trees' budgets are spent: the others are
/// accepted.
template <class T>
PivotFailure<T> PivotCheck<T>::findNoise(const OrvelData<T>& data, unsigned int rows)
{
    PivotFailure<T> first;
    while (!m_doubtful.empty() && m_doubtful.back().position >= rows) // beside one that failed
        m_doubtful.pop_back();
    if (m_doubtful.empty())
        return first;
    for (unsigned int r = rows; r-- > 0;) {
        const unsigned int parent = data.eliminationTree.parent[r];
        m_top[r] = parent == r || parent >= rows ? r : m_top[parent];
        m_budget[r] = kReadings * m_below[r].scalars;
    }
    keepLikelyNoise(data, rows);
    std::size_t end = data.pivots.size;
    for (const Doubtful& doubtful : m_doubtful) {
        const std::size_t s = data.factor.blockOffsets[doubtful.position] + doubtful.row;
        std::size_t& budget = m_budget[m_top[doubtful.position]];
        if (s > end || budget < m_below[doubtful.position].scalars)
            continue;
        m_nullVector.compute(data, doubtful.position, doubtful.row);
        budget -= m_nullVector.cost(); // no more than there is below
        m_scalarsRead += m_nullVector.cost();
        const T noise = std::numeric_limits<T>::epsilon() * m_nullVector.magnitude(data);
        if (!(std::abs(data.pivots.data[s]) <= noise))
            continue;
        end = s;
        first.kind = PivotFailure<T>::Kind::Lost;
        first.position = doubtful.position;
        first.row = doubtful.row;
        first.pivot = data.pivots.data[s];
    }
    if (first.kind != PivotFailure<T>::Kind::None) {
        const std::vector<T>& scales = computeScales(data, first.position);
        first.scale = scales[first.row];
        first.blockScale = largestOf(scales.data(), data.factor.blockSizes[first.position]);
        m_counts = {};
        count(data.pivots.data, end);
    }
    return first;
}

template <class T> PivotFailure<T> PivotCheck<T>::runBounded(const OrvelData<T>& data, T most)
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
            if (pivot.scale > most * std::abs(data.pivotBounds[s])) {
                pivot.kind = Kind::Lost;
                return pivot;
            }
            if (bounded && m_counts.bounded++ == 0)
                m_firstBounded = pivot;
            count(&pivot.pivot, 1);
        }
    return {};
}

template <class T> void PivotCheck<T>::setLeastShare(T share)
{
    m_leastShare = share;
    m_soundShare = kNoiseShare<T> / share;
}

template <class T> void PivotCheck<T>::count(const T* pivots, std::size_t m)
{
    PivotCounts counts = m_counts;
    if (counts.positive + counts.negative == 0)
        counts.smallest = counts.largest = double(pivots[0]);
    for (std::size_t i = 0; i < m; ++i) {
        const auto d = double(pivots[i]);
        ++(d > 0 ? counts.positive : counts.negative);
        if (std::abs(d) < std::abs(counts.smallest))
            counts.smallest = d;
        if (std::abs(d) > std::abs(counts.largest))
            counts.largest = d;
    }
    m_counts = counts;
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

template <class T> void PivotCheck<T>::takeWeights(const OrvelData<T>& data, unsigned int r)
{
    unsigned char signs = 0;
    const unsigned int first = data.factor.blockOffsets[r];
    for (unsigned int s = first; s < first + data.factor.blockSizes[r]; ++s) {
        const T pivot = data.pivots.data[s];
        m_positive[s] = pivot > 0 ? pivot : T(0);
        m_negative[s] = pivot < 0 ? -pivot : T(0);
        signs |= pivot > 0 ? kPositive : kNegative;
    }
    m_signs[r] = signs;
}

/// The same up to rounding for pivots that were not replaced by bounds, behind rows that were
/// checked: a pivot is A(i, i) less positive terms plus the magnitudes of negative ones, so that
/// the sum over one sign gives that over the other. Where columns of one sign are all that a row
/// has, as in a chain, that reads nothing of L outside the diagonal block.
template <class T> void PivotCheck<T>::estimateScales(const OrvelData<T>& data, unsigned int r)
{
    takeWeights(data, r);
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
    const T* const weights = summed == kPositive ? m_positive.data() : m_negative.data();
    for (std::size_t i = 0; i < m; ++i)
        m_sums[i].clear();
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.blockColumns[slot];
        if (m_signs[c] & summed)
            addSquares(L.blockData[slot], weights + L.blockOffsets[c], m, L.blockSizes[c],
                       m_sums.data());
    }
    const T* const own = data.pivots.data + L.blockOffsets[r];
    if (m_signs[r] & summed)
        for (std::size_t i = 1; i < m; ++i)
            m_sums[i].addSquares(L.blockData[diagonal] + i * m, weights + L.blockOffsets[r], i);
    const T* const A = diagonalOf(data.matrix, r);
    const T sign = summed == kPositive ? T(1) : T(-1);
    for (std::size_t i = 0; i < m; ++i) {
        const T difference = sign * (A[i * m + i] - own[i]);
        m_scales[i] = std::abs(A[i * m + i]) + std::abs(2 * m_sums[i].total() - difference);
    }
}

template class PivotCheck<float>;
template class PivotCheck<double>;

} // namespace client
} // namespace kyrOrvel
