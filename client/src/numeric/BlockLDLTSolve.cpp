#include "BlockLDLTImpl.h"

#include "MatrixWalk.h"
#include "Residual.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace kyrOrvel {
namespace client {

namespace {

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

/// Copies the scalars of a block: a few, for which a function takes longer to be called than to
/// copy.
template <class T> void copyBlock(const T* from, unsigned int size, T* to)
{
    switch (size) { // as most are
    case 3:
        std::memcpy(to, from, 3 * sizeof(T));
        break;
    case 5:
        std::memcpy(to, from, 5 * sizeof(T));
        break;
    case 6:
        std::memcpy(to, from, 6 * sizeof(T));
        break;
    default:
        std::copy_n(from, size, to);
    }
}

/// Zero times a value that is not finite is NaN. Whole vectors tell sooner than their elements, and
/// sums that do not wait for each other sooner than one. Lanes are named, as compilers that find
/// them on their own shuffle the values first, which takes four times as long.
template <class T> bool areFinite(const std::vector<T>& vector)
{
    using Lanes [[gnu::vector_size(16)]] = T;
    constexpr std::size_t kSums = 8;
    constexpr std::size_t kWidth = sizeof(Lanes) / sizeof(T);
    const T* v = vector.data();
    const T* const end = v + vector.size();
    Lanes sums[kSums] = {};
    for (; static_cast<std::size_t>(end - v) >= kSums * kWidth; v += kSums * kWidth)
#pragma GCC unroll 8
        for (std::size_t i = 0; i < kSums; ++i) {
            Lanes lanes;
            std::memcpy(&lanes, v + i * kWidth, sizeof lanes);
            sums[i] += lanes * T(0);
        }
    T total = 0;
    for (; v != end; ++v)
        total += *v * T(0);
    for (const Lanes& sum : sums)
        for (std::size_t i = 0; i < kWidth; ++i)
            total += sum[i];
    return total == 0;
}

template <class T> void scaleBy(int exponent, std::vector<T>& v)
{
    const T factor = std::ldexp(T(1), exponent);
    for (T& x : v)
        x *= factor;
}

} // namespace

template <class T> Status BlockLDLT<T>::Impl::checkVectors(const T* b, const T* x) const
{
    if (!factorized)
        return callSequence("factorize");
    if (!work.empty() && (!b || !x))
        return {StatusCode::InvalidInput, "a right-hand side and room for the solution are needed",
                kNone, kNone};
    return {};
}

template <class T> Status BlockLDLT<T>::Impl::checkBlock(unsigned int block) const
{
    if (!factorized)
        return callSequence("factorize");
    if (block < system().offsets.size())
        return {};
    return {StatusCode::InvalidInput,
            "block " + std::to_string(block) + " is not one of the " +
                std::to_string(system().offsets.size()) + " blocks",
            kNone, kNone};
}

template <class T> Status BlockLDLT<T>::Impl::solve(const T* b, T* x)
{
    const PhaseTimer timer(statistics.solveSeconds);
    Status result = checkVectors(b, x);
    const bool bounded = data().pivotBounds != nullptr;
    if (result.ok())
        result = gather(b, "right-hand side", work);
    if (!result.ok())
        return result;
    if (bounded)
        rightHandSide = work;
    solveWork();
    result = checkSolution(work);
    if (result.ok() && bounded) {
        solution.swap(work);
        refineSolution(settings.corrections, statistics.refinementSteps);
        solution.swap(work);
    }
    if (result.ok())
        scatterTo(work, x);
    return result;
}

/// work = A⁻¹·work. Scaling by a power of two changes no digit, short of underflow; where it makes
/// the solution overflow, that is so much larger than the right-hand side's first values that these
/// may as well be left out.
template <class T> void BlockLDLT<T>::Impl::solveWork()
{
    const int exponent = scaleExponent(work);
    if (exponent == 0) {
        Orvel::solve(data(), work.data());
        return;
    }
    weight = work; // free until a backward error is computed
    scaleBy(exponent, work);
    Orvel::solve(data(), work.data());
    if (areFinite(work)) {
        scaleBy(-exponent, work);
        return;
    }
    work = weight;
    Orvel::solve(data(), work.data());
}

/// work = A⁻¹ times a vector that is zero outside one block.
template <class T> Status BlockLDLT<T>::Impl::solveForBlock(unsigned int block, const T* values)
{
    const SparseMatrix<T>& L = data().factor;
    const unsigned int k = system().analysis.position[block];
    const unsigned int m = L.blockSizes[k];
    for (unsigned int i = 0; i < m; ++i)
        if (!std::isfinite(values[i]))
            return {StatusCode::NotFinite,
                    "the right-hand side holds an infinity or NaN in row " + std::to_string(i) +
                        " of block " + std::to_string(block),
                    block, i};
    std::fill(work.begin(), work.end(), T(0));
    if (m == 0)
        return {};
    std::copy_n(values, m, work.begin() + L.blockOffsets[k]);
    if (data().pivotBounds) {
        rightHandSide = work;
        solveWork();
        solution.swap(work);
        refineSolution(settings.corrections, statistics.refinementSteps);
        solution.swap(work);
    } else {
        // A position on the border between two blocks stands for the one that ends there.
        Orvel::unitSolve(data(), work.data(), static_cast<int>(L.blockOffsets[k] + m));
    }
    return checkSolution(work);
}

template <class T> Status BlockLDLT<T>::Impl::inverseBlock(unsigned int r, unsigned int c, T* out)
{
    const SparseMatrix<T>& L = data().factor;
    const unsigned int k = system().analysis.position[r];
    const std::size_t n = L.blockSizes[system().analysis.position[c]];
    std::fill(unit.begin(), unit.end(), T(0));
    for (std::size_t j = 0; j < n; ++j) {
        unit[j] = 1;
        Status result = solveForBlock(c, unit.data());
        unit[j] = 0;
        if (!result.ok())
            return result;
        for (std::size_t i = 0; i < L.blockSizes[k]; ++i)
            out[i * n + j] = work[L.blockOffsets[k] + i];
    }
    return {};
}

template <class T>
Status BlockLDLT<T>::Impl::checkJacobianRow(const JacobianRow<T>& row, std::size_t index) const
{
    const auto theRow = [&] { return "row " + std::to_string(index) + " of the Jacobian "; };
    for (const auto& term : row.terms) {
        Status result = checkBlock(term.block);
        if (!result.ok())
            return result;
        const unsigned int m = data().factor.blockSizes[system().analysis.position[term.block]];
        if (!term.values && m > 0)
            return {StatusCode::InvalidInput, theRow() + "is given no values", term.block, kNone};
        for (unsigned int i = 0; i < m; ++i)
            if (!std::isfinite(term.values[i]))
                return {StatusCode::NotFinite, theRow() + "holds an infinity or NaN", term.block,
                        i};
    }
    return {};
}

/// Puts a row of J into `work`.
template <class T> void BlockLDLT<T>::Impl::loadJacobianRow(const JacobianRow<T>& row)
{
    const SparseMatrix<T>& L = data().factor;
    std::fill(work.begin(), work.end(), T(0));
    for (const auto& term : row.terms) {
        const unsigned int k = system().analysis.position[term.block];
        for (unsigned int i = 0; i < L.blockSizes[k]; ++i)
            work[L.blockOffsets[k] + i] += term.values[i];
    }
}

/// The product of a row of J with `work`.
template <class T> T BlockLDLT<T>::Impl::dotJacobianRow(const JacobianRow<T>& row) const
{
    const SparseMatrix<T>& L = data().factor;
    T sum = 0;
    for (const auto& term : row.terms) {
        const unsigned int k = system().analysis.position[term.block];
        for (unsigned int i = 0; i < L.blockSizes[k]; ++i)
            sum += term.values[i] * work[L.blockOffsets[k] + i];
    }
    return sum;
}

template <class T>
Status BlockLDLT<T>::Impl::constraintSpace(const std::vector<JacobianRow<T>>& J, T* out)
{
    const std::size_t m = J.size();
    for (std::size_t j = 0; j < m; ++j) {
        Status result = checkJacobianRow(J[j], j);
        if (!result.ok())
            return result;
    }
    for (std::size_t j = 0; j < m; ++j) {
        loadJacobianRow(J[j]);
        rightHandSide = work;
        solveWork();
        if (data().pivotBounds) {
            solution.swap(work);
            refineSolution(settings.corrections, statistics.refinementSteps);
            solution.swap(work);
        }
        Status result = checkSolution(work);
        if (!result.ok())
            return result;
        for (std::size_t i = 0; i <= j; ++i)
            out[i * m + j] = out[j * m + i] = dotJacobianRow(J[i]);
    }
    return {};
}

template <class T> Status BlockLDLT<T>::Impl::refine(const T* b, T* x, int maxSteps, int& steps)
{
    const PhaseTimer timer(statistics.solveSeconds);
    steps = 0;
    Status result = checkVectors(b, x);
    if (result.ok())
        result = gather(b, "right-hand side", rightHandSide);
    if (result.ok())
        result = gather(x, "solution to improve", solution);
    if (!result.ok())
        return result;
    refineSolution(maxSteps, steps);
    statistics.refinementSteps = steps;
    scatterTo(solution, x);
    return {};
}

/// Improves `solution` for `rightHandSide` while that makes the residual smaller.
template <class T> void BlockLDLT<T>::Impl::refineSolution(int maxSteps, int& steps)
{
    steps = 0;
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
    statistics.residualNorm = double(norm);
    computeBackwardError(solution);
}

/// residual = b - A·x; returns its 2-norm.
template <class T> T BlockLDLT<T>::Impl::computeResidual(const std::vector<T>& x)
{
    data().matrix.multiply(x.data(), residual.data());
    for (std::size_t i = 0; i < residual.size(); ++i)
        residual[i] = rightHandSide[i] - residual[i];
    return normOf(residual);
}

template <class T> void BlockLDLT<T>::Impl::computeBackwardError(const std::vector<T>& x)
{
    computeResidual(x);
    const SparseMatrix<T>& A = data().matrix;
    const auto forEach = [&](auto f) {
        forEachBlock(A, data().useMultifrontal != 0,
                     [&](unsigned int late, unsigned int early, const T* block) {
                         f(A.blockOffsets[late], A.blockOffsets[early], A.blockSizes[late],
                           A.blockSizes[early], block);
                     });
    };
    multiplyMagnitudes(forEach, x, weight);
    statistics.backwardError = double(backwardErrorOf(residual, weight, rightHandSide));
}

/// Brings a vector into elimination order.
template <class T>
Status BlockLDLT<T>::Impl::gather(const T* from, const char* what, std::vector<T>& to) const
{
    const SparseMatrix<T>& L = data().factor;
    const unsigned int* const order = system().analysis.order.data();
    const std::size_t* const offsets = system().offsets.data();
    for (unsigned int k = 0; k < L.numBlockRows; ++k)
        copyBlock(from + offsets[order[k]], L.blockSizes[k], to.data() + L.blockOffsets[k]);
    const Place bad = findNotFinite(to);
    if (bad.block == kNone)
        return {};
    return {StatusCode::NotFinite,
            std::string("the ") + what + " holds an infinity or NaN in row " +
                std::to_string(bad.row) + " of block " + std::to_string(bad.block),
            bad.block, bad.row};
}

template <class T> Status BlockLDLT<T>::Impl::checkSolution(const std::vector<T>& x) const
{
    const Place bad = findNotFinite(x);
    if (bad.block == kNone)
        return {};
    return {StatusCode::NotFinite,
            "the solution overflows in row " + std::to_string(bad.row) + " of block " +
                std::to_string(bad.block) + "; scale the system",
            bad.block, bad.row};
}

/// The first value of a vector in elimination order that is not finite.
template <class T>
typename BlockLDLT<T>::Impl::Place
BlockLDLT<T>::Impl::findNotFinite(const std::vector<T>& vector) const
{
    if (areFinite(vector))
        return {};
    const SparseMatrix<T>& L = data().factor;
    for (unsigned int k = 0; k < L.numBlockRows; ++k)
        for (unsigned int i = 0; i < L.blockSizes[k]; ++i)
            if (!std::isfinite(vector[L.blockOffsets[k] + i]))
                return {system().analysis.order[k], i};
    return {};
}

/// Brings a vector back into the user's order.
template <class T> void BlockLDLT<T>::Impl::scatterTo(const std::vector<T>& from, T* to) const
{
    const SparseMatrix<T>& L = data().factor;
    const unsigned int* const order = system().analysis.order.data();
    const std::size_t* const offsets = system().offsets.data();
    for (unsigned int k = 0; k < L.numBlockRows; ++k)
        copyBlock(from.data() + L.blockOffsets[k], L.blockSizes[k], to + offsets[order[k]]);
}

template <class T> const Status& BlockLDLT<T>::solve(const T* b, T* x)
{
    return m_impl->guard([&] { return m_impl->solve(b, x); });
}

template <class T>
const Status& BlockLDLT<T>::solve(const T* B, T* X, std::size_t count, std::size_t ldb,
                                  std::size_t ldx)
{
    return m_impl->guard([&]() -> Status {
        Status result = m_impl->checkVectors(B, X);
        const std::size_t n = m_impl->work.size();
        if (result.ok() && (ldb < n || ldx < n) && count > 1)
            return {StatusCode::InvalidInput,
                    "columns of " + std::to_string(n) + " scalars need strides of that many", kNone,
                    kNone};
        for (std::size_t j = 0; j < count && result.ok(); ++j)
            result = m_impl->solve(B + j * ldb, X + j * ldx);
        return result;
    });
}

template <class T>
const Status& BlockLDLT<T>::solveForBlock(unsigned int block, const T* values, T* x)
{
    return m_impl->guard([&] {
        const PhaseTimer timer(m_impl->statistics.solveSeconds);
        Status result = m_impl->checkBlock(block);
        if (result.ok())
            result = m_impl->checkVectors(values, x);
        if (result.ok())
            result = m_impl->solveForBlock(block, values);
        if (result.ok())
            m_impl->scatterTo(m_impl->work, x);
        return result;
    });
}

template <class T> const Status& BlockLDLT<T>::inverseBlock(unsigned int r, unsigned int c, T* out)
{
    return m_impl->guard([&] {
        const PhaseTimer timer(m_impl->statistics.solveSeconds);
        Status result = m_impl->checkBlock(r);
        if (result.ok())
            result = m_impl->checkBlock(c);
        if (result.ok())
            result = m_impl->checkVectors(out, out);
        return result.ok() ? m_impl->inverseBlock(r, c, out) : result;
    });
}

template <class T>
const Status& BlockLDLT<T>::constraintSpace(const std::vector<JacobianRow<T>>& J, T* out)
{
    return m_impl->guard([&] {
        const PhaseTimer timer(m_impl->statistics.solveSeconds);
        if (!m_impl->factorized)
            return callSequence("factorize");
        if (!J.empty() && !out)
            return Status{StatusCode::InvalidInput, "room for the matrix is needed", kNone, kNone};
        return m_impl->constraintSpace(J, out);
    });
}

template <class T> const Status& BlockLDLT<T>::refine(const T* b, T* x, int maxSteps, int* steps)
{
    int done = 0;
    m_impl->guard([&] { return m_impl->refine(b, x, maxSteps, done); });
    if (steps)
        *steps = done;
    return m_impl->status;
}

#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template const Status& BlockLDLT<T>::solve(const T*, T*);                                      \
    template const Status& BlockLDLT<T>::solve(const T*, T*, std::size_t, std::size_t,             \
                                               std::size_t);                                       \
    template const Status& BlockLDLT<T>::solveForBlock(unsigned int, const T*, T*);                \
    template const Status& BlockLDLT<T>::inverseBlock(unsigned int, unsigned int, T*);             \
    template const Status& BlockLDLT<T>::constraintSpace(const std::vector<JacobianRow<T>>&, T*);  \
    template const Status& BlockLDLT<T>::refine(const T*, T*, int, int*);
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
