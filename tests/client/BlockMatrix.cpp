#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockMatrix>

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> class BlockMatrixTest : public testing::Test {
};
TYPED_TEST_SUITE(BlockMatrixTest, support::Scalars);

template <class T> std::vector<T> values(const T* block, std::size_t n)
{
    return std::vector<T>(block, block + n);
}

TYPED_TEST(BlockMatrixTest, DefaultOneHasNoRows)
{
    const BlockMatrix<TypeParam> A;

    EXPECT_EQ(A.numBlockRows(), 0u);
    EXPECT_EQ(A.firstTrailing(), 0u);
    EXPECT_EQ(A.dimension(), 0u);
    EXPECT_EQ(A.numBlocks(), 0u);
    EXPECT_TRUE(A.blockSizes().empty());
}

TYPED_TEST(BlockMatrixTest, SizesAddUpToOffsetsAndTheDimension)
{
    const BlockMatrix<TypeParam> A({6, 0, 3, 1}, 2);

    EXPECT_EQ(A.numBlockRows(), 4u);
    EXPECT_EQ(A.firstTrailing(), 2u);
    EXPECT_EQ(A.dimension(), 10u);
    EXPECT_EQ(A.blockSizes(), (std::vector<unsigned int>{6, 0, 3, 1}));
    const std::size_t offsets[] = {0, 6, 6, 9};
    for (unsigned int r = 0; r < 4; ++r) {
        EXPECT_EQ(A.blockSize(r), A.blockSizes()[r]);
        EXPECT_EQ(A.blockOffset(r), offsets[r]);
        EXPECT_TRUE(A.row(r).empty());
    }
}

TYPED_TEST(BlockMatrixTest, WithoutTrailingBlocksTheFirstTrailingIsTheNumberOfRows)
{
    EXPECT_EQ(BlockMatrix<TypeParam>({1, 2}).firstTrailing(), 2u);
    EXPECT_EQ(BlockMatrix<TypeParam>({1, 2}, 2).firstTrailing(), 2u);
    EXPECT_EQ(BlockMatrix<TypeParam>({1, 2}, 3).firstTrailing(), 2u);
    EXPECT_EQ(BlockMatrix<TypeParam>({1, 2}, 0).firstTrailing(), 0u);
}

TYPED_TEST(BlockMatrixTest, NewBlockIsZero)
{
    BlockMatrix<TypeParam> A({2, 3});

    const TypeParam* const block = A.block(1, 0);

    ASSERT_NE(block, nullptr);
    EXPECT_EQ(values(block, 6), std::vector<TypeParam>(6, 0));
    EXPECT_EQ(A.numBlocks(), 1u);
}

TYPED_TEST(BlockMatrixTest, BlockAskedForAgainIsTheSame)
{
    BlockMatrix<TypeParam> A({2, 3});
    TypeParam* const block = A.block(1, 0);
    block[5] = 7;

    EXPECT_EQ(A.block(1, 0), block);
    EXPECT_EQ(A.find(1, 0), block);
    EXPECT_EQ(A.find(1, 0)[5], TypeParam(7));
    EXPECT_EQ(A.numBlocks(), 1u);
}

TYPED_TEST(BlockMatrixTest, BlockOutOfRangeOrAboveTheDiagonalIsNull)
{
    BlockMatrix<TypeParam> A({2, 3});

    EXPECT_EQ(A.block(0, 1), nullptr);
    EXPECT_EQ(A.block(2, 0), nullptr);
    EXPECT_EQ(A.block(2, 2), nullptr);
    EXPECT_EQ(A.block(kNone, kNone), nullptr);
    EXPECT_EQ(A.block(1, 2), nullptr);
    EXPECT_EQ(A.find(0, 1), nullptr);
    EXPECT_EQ(A.find(2, 0), nullptr);
    EXPECT_EQ(A.find(kNone, 0), nullptr);
    EXPECT_EQ(A.numBlocks(), 0u);
}

TYPED_TEST(BlockMatrixTest, FindAddsNothing)
{
    const BlockMatrix<TypeParam> A({2, 3});

    EXPECT_EQ(A.find(1, 0), nullptr);
    EXPECT_EQ(A.find(1, 1), nullptr);
    EXPECT_EQ(A.numBlocks(), 0u);
}

TYPED_TEST(BlockMatrixTest, RowListsItsColumnsAscendingWhateverTheOrderOfAdding)
{
    BlockMatrix<TypeParam> A({1, 1, 1, 1});
    for (const unsigned int c : {2u, 0u, 3u, 1u})
        *A.block(3, c) = TypeParam(c) + 10;

    ASSERT_EQ(A.row(3).size(), 4u);
    for (unsigned int c = 0; c < 4; ++c) {
        EXPECT_EQ(A.row(3)[c].column, c);
        EXPECT_EQ(*A.row(3)[c].values, TypeParam(c) + 10);
    }
}

