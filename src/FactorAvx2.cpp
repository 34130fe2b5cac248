#include "detail/ExactArithmetic.h"
#include "detail/FactorTasks.h"

namespace kyrOrvel {
namespace detail {
namespace {

/// What a register holds.
constexpr int kVectorBytes = 32;

/// Rows of a tile, such that its sums of two vectors each stay in registers.
constexpr int kTileRows = 6;

#include "detail/FactorTemplates.h"

} // namespace

const FactorTable kAvx2Table = factorTable();

} // namespace detail
} // namespace kyrOrvel
