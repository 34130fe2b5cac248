#include "detail/ExactArithmetic.h"
#include "detail/FactorTasks.h"

namespace kyrOrvel {
namespace detail {
namespace {

/// What a register holds.
constexpr int kVectorBytes = 64;

/// Rows of a tile, such that its sums of four vectors each stay in registers.
constexpr int kTileRows = 6;

#include "detail/FactorTemplates.h"

} // namespace

const FactorTable kAvx512Table = factorTable();

} // namespace detail
} // namespace kyrOrvel