// Blocks of up to 40 × 40: more than a chunk of memory holds, and some do not fit the last one.
TYPED_TEST(BlockMatrixTest, PointersStayValidAndApartWhileBlocksAreAdded)
{
    Random random(1);
    std::vector<unsigned int> sizes(60);
    for (unsigned int& size : sizes)
        size = random.integer(0, 40);
    sizes[30] = 90; // a diagonal block larger than a chunk
    BlockMatrix<TypeParam> A(sizes);
    struct Added {
        unsigned int r, c;
        TypeParam* block;
    };
    std::vector<Added> added;
    for (unsigned int k = 0; k < 1000; ++k) {
        const unsigned int r = random.integer(0, 59);
        const unsigned int c = random.integer(0, r);
        if (A.find(r, c))
            continue;
        TypeParam* const block = A.block(r, c);
        std::fill_n(block, sizes[r] * sizes[c], TypeParam(added.size()));
        added.push_back({r, c, block});
    }
    ASSERT_GT(added.size(), 500u);

    EXPECT_EQ(A.numBlocks(), added.size());
    for (std::size_t k = 0; k < added.size(); ++k) {
        const std::size_t n = std::size_t(sizes[added[k].r]) * sizes[added[k].c];
        ASSERT_EQ(A.find(added[k].r, added[k].c), added[k].block);
        ASSERT_EQ(values<TypeParam>(added[k].block, n), std::vector<TypeParam>(n, TypeParam(k)));
    }
}

TYPED_TEST(BlockMatrixTest, BlockOfSizeZeroIsStoredToo)
{
    BlockMatrix<TypeParam> A({0, 3});

    EXPECT_NE(A.block(1, 0), nullptr);
    EXPECT_NE(A.block(0, 0), nullptr);
    EXPECT_EQ(A.numBlocks(), 2u);
    EXPECT_NE(A.find(0, 0), nullptr);
    TypeParam* const later = A.block(1, 1);
    EXPECT_EQ(values<TypeParam>(later, 9), std::vector<TypeParam>(9, 0));
}

TYPED_TEST(BlockMatrixTest, AddBelowTheDiagonalAddsTheValues)
{
    BlockMatrix<TypeParam> A({2, 3});
    const TypeParam first[] = {1, 2, 3, 4, 5, 6};
    const TypeParam second[] = {10, 20, 30, 40, 50, 60};

    EXPECT_TRUE(A.add(1, 0, first).ok());
    EXPECT_TRUE(A.add(1, 0, second).ok());

    EXPECT_EQ(values(A.find(1, 0), 6), (std::vector<TypeParam>{11, 22, 33, 44, 55, 66}));
    EXPECT_EQ(A.numBlocks(), 1u);
}

// (0, 1) is 2 × 3:  1 2 3   its transpose is the block (1, 0):  1 4
//                   4 5 6                                       2 5
//                                                               3 6
TYPED_TEST(BlockMatrixTest, AddAboveTheDiagonalAddsTheTranspose)
{
    BlockMatrix<TypeParam> A({2, 3});
    const TypeParam upper[] = {1, 2, 3, 4, 5, 6};

    EXPECT_TRUE(A.add(0, 1, upper).ok());

    EXPECT_EQ(values(A.find(1, 0), 6), (std::vector<TypeParam>{1, 4, 2, 5, 3, 6}));
}

TYPED_TEST(BlockMatrixTest, AddOutOfRangeIsRefusedAndChangesNothing)
{
    BlockMatrix<TypeParam> A({2, 3});
    const TypeParam block[9] = {};

    const Status status = A.add(2, 1, block);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, "block (2, 1) lies outside a matrix of 2 block rows");
    EXPECT_EQ(status.block, 2u);
    EXPECT_EQ(status.row, kNone);
    EXPECT_EQ(A.add(0, 7, block).block, 7u);
    EXPECT_EQ(A.add(kNone, 0, block).code, StatusCode::InvalidInput);
    EXPECT_EQ(A.add(0, kNone, block).code, StatusCode::InvalidInput);
    EXPECT_EQ(A.numBlocks(), 0u);
}

TYPED_TEST(BlockMatrixTest, AddWithoutValuesIsRefusedAndChangesNothing)
{
    BlockMatrix<TypeParam> A({2, 3, 0});

    const Status status = A.add(1, 0, nullptr);

    EXPECT_EQ(status.code, StatusCode::InvalidInput);
    EXPECT_EQ(status.message, "block (1, 0) is given no values");
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(A.numBlocks(), 0u);
    EXPECT_TRUE(A.add(2, 0, nullptr).ok()) << "a block without values needs none";
    EXPECT_EQ(A.numBlocks(), 1u);
}

