#include "detail/ExactArithmetic.h"
#include "detail/RowFactorization.h"

namespace kyrOrvel {
namespace detail {
namespace {

#include "detail/FactorRows.h"

} // namespace

void factorRowsAvx2(const RowFactorization<float>& task)
{
    factorRows(task);
}

void factorRowsAvx2(const RowFactorization<double>& task)
{
    factorRows(task);
}

void updateFrontAvx2(const float* S, unsigned int na, unsigned int nb,
                     const FrontTarget<float>* targets, unsigned int count)
{
    updateFront(S, na, nb, targets, count);
}

void updateFrontAvx2(const double* S, unsigned int na, unsigned int nb,
                     const FrontTarget<double>* targets, unsigned int count)
{
    updateFront(S, na, nb, targets, count);
}

} // namespace detail
} // namespace kyrOrvel
