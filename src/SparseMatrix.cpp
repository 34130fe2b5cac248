#include <kyrOrvel/SparseMatrix>

#include "detail/Arrays.h"
#include "detail/BlockVectorOps.h"
#include "detail/FatalMessages.h"
#include "detail/ZeroTest.h"

#include <kyr/Abort>
#include <kyrOrvel/DenseKernels>

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace kyrOrvel {

namespace {

/// y += A·x, block by block.
template <class T> struct PlainProduct {
    using Ops = detail::BlockVectorOps<T>;

    void add(const T* B, const T* x, T* y, std::size_t m, std::size_t n) const
    {
        Ops::addAx(B, x, y, m, n);
    }
    void addTransposed(const T* B, const T* x, T* y, std::size_t m, std::size_t n) const
    {
        Ops::addAtx(B, x, y, m, n);
    }
    void addSymmetric(const T* S, const T* x, T* y, std::size_t m) const
    {
        Ops::addSymmetricAx(S, x, y, m);
    }
};

/// y += alpha·A·x, block by block.
template <class T> struct ScaledProduct {
    T alpha;

    void add(const T* B, const T* x, T* y, std::size_t m, std::size_t n) const
    {
        orvel_MV_YP_aAX(B, int(n), x, y, alpha, int(m), int(n));
    }
    void addTransposed(const T* B, const T* x, T* y, std::size_t m, std::size_t n) const
    {
        orvel_MV_YP_aAtX(B, int(n), x, y, alpha, int(m), int(n));
    }
    void addSymmetric(const T* S, const T* x, T* y, std::size_t m) const
    {
        orvel_MV_aAX_SYL(S, int(m), x, y, alpha, int(m));
    }
};

} // namespace

template <class T> SparseMatrix<T>::~SparseMatrix()
{
    delete[] valueStorage;
    delete[] blockColumns;
    delete[] blockTags;
    delete[] blockData;
    delete[] rowStart;
    delete[] blockSizes;
    delete[] blockOffsets;
}

template <class T>
void SparseMatrix<T>::setSize(unsigned long rows, unsigned long hint, unsigned long maxBlocks,
                              unsigned long maxValues)
{
    // Counts and capacities are 0 while arrays are replaced, so that an allocation that throws
    // leaves an empty matrix behind.
    numBlockRows = 0;
    if (valueCapacity < maxValues) {
        valueCapacity = 0;
        values = nullptr;
        const std::size_t padding = 16 / sizeof(T) - 1; // room to move `values` up to 16 bytes
        detail::renew(valueStorage, maxValues + padding);
        values = detail::alignedTo<16>(valueStorage);
        valueCapacity = static_cast<unsigned int>(maxValues);
    }
    if (blockCapacity < maxBlocks) {
        blockCapacity = 0;
        detail::release(blockData);
        detail::renew(blockColumns, maxBlocks);
        detail::renew(blockTags, maxBlocks);
        detail::renew(blockData, maxBlocks);
        blockCapacity = static_cast<unsigned int>(maxBlocks);
    }
    if (rowCapacity < rows + 1) {
        rowCapacity = 0;
        detail::renew(rowStart, rows + 2);
        detail::renew(blockSizes, rows + 2);
        detail::renew(blockOffsets, rows + 2);
        rowCapacity = static_cast<unsigned int>(rows + 1);
    }
    numBlockRows = static_cast<unsigned int>(rows);
    sizeHint = static_cast<unsigned int>(hint);
    if (blockData)
        blockData[0] = values;
}

template <class T>
T* SparseMatrix<T>::aquireBlock(unsigned long row, unsigned long column, unsigned long rowSize,
                                unsigned long columnSize, unsigned int tag)
{
    const unsigned int k = numBlocks;
    if (k >= blockCapacity) {
        std::cerr << detail::kNotEnoughMemory << k << " " << blockCapacity << std::endl;
        kyr::abort();
    }
    T* const block = blockData[k];
    blockColumns[k] = static_cast<unsigned int>(column);
    blockTags[k] = tag;
    blockTags[k] =
        0; // tags mark computed blocks: a fresh block is never computed, whatever is asked
    if (row > 0)
        blockOffsets[row] = blockOffsets[row - 1] + blockSizes[row - 1];
    blockSizes[row] = static_cast<unsigned int>(rowSize);
    blockSizes[column] = static_cast<unsigned int>(columnSize); // last: it wins on the diagonal
    blockSizes[numBlockRows] = blockOffsets[row] + blockSizes[row];
    if (k + 1 < blockCapacity)
        blockData[k + 1] = block + static_cast<std::size_t>(blockSizes[column]) * blockSizes[row];
    if (row > 0 && rowStart[row] == 0)
        rowStart[row] = k; // the row before had no block and left no end mark
    numBlocks = k + 1;
    rowStart[row + 1] = k + 1;
    return block;
}

template <class T> void SparseMatrix<T>::clear()
{
    if (values)
        std::fill_n(values, valueCapacity, T(0));
    for (unsigned int* rows : {rowStart, blockSizes, blockOffsets})
        if (rows)
            std::fill_n(rows, static_cast<std::size_t>(rowCapacity) + 1, 0u);
    numBlocks = 0;
    numBlockRows = 0;
    sizeHint = 0;
}

template <class T>
template <class Product>
void SparseMatrix<T>::addProduct(const T* x, T* y, const Product& product)
{
    if (numBlockRows == 0)
        return;
    const bool upper = isUpperOrder();
    for (unsigned int r = 0; r < numBlockRows; ++r) {
        for (unsigned int slot = rowStart[r]; slot < rowStart[r + 1]; ++slot) {
            const unsigned int c = blockColumns[slot];
            const T* B = blockData[slot];
            if (c == r) {
                product.addSymmetric(B, x + blockOffsets[r], y + blockOffsets[r], blockSizes[r]);
                continue;
            }
            // The stored block is the one of the lower triangle: its rows belong to the later
            // index.
            const unsigned int rows = upper ? c : r;
            const unsigned int columns = upper ? r : c;
            const unsigned int m = blockSizes[rows];
            const unsigned int n = blockSizes[columns];
            product.add(B, x + blockOffsets[columns], y + blockOffsets[rows], m, n);
            product.addTransposed(B, x + blockOffsets[rows], y + blockOffsets[columns], m, n);
        }
    }
}

template <class T> void SparseMatrix<T>::multiply(const T* x, T* y)
{
    std::fill_n(y, dimension(), T(0));
    multiplyAdd(x, y);
}

template <class T> void SparseMatrix<T>::multiplyAdd(const T* x, T* y)
{
    addProduct(x, y, PlainProduct<T>{});
}

template <class T>
void SparseMatrix<T>::multiplyAdd(const T& alpha, const T* x, const T& beta, T* y)
{
    const ScaledProduct<T> product{
        alpha}; // both scalars are read before y changes: they may be in it
    const T factor = beta;
    if (!detail::countsAsZero(factor - T(1))) {
        const unsigned int N = dimension();
        for (unsigned int i = 0; i < N; ++i)
            y[i] *= factor;
    }
    addProduct(x, y, product);
}

template class SparseMatrix<float>;
template class SparseMatrix<double>;

} // namespace kyrOrvel
