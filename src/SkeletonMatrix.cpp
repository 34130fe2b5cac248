#include <kyrOrvel/SkeletonMatrix>

#include "detail/Arrays.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace kyrOrvel {

namespace {

template <class T> void zeroIfAllocated(T* array, std::size_t n)
{
    if (array)
        std::fill_n(array, n, T(0));
}

} // namespace

SkeletonMatrix::~SkeletonMatrix()
{
    releaseMemory();
}

void SkeletonMatrix::allocateMemory(unsigned int rows, unsigned int entries)
{
    rowStart = new unsigned int[static_cast<std::size_t>(rows) + 1]();
    rowAttributes = new unsigned int[rows]();
    rowCapacity = rows;
    columnIndices = new unsigned int[entries]();
    entryFlags = new unsigned char[entries]();
    entryCapacity = entries;
    clear();
}

void SkeletonMatrix::releaseMemory()
{
    detail::release(columnIndices);
    detail::release(rowStart);
    detail::release(rowAttributes);
    detail::release(entryFlags);
    rowCapacity = 0;
    entryCapacity = 0;
}

void SkeletonMatrix::clear()
{
    zeroIfAllocated(rowStart, static_cast<std::size_t>(rowCapacity) + 1);
    zeroIfAllocated(rowAttributes, rowCapacity);
    zeroIfAllocated(columnIndices, entryCapacity);
    zeroIfAllocated(entryFlags, entryCapacity);
    numBlockRows = 0;
}

void SkeletonMatrix::print() const
{
    std::cout << "Skeleton Matrix, " << numBlockRows << "x" << numBlockRows << std::endl;
    for (unsigned int r = 0; r < numBlockRows; ++r) {
        unsigned int entry = rowStart[r];
        const unsigned int end = rowStart[r + 1];
        for (unsigned int c = 0; c < numBlockRows; ++c) {
            if (entry < end && columnIndices[entry] == c) {
                std::cout << (entryFlags[entry] ? "T " : "1 ");
                ++entry;
            } else {
                std::cout << "0 ";
            }
        }
        std::cout << std::endl;
    }
}

} // namespace kyrOrvel
