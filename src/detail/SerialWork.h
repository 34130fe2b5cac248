#ifndef KYRORVEL_DETAIL_SERIAL_WORK_H
#define KYRORVEL_DETAIL_SERIAL_WORK_H

#include <kyrOrvel/Orvel>

#include <algorithm>
#include <cstddef>

namespace kyrOrvel {
namespace detail {

constexpr unsigned long kWorkSlack = 8;

inline float* getScalarArray(ScratchPad& scratch, unsigned long size, float /*type*/)
{
    return scratch.getFloatArray(0, size);
}

inline double* getScalarArray(ScratchPad& scratch, unsigned long size, double /*type*/)
{
    return scratch.getDoubleArray(0, size);
}

template <class T> std::size_t largestSquare(const SparseMatrix<T>& A)
{
    std::size_t largest = 0;
    if (A.blockSizes)
        for (unsigned int r = 0; r < A.numBlockRows; ++r)
            largest = std::max<std::size_t>(largest, A.blockSizes[r]);
    return largest * largest;
}

/// The scratch array 0 with room for two blocks, zeroed.
template <class T> T* zeroedWork(OrvelData<T>& data, std::size_t square)
{
    T* const work = getScalarArray(data.scratch, 2 * square + kWorkSlack, T());
    std::fill_n(work, 2 * square + kWorkSlack, T(0));
    return work;
}

} // namespace detail
} // namespace kyrOrvel

#endif
