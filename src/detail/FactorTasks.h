#ifndef KYRORVEL_DETAIL_FACTOR_TASKS_H
#define KYRORVEL_DETAIL_FACTOR_TASKS_H

#include "BoundedPivot.h"

#include <cstddef>
#include <cstdint>

namespace kyrOrvel {
namespace detail {

/// A block below the diagonal, by its place.
struct ColumnEntry {
    unsigned int row;
    unsigned int slot;
};

/// The largest block that the row-by-row path takes.
constexpr unsigned int kMaxRowBlock = 8;

/// Bounds that pivots are kept to, one per scalar row, or null.
template <class T> struct PivotBounds {
    const T* bounds;
    bool keepSigns;
};

/// What every factorization works on. Plain pointers: the code that reads it is compiled for
/// several instruction sets, and must not share inline functions with the rest of the program.
///
/// The pattern of L is closed under elimination, rows ascend and end with their diagonal, and every
/// block of the input is in the pattern.
template <class T> struct FactorTask {
    const unsigned int* units; ///< the rows or panels to factor, ascending
    unsigned int numUnits;
    const unsigned int* rowStart; ///< of L
    const unsigned int* sizes;
    const unsigned int* offsets;
    const T* const* input; ///< per slot: the block of A, or null for fill-in
    T* const* L;           ///< per slot
    T* const* S;           ///< per slot: L·D
    T* pivots;
    T* reciprocals; ///< per pivot; written
    PivotBounds<T> bounds;
    T* pivotScales; ///< per pivot; written, unless null
    const unsigned int*
        columnStart; ///< per block column: its entries below the diagonal, rows ascending
    const ColumnEntry* columnEntries;
};

/// A factorization row by row; no block is larger than kMaxRowBlock. Of rows that are factored
/// elsewhere at the same time, none is below or above another in the elimination tree.
template <class T> struct RowFactorization : FactorTask<T> {
    const unsigned int* columns; ///< of L, per slot
    unsigned int* done;          ///< per block column: entries in finished rows; zero at the start
    unsigned int* workAt; ///< per block column: where its block of the row at hand is in `work`
    T* work;              ///< the row at hand, kMaxRowBlock lanes for each of its scalar columns
};

/// Scalars beyond the end of an array that the factorization panel by panel may read.
constexpr unsigned int kSpareScalars = 7;

/// Distance of packed rows of that many scalars: whole cache lines. Static: see boundedPivot.
template <class T> static constexpr unsigned int packedStride(unsigned int columns)
{
    constexpr unsigned int kLine = 64 / sizeof(T);
    return (columns + kLine - 1) / kLine * kLine;
}

/// Products that a panel takes from a finished one: the entries of that one's first column that are
/// rows of the panel at hand, or of any later one.
struct PanelSource {
    unsigned int panel;
    unsigned int first; ///< column entry: the first row within the panel at hand
    unsigned int end;   ///< column entry: the first row below it
    unsigned int last;  ///< column entry: one after the last
};

/// Packed columns [from, to) that are neighbours in the panel at hand too, from `at` on.
struct PackedRun {
    unsigned int from;
    unsigned int to;
    unsigned int at;
};

/// The most rows whose columns are gathered at once.
constexpr unsigned int kMostGatheredRows = 8;

/// Entries that follow the last one of the input, so that what lies ahead can be asked for.
constexpr unsigned int kInputsAhead = 16;

/// A block of the input, by where it goes.
struct InputEntry {
    unsigned int row;
    unsigned int column;
    unsigned int slot;
};

/// A factorization panel by panel. The block columns of a panel have the same rows, but for those
/// that have become columns: blocks side by side in a row are neighbours in its slots.
template <class T> struct PanelFactorization : FactorTask<T> {
    unsigned char* finished; ///< per panel, for those of other threads; or null, all are at hand
    const unsigned int* panelStart;  ///< block columns; one more than panels
    const unsigned int* sourceStart; ///< per panel: its sources, panels ascending
    const PanelSource* sources;
    const unsigned int* inputStart; ///< per panel, and one more: its blocks of the input
    const InputEntry* inputs;       ///< rows ascending within a panel; kInputsAhead more
    unsigned int* position;         ///< per block row: its first scalar row in the panel at hand
    unsigned int* packedAt; ///< per column of the panel at hand that a source has, and one more
    PackedRun* runs;        ///< as many, the last of them empty
    T* panel;               ///< the largest panel, and kSpareScalars
    T* triangle; ///< columns of the widest panel of several blocks, squared, and kSpareScalars
    T* packed;   ///< the most columns of a source, packedStride of those of a panel apart, and
                 ///< kSpareScalars
    T* gathered; ///< kMostGatheredRows, packedStride of the most columns of a panel apart, and
                 ///< kSpareScalars
    T* lanes;    ///< 16 lanes for each column of the largest block or the widest panel of several
};

/// Returns when another thread has set a flag; what it wrote before can be read then.
void waitUntilSet(const unsigned char& flag);

/// How a solve reads the factors.
enum class SolveReading {
    Automatic,  ///< what is faster for the size of the factors; none that a task has
    Near,       ///< both, which are in caches that the processor fills in time by itself
    Far,        ///< both, asking for memory ahead
    FactorAlone ///< L, asking for memory ahead: L·D is made of it and the pivots
};

/// L or L·D, the diagonal block last in each row.
template <class T> struct SolveFactor {
    unsigned int numRows;
    const unsigned int* rowStart;
    const unsigned int* columns;
    const unsigned int* sizes;
    const unsigned int* offsets;
    const T* const* blocks; ///< per slot
};

/// A right-hand side, and what turns it into the solution.
template <class T> struct SolveTask {
    SolveFactor<T> L;
    SolveFactor<T> S; ///< L·D
    const T* pivots;  ///< D where L·D is not read, else x
    SolveReading reading;
    unsigned int firstRow; ///< block row; those before are zero
    T* x;
};

/// A block of a front, and the factor's block that changes it.
template <class T> struct FrontTarget {
    const T* L; ///< rows × nb
    T* C;       ///< rows × na
    unsigned int rows;
};

/// The largest block column that UpdateFront takes.
constexpr unsigned int kMaxFrontDepth = 512;

/// C -= L·Sᵀ for each target of a front, S na × nb, nb <= kMaxFrontDepth. The running sums of
/// orvel_MM_CM_ABt, a lane for each column of C.
template <class T>
using UpdateFront = void (*)(const T* S, unsigned int na, unsigned int nb,
                             const FrontTarget<T>* targets, unsigned int count);

/// The fast paths of one instruction set.
template <class T> struct FactorFunctions {
    void (*factorRows)(const RowFactorization<T>& task);
    void (*factorPanels)(const PanelFactorization<T>& task);
    UpdateFront<T> updateFront;
    void (*solveRows)(const SolveTask<T>& task);
};

struct FactorTable {
    FactorFunctions<float> ofFloat;
    FactorFunctions<double> ofDouble;
};

extern const FactorTable kBaselineTable;
extern const FactorTable kAvx2Table;
extern const FactorTable kAvx512Table;

} // namespace detail
} // namespace kyrOrvel

#endif
