#include "detail/ExactArithmetic.h"
#include "detail/RowFactorization.h"

namespace kyrOrvel {
namespace detail {
namespace {

#include "detail/FactorRows.h"

} // namespace

void factorRowsBaseline(const RowFactorization<float>& task)
{
    factorRows(task);
}

void factorRowsBaseline(const RowFactorization<double>& task)
{
    factorRows(task);
}

void updateFrontBaseline(const float* S, unsigned int na, unsigned int nb,
                         const FrontTarget<float>* targets, unsigned int count)
{
    updateFront(S, na, nb, targets, count);
}

void updateFrontBaseline(const double* S, unsigned int na, unsigned int nb,
                         const FrontTarget<double>* targets, unsigned int count)
{
    updateFront(S, na, nb, targets, count);
}

} // namespace detail
} // namespace kyrOrvel
