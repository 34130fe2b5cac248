#include "detail/ExactArithmetic.h"
#include "detail/RowFactorization.h"

namespace kyrOrvel {
namespace detail {
namespace {

#include "detail/FactorRows.h"

} // namespace

void factorRowsAvx512(const RowFactorization<float>& task)
{
    factorRows(task);
}

void factorRowsAvx512(const RowFactorization<double>& task)
{
    factorRows(task);
}

void updateFrontAvx512(const float* S, unsigned int na, unsigned int nb,
                       const FrontTarget<float>* targets, unsigned int count)
{
    updateFront(S, na, nb, targets, count);
}

void updateFrontAvx512(const double* S, unsigned int na, unsigned int nb,
                       const FrontTarget<double>* targets, unsigned int count)
{
    updateFront(S, na, nb, targets, count);
}

} // namespace detail
} // namespace kyrOrvel