TYPED_TEST(BlockMatrixTest, SetZeroKeepsTheBlocks)
{
    Random random(2);
    BlockMatrix<TypeParam> A = support::randomSpd<TypeParam>(random, 8, 0.5, 0, 30);
    const TypeParam* const block = A.find(7, 7);
    const std::size_t numBlocks = A.numBlocks();

    A.setZero();

    EXPECT_EQ(A.numBlocks(), numBlocks);
    EXPECT_EQ(A.find(7, 7), block);
    for (unsigned int r = 0; r < 8; ++r)
        for (const auto& entry : A.row(r)) {
            const std::size_t n = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            EXPECT_EQ(values<TypeParam>(entry.values, n), std::vector<TypeParam>(n, 0));
        }
}

TYPED_TEST(BlockMatrixTest, MovedOneKeepsBlocksAndPointers)
{
    BlockMatrix<TypeParam> A({2, 3}, 1);
    TypeParam* const block = A.block(1, 0);
    block[3] = 4;

    BlockMatrix<TypeParam> B(std::move(A));

    EXPECT_EQ(B.find(1, 0), block);
    EXPECT_EQ(block[3], TypeParam(4));
    EXPECT_EQ(B.firstTrailing(), 1u);
    EXPECT_EQ(B.dimension(), 5u);
    A = BlockMatrix<TypeParam>({1});
    EXPECT_EQ(A.dimension(), 1u);
    EXPECT_NE(A.block(0, 0), nullptr);
}

// Products

// A = 2 . 1   the entry above the diagonal of the first block is not read
//     3 4 1
//     1 1 .
TYPED_TEST(BlockMatrixTest, ProductReadsTheLowerTriangleOnly)
{
    BlockMatrix<TypeParam> A({2, 1}, 1);
    const TypeParam diagonal[] = {2, std::numeric_limits<TypeParam>::quiet_NaN(), 3, 4};
    const TypeParam coupling[] = {1, 1};
    std::copy_n(diagonal, 4, A.block(0, 0));
    std::copy_n(coupling, 2, A.block(1, 0));
    const TypeParam x[] = {1, 10, 100};
    TypeParam y[] = {-1, -1, -1};

    A.multiply(x, y);

    EXPECT_EQ(values(y, 3), (std::vector<TypeParam>{2 + 30 + 100, 3 + 40 + 100, 11}));
}

// Small whole numbers: every sum is exact, so the order of adding does not matter.
TYPED_TEST(BlockMatrixTest, ProductEqualsTheDenseOne)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        std::vector<unsigned int> sizes(random.integer(1, 9));
        for (unsigned int& size : sizes)
            size = random.integer(0, 7);
        BlockMatrix<TypeParam> A(sizes);
        for (unsigned int r = 0; r < sizes.size(); ++r)
            for (unsigned int c = 0; c <= r; ++c)
                if (random.chance(0.5)) {
                    TypeParam* const block = A.block(r, c);
                    for (unsigned int i = 0; i < sizes[r] * sizes[c]; ++i)
                        block[i] = TypeParam(random.integer(0, 20)) - 10;
                }
        std::vector<TypeParam> x(A.dimension());
        for (TypeParam& v : x)
            v = TypeParam(random.integer(0, 20)) - 10;
        std::vector<TypeParam> y(A.dimension(), TypeParam(99));

        A.multiply(x.data(), y.data());

        const std::vector<long double> expected = support::multiply(support::denseOf(A), x);
        for (std::size_t i = 0; i < y.size(); ++i)
            ASSERT_EQ(static_cast<long double>(y[i]), expected[i]) << "row " << i;
    }
}

TYPED_TEST(BlockMatrixTest, HasAnIdentityThatNoOtherHas)
{
    const BlockMatrix<TypeParam> a({2, 3});
    const BlockMatrix<TypeParam> b({2, 3});

    EXPECT_NE(a.identity(), 0u);
    EXPECT_NE(b.identity(), 0u);
    EXPECT_NE(a.identity(), b.identity());
    EXPECT_EQ(BlockMatrix<TypeParam>().identity(), 0u);
}

TYPED_TEST(BlockMatrixTest, TakesItsIdentityAlongWhenItIsMoved)
{
    BlockMatrix<TypeParam> a({2, 3});
    const std::uint64_t identity = a.identity();

    BlockMatrix<TypeParam> b(std::move(a));
    EXPECT_EQ(b.identity(), identity);
    EXPECT_EQ(a.identity(), 0u); // NOLINT(bugprone-use-after-move)

    BlockMatrix<TypeParam> c({1});
    c = std::move(b);
    EXPECT_EQ(c.identity(), identity);
    EXPECT_EQ(b.identity(), 0u); // NOLINT(bugprone-use-after-move)
}

TYPED_TEST(BlockMatrixTest, ProductOfNothingTouchesNothing)
{
    const BlockMatrix<TypeParam> empty;
    const BlockMatrix<TypeParam> flat({0, 0});

    empty.multiply(nullptr, nullptr);
    flat.multiply(nullptr, nullptr);

    EXPECT_EQ(flat.dimension(), 0u);
}

} // namespace
