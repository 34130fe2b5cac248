// The fast factorizations, as templates; included once for each instruction set, inside a namespace
// without a name that defines kVectorBytes and kTileRows.

#include "Lanes.h"

#include "Transposes.h"

#include "BlockLanes.h"

#include "Tiles.h"

#include "PivotTerms.h"

#include "PackedRows.h"
#include "PanelRows.h"

#include "FactorPanels.h"
#include "FactorRows.h"
#include "SolveRows.h"

#include "SolvePasses.h"
#include "UpdateFronts.h"

template <class T> constexpr FactorFunctions<T> factorFunctions()
{
    return {factorRows<T>, factorPanels<T>, updateFront<T>, solveRows<T>};
}

constexpr FactorTable factorTable()
{
    return {factorFunctions<float>(), factorFunctions<double>()};
}
