#include "AnalyzedSystem.h"

#include "../ordering/EarlyRule.h"

#include <algorithm>
#include <string>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

constexpr std::uint64_t kMaxCount = 0xFFFFFFFEu; ///< of blocks or scalars in one matrix
constexpr std::uint64_t kValueSlack = 64;        ///< the factorization asks for that much more
constexpr std::size_t kMaxDimension = 0x7FFFFFFF;

Status tooLarge(const std::string& what, std::uint64_t count, std::uint64_t limit)
{
    return {StatusCode::TooLarge,
            what + " needs a count of " + std::to_string(count) + ", more than the " +
                std::to_string(limit) + " that the solver can hold; split the system",
            kNone, kNone};
}

// The choice between one thread and several, in a schedule's units of a third of a nanosecond.

/// About four milliseconds on one thread. Below it the hand-over, and what then has to move from
/// one core to another, cost more than threads bring.
constexpr std::uint64_t kLeastWork = 80000000;

/// What the serial factorization, and the same on threads, take of the multifrontal one's time: 0.3
/// to 0.7 on heaps, nets, lattices and pose graphs.
constexpr double kSerialShare = 0.5;

/// The scalar columns of a panel of several columns of blocks, at the most; beside large factors,
/// which have wider ones, panels are nothing.
constexpr std::uint64_t kPanelWidth = 96;

/// To wake sleeping workers and to be woken by them.
constexpr double kForkAndJoin = 180000;

/// Whether threads are expected to beat one clearly.
bool pays(const TreeMapping& mapping)
{
    const double serial = kSerialShare * static_cast<double>(mapping.totalWork);
    const double parallel = kSerialShare * static_cast<double>(mapping.makespan) + kForkAndJoin;
    return mapping.totalWork >= kLeastWork && parallel < 0.9 * serial;
}

} // namespace

template <class T>
Status AnalyzedSystem<T>::analyze(const BlockMatrix<T>& A, std::vector<T> compliances,
                                  bool byValues)
{
    analyzed = false;
    Status result = checkSizes(A);
    if (!result.ok())
        return result;
    pattern = MatrixPattern(A);
    signsAreKnown = pattern.firstTrailing() < A.numBlockRows() && pattern.signsAreKnown();
    offsets.resize(A.numBlockRows());
    largestBlock = 0;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        offsets[r] = A.blockOffset(r);
        largestBlock = std::max(largestBlock, A.blockSize(r));
    }
    m_compliances = std::move(compliances);
    analysis.byValues = byValues;
    analysis.orderedAgain = false;
    if (byValues) {
        const ValueRule<T> rule(A, m_compliances);
        return build(A, &rule);
    }
    const CountRule rule(pattern.sizes());
    return build(A, &rule);
}

template <class T>
Status AnalyzedSystem<T>::analyzeLater(const BlockMatrix<T>& A,
                                       const std::vector<unsigned char>& unusable)
{
    if (analysis.orderedAgain)
        return build(A, nullptr);
    analysis.orderedAgain = true;
    const ValueRule<T> byValues(A);
    const ExceptRule rule(byValues, unusable);
    return build(A, &rule);
}

template <class T> Status AnalyzedSystem<T>::recognize(const BlockMatrix<T>& A)
{
    if (m_knownIdentity != 0 && m_knownIdentity == A.identity() && m_knownBlocks == A.numBlocks())
        return {};
    m_knownIdentity = 0;
    Status result = pattern.compare(A);
    if (!result.ok())
        return result;
    scatter.link(A);
    m_knownIdentity = A.identity();
    m_knownBlocks = A.numBlocks();
    return {};
}

template <class T> Status AnalyzedSystem<T>::build(const BlockMatrix<T>& A, const EarlyRule* rule)
{
    analyzed = false;
    m_knownIdentity = 0;
    data.onlyValuesChanged = 0;
    data.factorsAreKept = 1; // nobody else writes to them
    OrderingResult ordering;
    Status result = order(rule, ordering);
    if (result.ok())
        result = buildStructure(A, ordering);
    analyzed = result.ok();
    return result;
}

