#include "detail/ExactArithmetic.h"
#include "detail/FactorTasks.h"

namespace kyrOrvel {
namespace detail {
namespace {

/// What a register holds.
constexpr int kVectorBytes = 16;

/// Rows of a tile, such that its sums of two vectors each stay in registers.
constexpr int kTileRows = 2;

#include "detail/Lanes.h"

#include "detail/BlockLanes.h"

#include "detail/Tiles.h"

#include "detail/FactorPanels.h"
#include "detail/FactorRows.h"
#include "detail/UpdateFronts.h"

} // namespace

void factorRowsBaseline(const RowFactorization<float>& task)
{
    factorRows(task);
}

void factorRowsBaseline(const RowFactorization<double>& task)
{
    factorRows(task);
}

void factorPanelsBaseline(const PanelFactorization<float>& task)
{
    factorPanels(task);
}

void factorPanelsBaseline(const PanelFactorization<double>& task)
{
    factorPanels(task);
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
