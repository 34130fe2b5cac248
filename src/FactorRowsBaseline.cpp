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

} // namespace detail
} // namespace kyrOrvel
