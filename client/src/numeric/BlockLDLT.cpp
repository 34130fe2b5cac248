#include <kyrOrvelClient/BlockLDLT>

#include "../OutOfMemory.h"
#include "../ordering/Ordering.h"
#include "../schedule/Schedule.h"
#include "../symbolic/FactorStructure.h"
#include "MatrixPattern.h"
#include "PivotCheck.h"
#include "ValueScatter.h"

#include <kyrOrvel/Orvel>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

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

// The choice between serial and multifrontal, in the schedule's units of a third of a nanosecond.

/// About half a millisecond on one thread. Below it the hand-over costs more than threads bring.
constexpr std::uint64_t kLeastWork = 1500000;

/// What the multifrontal method spends on a node beyond what the serial one does: measured on rope
/// bridges, whose nodes are small.
constexpr double kNodeOverhead = 600;

/// To wake sleeping workers and to be woken by them.
constexpr double kForkAndJoin = 180000;

/// To clear a scalar of both factors and the fronts, which no further thread makes faster.
constexpr double kPerScalar = 6;

/// Whether a schedule is expected to beat one thread clearly.
bool pays(const TreeMapping& mapping, std::uint64_t factorScalars)
{
    const double clearing = kPerScalar * static_cast<double>(factorScalars);
    const double serial = static_cast<double>(mapping.totalWork) -
                          kNodeOverhead * static_cast<double>(mapping.owner.size()) + clearing;
    const double onThreads = static_cast<double>(mapping.makespan) + kForkAndJoin + clearing;
    return mapping.totalWork >= kLeastWork && onThreads < 0.9 * serial;
}

/// The power of two by which to scale a right-hand side before the solver sees it. The solver takes
/// leading values below the machine epsilon for zeros, whatever the units are; where the vector
/// begins with such a value, the power brings that to the epsilon, and the largest value to 1/ε at
/// the most: what is left out then is ε² of it.
template <class T> int scaleExponent(const std::vector<T>& v)
{
    constexpr int kEpsilonExponent = 1 - std::numeric_limits<T>::digits;
    const auto first = std::find_if(v.begin(), v.end(), [](T x) { return x != 0; });
    if (first == v.end() || !(std::abs(*first) < std::numeric_limits<T>::epsilon()))
        return 0;
    T largest = 0;
    for (const T x : v)
        largest = std::max(largest, std::abs(x));
    const int needed = kEpsilonExponent - std::ilogb(*first);
    return std::max(0, std::min(needed, -kEpsilonExponent - std::ilogb(largest)));
}

template <class T> void scaleBy(int exponent, std::vector<T>& v)
{
    const T factor = std::ldexp(T(1), exponent);
    for (T& x : v)
        x *= factor;
}

Status callSequence(const char* needed)
{
    return {StatusCode::CallSequence, std::string(needed) + " has to succeed first", kNone, kNone};
}

} // namespace

template <class T> struct BlockLDLT<T>::Impl {
    Status status;
    Analysis analysis;
    OrvelData<T> data;

    unsigned int threads = 1;
    Factorization factorization = Factorization::Automatic;
    Waiting waiting = Waiting::Blocking;

    bool analyzed = false;
    bool factorized = false;
    MatrixPattern pattern;
    ValueScatter<T> scatter;
    PivotCheck<T> pivotCheck;
    Schedule<T> schedule;
    std::vector<T> work;              ///< vectors in elimination order: the one being solved,
    std::vector<T> rightHandSide;     ///< and for refinement what to solve for,
    std::vector<T> solution;          ///< the best so far,
    std::vector<T> residual;          ///< and what is left of it
    std::vector<std::size_t> offsets; ///< scalar offset of each block in the user's order

    Status analyze(const BlockMatrix<T>& A);
    Status checkSizes(const BlockMatrix<T>& A) const;
    Status analyze(const BlockMatrix<T>& A, TrailingPlacement placement);
    Status order(TrailingPlacement placement, OrderingResult& ordering);
    Status buildStructure(const BlockMatrix<T>& A, OrderingResult& ordering);
    Status planThreads(const std::vector<unsigned int>& sizes, std::uint64_t factorScalars);
    bool canOrderLater() const;
    void prepareVectors(const BlockMatrix<T>& A);
    Status factor(const BlockMatrix<T>& A);
    Status factorChecked();
    Status solve(const T* b, T* x);
    Status refine(const T* b, T* x, int maxSteps, int& steps);
    void solveWork();
    Status checkVectors(const T* b, const T* x) const;
    Status gather(const T* from, const char* what, std::vector<T>& to) const;
    Status checkSolution() const;
    void scatterTo(const std::vector<T>& from, T* to) const;
    T computeResidual(const std::vector<T>& x);

    void forgetAnalysis()
    {
        analyzed = false;
        factorized = false;
    }

    /// Runs a step, turning exhausted memory into a status.
    template <class Step> const Status& guard(Step step)
    {
        status = guardMemory(step);
        return status;
    }
};