template <class T> Status AnalyzedSystem<T>::checkSizes(const BlockMatrix<T>& A) const
{
    if (A.dimension() > kMaxDimension)
        return tooLarge("the scalar dimension", A.dimension(), kMaxDimension);
    const std::uint64_t entries = A.numBlocks() + A.numBlockRows();
    if (entries > kMaxDimension)
        return tooLarge("the block pattern", entries, kMaxDimension);
    return {};
}

template <class T> Status AnalyzedSystem<T>::order(const EarlyRule* rule, OrderingResult& ordering)
{
    SkeletonMatrix skeleton;
    pattern.fillSkeleton(skeleton);
    std::vector<unsigned char> standsAlone = pattern.standsAlone();
    const BlockGraph graph(skeleton);
    const OrderingInput input{skeleton,    graph,           pattern.firstTrailing(),
                              standsAlone, pattern.sizes(), settings.userOrder};
    needsCompliance = false;
    Status result = computeOrdering(input, settings.ordering, rule, data.scratch, ordering);
    if (result.code == StatusCode::Singular && !m_compliances.empty()) {
        // Compliances are diagonals, too. Not to begin with, as they may be taken back.
        for (std::size_t t = 0; t < m_compliances.size(); ++t)
            if (m_compliances[t] != 0)
                standsAlone[pattern.firstTrailing() + t] = 1;
        needsCompliance = true;
        result = computeOrdering(input, settings.ordering, rule, data.scratch, ordering);
    }
    if (!result.ok())
        return result;
    const unsigned int n = pattern.numBlockRows();
    analysis.method = ordering.method;
    analysis.earlyBlocks = ordering.earlyBlocks;
    analysis.free = ordering.free;
    analysis.order.assign(ordering.permutation.P, ordering.permutation.P + n);
    analysis.position.resize(n);
    for (unsigned int k = 0; k < n; ++k)
        analysis.position[analysis.order[k]] = k;
    analysis.matrixBlocks = skeleton.rowStart[n];
    early.assign(n, 0);
    for (unsigned int t = pattern.firstTrailing(); canOrderLater() && t < n; ++t)
        for (unsigned int e = skeleton.rowStart[t]; e < skeleton.rowStart[t + 1]; ++e) {
            const unsigned int c = skeleton.columnIndices[e];
            if (c < pattern.firstTrailing() && analysis.position[c] > analysis.position[t])
                early[t] = 1;
        }
    return {};
}

template <class T>
Status AnalyzedSystem<T>::buildStructure(const BlockMatrix<T>& A, OrderingResult& ordering)
{
    std::vector<unsigned int> sizes;
    sizes.reserve(analysis.order.size());
    for (const unsigned int block : analysis.order)
        sizes.push_back(A.blockSize(block));
    data.eliminationTree = ordering.tree;
    const FactorCounts& counts = ordering.counts;
    if (counts.blocks > kMaxCount)
        return tooLarge("the factor's block pattern", counts.blocks, kMaxCount);
    if (counts.scalars + kValueSlack > kMaxCount)
        return tooLarge("the factor", counts.scalars, kMaxCount);
    fillStructure(ordering.pattern, data.eliminationTree, ordering.columnBlocks,
                  {data.factorRowStart, data.factorColumns, data.columnPattern});
    Status result = planThreads(sizes, ordering.inTurn);
    if (!result.ok())
        return result;
    compliant = false;
    scatter.prepare(A, ordering.pattern, analysis.order, analysis.position, analysis.multifrontal,
                    data.matrix);
    analysis.factorBlocks = counts.blocks;
    analysis.factorScalars = counts.scalars;
    analysis.operations = counts.operations;
    analysis.bytes = countBytes(A, counts);
    return {};
}

