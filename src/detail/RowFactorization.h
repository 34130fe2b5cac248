#ifndef KYRORVEL_DETAIL_ROW_FACTORIZATION_H
#define KYRORVEL_DETAIL_ROW_FACTORIZATION_H

#include <cstddef>

namespace kyrOrvel {
namespace detail {

/// A block below the diagonal, by its place.
struct ColumnEntry {
    unsigned int row;
    unsigned int slot;
};

/// The largest block that the row-by-row path takes.
constexpr unsigned int kMaxRowBlock = 8;

/// What a factorization row by row works on. Plain pointers: the code that reads it is compiled for
/// several instruction sets, and must not share inline functions with the rest of the program.
///
/// The pattern of L is closed under elimination, rows ascend and end with their diagonal, no block
/// is larger than kMaxRowBlock, and every block of the input is in the pattern.
template <class T> struct RowFactorization {
    unsigned int numRows;
    const unsigned int* rowStart; ///< of L
    const unsigned int* columns;
    const unsigned int* sizes;
    const unsigned int* offsets;
    const T* const* input; ///< per slot: the block of A, or null for fill-in
    T* const* L;           ///< per slot
    T* const* S;           ///< per slot: L·D
    T* pivots;
    T* reciprocals; ///< per pivot; written
    const unsigned int*
        columnStart; ///< per block column: its entries below the diagonal, rows ascending
    const ColumnEntry* columnEntries;
    unsigned int* done;   ///< per block column: entries in finished rows; zero at the start
    unsigned int* workAt; ///< per block column: where its block of the row at hand is in `work`
    T* work;              ///< the row at hand, kMaxRowBlock lanes for each of its scalar columns
};

/// A block of a front, and the factor's block that changes it.
template <class T> struct FrontTarget {
    const T* L; ///< rows × nb
    T* C;       ///< rows × na
    unsigned int rows;
};

/// C -= L·Sᵀ for each target of a front, S na × nb, neither above kMaxRowBlock. The running sums of
/// orvel_MM_CM_ABt, a lane for each column of C.
template <class T>
using UpdateFront = void (*)(const T* S, unsigned int na, unsigned int nb,
                             const FrontTarget<T>* targets, unsigned int count);

// One function for each instruction set, for float and for double.
void factorRowsBaseline(const RowFactorization<float>& task);
void factorRowsBaseline(const RowFactorization<double>& task);
void updateFrontBaseline(const float*, unsigned int, unsigned int, const FrontTarget<float>*,
                         unsigned int);
void updateFrontBaseline(const double*, unsigned int, unsigned int, const FrontTarget<double>*,
                         unsigned int);
void factorRowsAvx2(const RowFactorization<float>& task);
void factorRowsAvx2(const RowFactorization<double>& task);
void updateFrontAvx2(const float*, unsigned int, unsigned int, const FrontTarget<float>*,
                     unsigned int);
void updateFrontAvx2(const double*, unsigned int, unsigned int, const FrontTarget<double>*,
                     unsigned int);
void factorRowsAvx512(const RowFactorization<float>& task);
void factorRowsAvx512(const RowFactorization<double>& task);
void updateFrontAvx512(const float*, unsigned int, unsigned int, const FrontTarget<float>*,
                       unsigned int);
void updateFrontAvx512(const double*, unsigned int, unsigned int, const FrontTarget<double>*,
                       unsigned int);

} // namespace detail
} // namespace kyrOrvel

#endif
