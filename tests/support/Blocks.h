#ifndef KYRORVEL_TESTS_SUPPORT_BLOCKS_H
#define KYRORVEL_TESTS_SUPPORT_BLOCKS_H

#include "Bits.h"
#include "Random.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

namespace support {

/// A row-major block with a stride. Its storage ends with the last element of the last row, so
/// that a sanitizer notices every access beyond it. Sizes below 1 make a block without elements.
template <class T> struct Block {
    int rows;
    int columns;
    int stride;
    std::vector<T> storage;

    Block(int numRows, int numColumns, int rowStride, T filling)
        : rows(std::max(numRows, 0)),
          columns(std::max(numColumns, 0)),
          stride(rowStride),
          storage(rows == 0 ? 0 : index(rows - 1, columns), filling)
    {
    }

    std::size_t index(int i, int j) const
    {
        return std::size_t(i) * std::size_t(stride) + std::size_t(j);
    }
    T& operator()(int i, int j) { return storage[index(i, j)]; }
    T operator()(int i, int j) const { return storage[index(i, j)]; }
    T* data() { return storage.data(); }
    const T* data() const { return storage.data(); }
};

/// A block of nasty values; the elements between its rows all hold `gap`.
template <class T> Block<T> randomBlock(Random& random, int rows, int columns, int stride, T gap)
{
    Block<T> block(rows, columns, stride, gap);
    for (int i = 0; i < block.rows; ++i)
        for (int j = 0; j < block.columns; ++j)
            block(i, j) = random.nastyScalar<T>();
    return block;
}

/// Whether two arrays are the same in memory, NaNs to the last bit: for data that nothing should
/// have written.
template <class T> bool sameMemory(const std::vector<T>& a, const std::vector<T>& b)
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

/// Success when two blocks have the same bits, and the same memory between the rows.
template <class T>
testing::AssertionResult sameBlock(const Block<T>& actual, const Block<T>& expected)
{
    for (std::size_t p = 0; p < expected.storage.size(); ++p) {
        const std::size_t stride = std::max<std::size_t>(std::size_t(expected.stride), 1);
        const bool gap = p % stride >= std::size_t(expected.columns);
        const T a = actual.storage[p];
        const T e = expected.storage[p];
        if (gap ? std::memcmp(&a, &e, sizeof(T)) != 0 : !sameBits(a, e))
            return testing::AssertionFailure()
                   << (gap ? "gap element (" : "element (") << p / stride << ", " << p % stride
                   << "): " << std::hexfloat << a << ", expected " << e;
    }
    return testing::AssertionSuccess();
}

/// The number of a kernel's rows or columns: usually up to 9, now and then more, or negative.
inline int randomSize(Random& random)
{
    if (random.chance(0.05))
        return -static_cast<int>(random.integer(1, 3));
    return static_cast<int>(random.chance(0.05) ? random.integer(10, 40) : random.integer(0, 9));
}

/// A stride that holds the given number of columns, often with a gap.
inline int randomStride(Random& random, int columns)
{
    return std::max(columns, 0) + static_cast<int>(random.integer(0, 4));
}

} // namespace support

#endif
