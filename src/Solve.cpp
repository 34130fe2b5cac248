#include <kyrOrvel/Orvel>

#include "detail/FactorOnDemand.h"
#include "detail/Prefetch.h"
#include "detail/SolveSteps.h"

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {

namespace {

/// Bytes of a factor from which on solves ask for memory ahead: what two of that take does not stay
/// in the nearest caches. With walls, nets and elastic cubes beyond that, solves behind their
/// factorization take 0.6 to 0.75 of the time; small ropes and bridges would take 1.04.
constexpr std::size_t kLargeFactor = std::size_t(1) << 19;

template <class T, class Forwards, class Backwards>
void solvePasses(const OrvelData<T>& data, T* x, Forwards forwards, Backwards backwards)
{
    // L·y = b. Rows before the first nonzero keep their b, which is zero.
    const SparseMatrix<T>& L = data.factor;
    const auto readsAll = [](unsigned int) { return true; };
    for (unsigned int r = detail::firstNonzeroRow(L, x); r < L.numBlockRows; ++r)
        detail::forwardRow(L, r, x, readsAll, forwards);

    // D·Lᵀ·x = y. L·D carries the pivots, so no pass for D alone is needed.
    const SparseMatrix<T>& S = data.scaledFactor;
    const auto tellNobody = [](unsigned int) {};
    for (unsigned int r = S.numBlockRows; r-- > 0;)
        detail::backwardRow(S, r, x, tellNobody, backwards);
}

} // namespace

template <class T> bool Orvel::solve(OrvelData<T>& data, T* x)
{
    detail::factorOnDemand(data);
    const SparseMatrix<T>& L = data.factor;
    if (L.numBlockRows == 0 || L.numBlocks == 0)
        return false;

    if (L.valueCapacity * sizeof(T) < kLargeFactor)
        solvePasses(data, x, detail::NothingAhead(), detail::NothingAhead());
    else
        solvePasses(data, x, detail::Prefetch<true>(), detail::Prefetch<false>());
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