template <class T> Status BlockLDLT<T>::Impl::analyze(const BlockMatrix<T>& A)
{
    analyzed = false;
    factorized = false;
    Status result = checkSizes(A);
    if (!result.ok())
        return result;
    pattern = MatrixPattern(A);
    prepareVectors(A);
    return analyze(A, TrailingPlacement::AfterFirst);
}

template <class T>
Status BlockLDLT<T>::Impl::analyze(const BlockMatrix<T>& A, TrailingPlacement placement)
{
    analyzed = false;
    OrderingResult ordering;
    Status result = order(placement, ordering);
    if (result.ok())
        result = buildStructure(A, ordering);
    analyzed = result.ok();
    return result;
}

/// Whether trailing blocks stand before some of the ordinary blocks that they couple to.
template <class T> bool BlockLDLT<T>::Impl::canOrderLater() const
{
    return analysis.method == OrderingMethod::SymamdRepaired ||
           analysis.method == OrderingMethod::SymamdDelayed;
}

template <class T> Status BlockLDLT<T>::Impl::checkSizes(const BlockMatrix<T>& A) const
{
    if (A.dimension() > kMaxDimension)
        return tooLarge("the scalar dimension", A.dimension(), kMaxDimension);
    const std::uint64_t entries = A.numBlocks() + A.numBlockRows();
    if (entries > kMaxDimension)
        return tooLarge("the block pattern", entries, kMaxDimension);
    return {};
}

template <class T>
Status BlockLDLT<T>::Impl::order(TrailingPlacement placement, OrderingResult& ordering)
{
    SkeletonMatrix skeleton;
    pattern.fillSkeleton(skeleton);
    const std::vector<unsigned char> standsAlone = pattern.standsAlone();
    const OrderingInput input{skeleton, pattern.firstTrailing(), standsAlone};
    Status result = computeOrdering(input, placement, data.scratch, ordering);
    if (!result.ok())
        return result;
    const unsigned int n = pattern.numBlockRows();
    analysis.method = ordering.method;
    analysis.order.assign(ordering.permutation.P, ordering.permutation.P + n);
    analysis.position.resize(n);
    for (unsigned int k = 0; k < n; ++k)
        analysis.position[analysis.order[k]] = k;
    analysis.matrixBlocks = skeleton.rowStart[n];
    return {};
}

template <class T>
Status BlockLDLT<T>::Impl::buildStructure(const BlockMatrix<T>& A, OrderingResult& ordering)
{
    std::vector<unsigned int> sizes;
    for (const unsigned int block : analysis.order)
        sizes.push_back(A.blockSize(block));
    data.eliminationTree = ordering.tree;
    const FactorStructure structure(ordering.pattern, data.eliminationTree, sizes);
    const FactorCounts& counts = structure.counts();
    if (counts.blocks > kMaxCount)
        return tooLarge("the factor's block pattern", counts.blocks, kMaxCount);
    if (counts.scalars + kValueSlack > kMaxCount)
        return tooLarge("the factor", counts.scalars, kMaxCount);
    structure.fill(data.factorRowStart, data.factorColumns, data.columnPattern);
    const Status result = planThreads(sizes, counts.scalars);
    if (!result.ok())
        return result;
    scatter.prepare(A, ordering.pattern, analysis.order, analysis.position, analysis.multifrontal,
                    data.matrix);
    analysis.factorBlocks = counts.blocks;
    analysis.factorScalars = counts.scalars;
    analysis.operations = counts.operations;
    return {};
}

