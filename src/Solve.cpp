#include <kyrOrvel/Orvel>

#include "detail/FactorOnDemand.h"
#include "detail/FactorPath.h"
#include "detail/SolveSteps.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {

namespace {

using detail::SolveReading;

// Bytes of L from which on solves ask for memory ahead, or read nothing but L. What two of the
// first take does not stay in the nearest caches: with walls, nets and elastic cubes beyond that,
// solves behind their factorization take 0.6 to 0.75 of the time; small ropes and bridges would
// take 1.04. What two of the second take does not stay in those of the core.
constexpr std::size_t kFarFactor = std::size_t(1) << 19;
constexpr std::size_t kLargeFactor = std::size_t(1) << 20;

template <class T> SolveReading readingOf(const OrvelData<T>& data)
{
    const SolveReading forced = detail::solveReading();
    const bool made = data.scaledIsProduct && data.factorsAreKept;
    if (forced != SolveReading::Automatic)
        return forced == SolveReading::FactorAlone && !made ? SolveReading::Far : forced;
    // About: without the last block. The capacity may be of a larger system before this one.
    const SparseMatrix<T>& L = data.factor;
    const auto bytes = std::size_t(L.blockData[L.numBlocks - 1] - L.values) * sizeof(T);
    if (bytes < kFarFactor)
        return SolveReading::Near;
    return made && bytes >= kLargeFactor ? SolveReading::FactorAlone : SolveReading::Far;
}

/// L·y = b, then D·Lᵀ·x = y. L·D carries the pivots, so no pass for D alone is needed.
template <class T> void solvePlainly(const OrvelData<T>& data, unsigned int firstRow, T* x)
{
    for (unsigned int r = firstRow; r < data.factor.numBlockRows; ++r)
        detail::plainForwardRow(data.factor, r, x);
    for (unsigned int r = data.scaledFactor.numBlockRows; r-- > 0;)
        detail::plainBackwardRow(data.scaledFactor, r, x);
}

} // namespace

template <class T> bool Orvel::solve(OrvelData<T>& data, T* x)
{
    detail::factorOnDemand(data);
    const SparseMatrix<T>& L = data.factor;
    if (L.numBlockRows == 0 || L.numBlocks == 0)
        return false;

    // Rows before the first nonzero keep their b, which is zero.
    const unsigned int firstRow = detail::firstNonzeroRow(L, x);
    if (const detail::FactorFunctions<T>* const functions = detail::factorFunctions<T>()) {
        const SolveReading reading = readingOf(data);
        functions->solveRows({detail::solveFactor(L), detail::solveFactor(data.scaledFactor),
                              reading == SolveReading::FactorAlone ? data.pivots.data : x, reading,
                              firstRow, x});
    } else {
        solvePlainly(data, firstRow, x);
    }
    return true;
}

template <class T> bool Orvel::solve(OrvelData<T>& data, T* b, T* x)
{
    const SparseMatrix<T>& A = data.matrix;
    if (A.numBlockRows != 0)
        std::copy_n(b, A.blockSizes[A.numBlockRows], x);
    return solve(data, x);
}

#define ORVEL_INSTANTIATE(T)                                                                       \
    template bool Orvel::solve<T>(OrvelData<T>&, T*);                                              \
    template bool Orvel::solve<T>(OrvelData<T>&, T*, T*);
ORVEL_INSTANTIATE(float)
ORVEL_INSTANTIATE(double)

template class OrvelData<float>;
template class OrvelData<double>;

} // namespace kyrOrvel
