#ifndef KYRORVEL_TESTS_SUPPORT_FACTOR_COMPARISON_H
#define KYRORVEL_TESTS_SUPPORT_FACTOR_COMPARISON_H

#include "Bits.h"
#include "PlainFactorization.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <vector>

namespace support {

/// Success when the matrix holds exactly the blocks of the rows, up to the diagonal and in their
/// order, with the same bits.
template <class T>
testing::AssertionResult sameBlocks(const kyrOrvel::SparseMatrix<T>& matrix, const Rows& rows,
                                    const BlockMap<T>& blocks)
{
    if (matrix.numBlockRows != rows.size())
        return testing::AssertionFailure() << matrix.numBlockRows << " block rows";
    unsigned int slot = 0;
    for (unsigned int r = 0; r < rows.size(); ++r) {
        for (const unsigned int c : rows[r]) {
            if (c > r)
                break;
            if (slot >= matrix.numBlocks || matrix.blockColumns[slot] != c)
                return testing::AssertionFailure() << "no block (" << r << ", " << c << ")";
            const std::vector<T>& expected = blocks.at({r, c});
            const auto result = sameBits(matrix.blockData[slot], expected.data(), expected.size());
            if (!result)
                return testing::AssertionFailure()
                       << "block (" << r << ", " << c << "): " << result.message();
            ++slot;
        }
        if (matrix.rowStart[r + 1] != slot)
            return testing::AssertionFailure() << "row " << r << " does not end at " << slot;
    }
    return testing::AssertionSuccess();
}

/// Success when L, L·D and D have the same bits.
template <class T>
testing::AssertionResult sameFactors(const kyrOrvel::OrvelData<T>& data, const PlainFactors<T>& f)
{
    if (data.pivots.size != f.D.size())
        return testing::AssertionFailure() << data.pivots.size << " pivots";
    if (const auto result = sameBits(data.pivots.data, f.D.data(), f.D.size()); !result)
        return testing::AssertionFailure() << "pivots: " << result.message();
    if (const auto result = sameBlocks(data.factor, f.rows, f.L); !result)
        return testing::AssertionFailure() << "factor: " << result.message();
    if (const auto result = sameBlocks(data.scaledFactor, f.rows, f.LD); !result)
        return testing::AssertionFailure() << "scaled factor: " << result.message();
    return testing::AssertionSuccess();
}

/// Success when two systems of the same pattern have L, L·D and D of the same bits.
template <class T>
testing::AssertionResult sameFactors(const kyrOrvel::OrvelData<T>& data,
                                     const kyrOrvel::OrvelData<T>& expected)
{
    if (data.pivots.size != expected.pivots.size)
        return testing::AssertionFailure() << data.pivots.size << " pivots";
    if (const auto result = sameBits(data.pivots.data, expected.pivots.data, expected.pivots.size);
        !result)
        return testing::AssertionFailure() << "pivots: " << result.message();
    const unsigned int values = expected.factor.valueCapacity;
    if (data.factor.valueCapacity != values)
        return testing::AssertionFailure() << data.factor.valueCapacity << " scalars";
    if (const auto result = sameBits(data.factor.values, expected.factor.values, values); !result)
        return testing::AssertionFailure() << "factor: " << result.message();
    if (const auto result =
            sameBits(data.scaledFactor.values, expected.scaledFactor.values, values);
        !result)
        return testing::AssertionFailure() << "scaled factor: " << result.message();
    return testing::AssertionSuccess();
}

} // namespace support

#endif