/// Decides between serial and multifrontal, and builds the schedule for the latter.
template <class T>
Status BlockLDLT<T>::Impl::planThreads(const std::vector<unsigned int>& sizes,
                                       std::uint64_t factorScalars)
{
    analysis.multifrontal = false;
    analysis.threads = 1;
    analysis.work = 0;
    analysis.makespan = 0;
    data.useMultifrontal = 0;
    if (factorization == Factorization::Serial ||
        (factorization == Factorization::Automatic && threads == 1))
        return {};
    const TreeMapping mapping =
        mapTree(data.eliminationTree, workPerNode(data.columnPattern, sizes), threads);
    analysis.work = mapping.totalWork;
    analysis.makespan = mapping.makespan;
    if (factorization == Factorization::Automatic && !pays(mapping, factorScalars))
        return {};
    const SyncMode mode = waiting == Waiting::Spinning ? SyncMode::Spinning : SyncMode::Blocking;
    Status result = schedule.build(mapping, sizes, mode, data);
    if (!result.ok())
        return result;
    analysis.multifrontal = true;
    analysis.threads = threads;
    data.useMultifrontal = 1;
    data.numThreads = threads;
    return {};
}

template <class T> void BlockLDLT<T>::Impl::prepareVectors(const BlockMatrix<T>& A)
{
    const unsigned int n = A.numBlockRows();
    offsets.resize(n);
    unsigned int largest = 0;
    for (unsigned int r = 0; r < n; ++r) {
        offsets[r] = A.blockOffset(r);
        largest = std::max(largest, A.blockSize(r));
    }
    for (std::vector<T>* vector : {&work, &rightHandSide, &solution, &residual})
        vector->resize(A.dimension());
    pivotCheck.reserve(largest);
}

template <class T> Status BlockLDLT<T>::Impl::factor(const BlockMatrix<T>& A)
{
    factorized = false;
    if (!analyzed)
        return callSequence("analyzePattern");
    Status result = pattern.compare(A);
    if (!result.ok())
        return result;
    result = scatter.run(A);
    if (!result.ok())
        return result;
    result = factorChecked();
    if (!result.ok() && canOrderLater()) {
        result = analyze(A, TrailingPlacement::AfterLast);
        if (result.ok())
            result = scatter.run(A);
        if (result.ok())
            result = factorChecked();
    }
    factorized = result.ok();
    return result;
}

template <class T> Status BlockLDLT<T>::Impl::factorChecked()
{
    data.factored = 0;
    if (analysis.multifrontal) {
        if (data.trace)
            data.trace->threads.assign(threads, {});
        Orvel::factorMF(data);
    } else {
        Orvel::factorSerial(data);
    }
    return pivotCheck.run(data, analysis.order, canOrderLater());
}

template <class T> Status BlockLDLT<T>::Impl::checkVectors(const T* b, const T* x) const
{
    if (!factorized)
        return callSequence("factorize");
    if (!work.empty() && (!b || !x))
        return {StatusCode::InvalidInput, "a right-hand side and room for the solution are needed",
                kNone, kNone};
    return {};
}

template <class T> Status BlockLDLT<T>::Impl::solve(const T* b, T* x)
{
    Status result = checkVectors(b, x);
    if (result.ok())
        result = gather(b, "right-hand side", work);
    if (!result.ok())
        return result;
    solveWork();
    result = checkSolution();
    if (result.ok())
        scatterTo(work, x);
    return result;
}

/// work = A⁻¹·work. Scaling by a power of two changes no digit, short of underflow.
template <class T> void BlockLDLT<T>::Impl::solveWork()
{
    const int exponent = scaleExponent(work);
    if (exponent != 0)
        scaleBy(exponent, work);
    Orvel::solve(data, work.data());
    if (exponent != 0)
        scaleBy(-exponent, work);
}

template <class T> Status BlockLDLT<T>::Impl::refine(const T* b, T* x, int maxSteps, int& steps)
{
    steps = 0;
    Status result = checkVectors(b, x);
    if (result.ok())
        result = gather(b, "right-hand side", rightHandSide);
    if (result.ok())
        result = gather(x, "solution to improve", solution);
    if (!result.ok())
        return result;
    T norm = computeResidual(solution);
    while (steps < maxSteps && norm > 0) {
        work = residual;
        solveWork();
        for (std::size_t i = 0; i < work.size(); ++i)
            work[i] += solution[i];
        const T next = computeResidual(work);
        if (!(next < norm)) // also when the correction overflowed
            break;
        norm = next;
        solution.swap(work);
        ++steps;
    }
    scatterTo(solution, x);
    return {};
}

/// residual = b - A·x; returns its 2-norm.
template <class T> T BlockLDLT<T>::Impl::computeResidual(const std::vector<T>& x)
{
    data.matrix.multiply(x.data(), residual.data());
    T sum = 0;
    for (std::size_t i = 0; i < residual.size(); ++i) {
        residual[i] = rightHandSide[i] - residual[i];
        sum += residual[i] * residual[i];
    }
    return std::sqrt(sum);
}