/// Decides how many threads factor, and builds the schedule if they are to go by one.
///
/// @param inTurn  whether independent blocks alternate: threads that share them would write to the
///                same cache lines
template <class T>
Status AnalyzedSystem<T>::planThreads(const std::vector<unsigned int>& sizes, bool inTurn)
{
    analysis.multifrontal = false;
    analysis.threads = 1;
    analysis.work = 0;
    analysis.makespan = 0;
    data.useMultifrontal = 0;
    m_schedule.clear();
    if (settings.factorization == Factorization::Serial ||
        (settings.factorization == Factorization::Automatic && settings.threads == 1))
        return {};
    const TreeMapping mapping =
        mapTree(data.eliminationTree, workPerNode(data.columnPattern, sizes), settings.threads);
    analysis.work = mapping.totalWork;
    analysis.makespan = mapping.makespan;
    if (settings.factorization == Factorization::Automatic && (inTurn || !pays(mapping)))
        return {};
    analysis.threads = settings.threads;
    if (settings.factorization != Factorization::Multifrontal)
        return {};
    const SyncMode mode =
        settings.waiting == Waiting::Spinning ? SyncMode::Spinning : SyncMode::Blocking;
    Status result = m_schedule.build(mapping, sizes, mode, data);
    if (!result.ok())
        return result;
    analysis.multifrontal = true;
    data.useMultifrontal = 1;
    data.numThreads = settings.threads;
    return {};
}

/// What the arrays take that are as long as the problem.
template <class T>
std::uint64_t AnalyzedSystem<T>::countBytes(const BlockMatrix<T>& A,
                                            const FactorCounts& counts) const
{
    constexpr std::uint64_t kWord = sizeof(unsigned int);
    constexpr std::uint64_t kPerSlot = 2 * kWord + sizeof(T*); // column, tag, pointer
    constexpr std::uint64_t kPerRow = 3 * kWord;               // start, size, offset
    constexpr std::uint64_t kVectors = 16; // pivots, their bounds and scales, right-hand sides ...
    const std::uint64_t n = A.numBlockRows();
    const std::uint64_t matrixValues = data.matrix.valueCapacity;
    const std::uint64_t factors =
        2 * ((counts.scalars + kValueSlack) * sizeof(T) + counts.blocks * kPerSlot + n * kPerRow);
    const std::uint64_t matrix =
        matrixValues * sizeof(T) +
        analysis.matrixBlocks * (kPerSlot + ValueScatter<T>::kBytesPerBlock) + n * kPerRow;
    const std::uint64_t structure = (2 * counts.blocks + A.numBlocks()) * kWord + n * 19 * kWord;
    const std::uint64_t square = std::uint64_t(largestBlock) * largestBlock;
    const std::uint64_t work = analysis.multifrontal ? 0 : 2 * square * sizeof(T); // of a block row
    // The serial factorization remembers the pattern by rows and by columns, where the input's
    // blocks go, and reciprocals.
    const std::uint64_t plan =
        analysis.multifrontal
            ? 0
            : counts.blocks * (3 * kWord + 2 * sizeof(void*)) + analysis.matrixBlocks * 5 * kWord +
                  n * 7 * kWord + A.dimension() * sizeof(T) +
                  analysis.threads * (n * kWord + largestPanel() * sizeof(T));
    return plan + factors + matrix + structure + work + kVectors * A.dimension() * sizeof(T) +
           m_schedule.bytes();
}

/// Scalars of the largest panel, about: a column of blocks, or half of the most that several with
/// the same rows can be, which are no wider together than they are high. Often they are narrower,
/// and where the factorization goes by rows there are none.
template <class T> std::uint64_t AnalyzedSystem<T>::largestPanel() const
{
    const SparseMatrix<T>& A = data.matrix;
    std::vector<std::uint64_t> heights(A.numBlockRows, 0);
    for (unsigned int r = 0; r < A.numBlockRows; ++r)
        for (unsigned int e = data.factorRowStart[r]; e < data.factorRowStart[r + 1]; ++e)
            heights[data.factorColumns[e]] += A.blockSizes[r];
    std::uint64_t largest = 0;
    for (unsigned int c = 0; c < A.numBlockRows; ++c)
        largest = std::max({largest, heights[c] * A.blockSizes[c],
                            heights[c] * std::min(heights[c], kPanelWidth) / 2});
    return largest;
}

template class AnalyzedSystem<float>;
template class AnalyzedSystem<double>;

} // namespace client
} // namespace kyrOrvel
