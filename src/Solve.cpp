#include <kyrOrvel/Orvel>

#include "detail/FactorOnDemand.h"
#include "detail/SolveSteps.h"

#include <algorithm>

namespace kyrOrvel {

template <class T> bool Orvel::solve(OrvelData<T>& data, T* x)
{
    detail::factorOnDemand(data);
    const SparseMatrix<T>& L = data.factor;
    if (L.numBlockRows == 0 || L.numBlocks == 0)
        return false;

    // L·y = b. Rows before the first nonzero keep their b, which is zero.
    for (unsigned int r = detail::firstNonzeroRow(L, x); r < L.numBlockRows; ++r)
        detail::forwardRow(L, r, x, [](unsigned int) { return true; });

    // D·Lᵀ·x = y. L·D carries the pivots, so no pass for D alone is needed.
    const SparseMatrix<T>& S = data.scaledFactor;
    for (unsigned int r = S.numBlockRows; r-- > 0;)
        detail::backwardRow(S, r, x, [](unsigned int) {});
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