/// Brings a vector into elimination order.
template <class T>
Status BlockLDLT<T>::Impl::gather(const T* from, const char* what, std::vector<T>& to) const
{
    const SparseMatrix<T>& L = data.factor;
    for (unsigned int k = 0; k < L.numBlockRows; ++k) {
        const unsigned int block = analysis.order[k];
        const T* const values = from + offsets[block];
        for (unsigned int i = 0; i < L.blockSizes[k]; ++i) {
            if (!std::isfinite(values[i]))
                return {StatusCode::NotFinite,
                        std::string("the ") + what + " holds an infinity or NaN in row " +
                            std::to_string(i) + " of block " + std::to_string(block),
                        block, i};
            to[L.blockOffsets[k] + i] = values[i];
        }
    }
    return {};
}

template <class T> Status BlockLDLT<T>::Impl::checkSolution() const
{
    const SparseMatrix<T>& L = data.factor;
    for (unsigned int k = 0; k < L.numBlockRows; ++k)
        for (unsigned int i = 0; i < L.blockSizes[k]; ++i)
            if (!std::isfinite(work[L.blockOffsets[k] + i]))
                return {StatusCode::NotFinite,
                        "the solution overflows in row " + std::to_string(i) + " of block " +
                            std::to_string(analysis.order[k]) + "; scale the system",
                        analysis.order[k], i};
    return {};
}

/// Brings a vector back into the user's order.
template <class T> void BlockLDLT<T>::Impl::scatterTo(const std::vector<T>& from, T* to) const
{
    const SparseMatrix<T>& L = data.factor;
    for (unsigned int k = 0; k < L.numBlockRows; ++k)
        std::copy_n(from.data() + L.blockOffsets[k], L.blockSizes[k],
                    to + offsets[analysis.order[k]]);
}

template <class T> BlockLDLT<T>::BlockLDLT() : m_impl(std::make_unique<Impl>())
{
}
template <class T> BlockLDLT<T>::~BlockLDLT() = default;
template <class T> BlockLDLT<T>::BlockLDLT(BlockLDLT&&) noexcept = default;
template <class T> BlockLDLT<T>& BlockLDLT<T>::operator=(BlockLDLT&&) noexcept = default;

template <class T> const Status& BlockLDLT<T>::setThreads(unsigned int threads)
{
    return m_impl->guard([&]() -> Status {
        if (threads < 1 || threads > kMaxOwners)
            return {StatusCode::InvalidInput,
                    std::to_string(threads) + " threads are outside the range 1 to " +
                        std::to_string(kMaxOwners),
                    kNone, kNone};
        m_impl->threads = threads;
        m_impl->forgetAnalysis();
        return {};
    });
}

template <class T> void BlockLDLT<T>::setFactorization(Factorization factorization)
{
    m_impl->factorization = factorization;
    m_impl->forgetAnalysis();
}

template <class T> void BlockLDLT<T>::setWaiting(Waiting waiting)
{
    m_impl->waiting = waiting;
    m_impl->forgetAnalysis();
}

template <class T> void BlockLDLT<T>::setTrace(FactorTrace* trace)
{
    m_impl->data.trace = trace;
}

template <class T> const Status& BlockLDLT<T>::analyzePattern(const BlockMatrix<T>& A)
{
    return m_impl->guard([&] { return m_impl->analyze(A); });
}

template <class T> const Status& BlockLDLT<T>::factorize(const BlockMatrix<T>& A)
{
    return m_impl->guard([&] { return m_impl->factor(A); });
}

template <class T> const Status& BlockLDLT<T>::compute(const BlockMatrix<T>& A)
{
    return analyzePattern(A).ok() ? factorize(A) : info();
}

template <class T> const Status& BlockLDLT<T>::solve(const T* b, T* x)
{
    return m_impl->guard([&] { return m_impl->solve(b, x); });
}

template <class T> const Status& BlockLDLT<T>::refine(const T* b, T* x, int maxSteps, int* steps)
{
    int done = 0;
    m_impl->guard([&] { return m_impl->refine(b, x, maxSteps, done); });
    if (steps)
        *steps = done;
    return m_impl->status;
}

template <class T> const Status& BlockLDLT<T>::info() const
{
    return m_impl->status;
}

template <class T> const Analysis& BlockLDLT<T>::analysis() const
{
    return m_impl->analysis;
}

template <class T> const OrvelData<T>& BlockLDLT<T>::data() const
{
    return m_impl->data;
}

template class BlockLDLT<float>;
template class BlockLDLT<double>;

} // namespace client
} // namespace kyrOrvel
