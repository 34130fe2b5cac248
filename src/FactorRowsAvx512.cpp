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

} // namespace detail
} // namespace kyrOrvel
