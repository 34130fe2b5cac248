// Whether an order meets a structurally zero pivot, against eliminations in exact arithmetic.

#include "support/BlockSystems.h"
#include "support/Forests.h"
#include "support/Orderings.h"
#include "support/Random.h"

#include <kyrOrvelClient/Analysis>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::checkOrder;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::Random;
using support::Words;

namespace {

/// Arithmetic modulo a prime: exact, and random values meet a zero by chance once in 2³¹ times.
constexpr std::uint64_t kPrime = 2147483647;

std::uint64_t inverse(std::uint64_t a)
{
    std::uint64_t result = 1; // a to the power of kPrime - 2
    for (std::uint64_t e = kPrime - 2; e > 0; e /= 2, a = a * a % kPrime)
        if (e % 2 == 1)
            result = result * a % kPrime;
    return result;
}

/// The block of the first zero pivot when random values on A's pattern are eliminated in that
/// order, or kNone.
unsigned int firstZeroPivot(Random& random, const BlockMatrix<double>& A, const Words& order)
{
    std::vector<std::size_t> start(A.numBlockRows());
    Words blockOf;
    for (const unsigned int block : order) {
        start[block] = blockOf.size();
        blockOf.insert(blockOf.end(), A.blockSize(block), block);
    }
    const std::size_t n = blockOf.size();
    std::vector<std::vector<std::uint64_t>> K(n, std::vector<std::uint64_t>(n, 0));
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            for (std::size_t i = 0; i < A.blockSize(r); ++i)
                for (std::size_t j = 0; j < A.blockSize(entry.column); ++j) {
                    const std::size_t p = start[r] + i;
                    const std::size_t q = start[entry.column] + j;
                    K[p][q] = K[q][p] = random.integer(1, unsigned(kPrime - 1));
                }
    for (std::size_t k = 0; k < n; ++k) {
        if (K[k][k] == 0)
            return blockOf[k];
        const std::uint64_t reciprocal = inverse(K[k][k]);
        for (std::size_t i = k + 1; i < n; ++i) {
            const std::uint64_t factor = kPrime - K[i][k] * reciprocal % kPrime;
            for (std::size_t j = k + 1; j < n; ++j)
                K[i][j] = (K[i][j] + factor * K[k][j]) % kPrime;
        }
    }
    return kNone;
}

/// Any pattern, any sizes; diagonal blocks mostly where they are expected, not only there.
BlockMatrix<double> randomPattern(Random& random)
{
    const unsigned int n = random.integer(1, 9);
    std::vector<unsigned int> sizes(n);
    for (unsigned int& size : sizes)
        size = random.integer(0, 4);
    const unsigned int firstTrailing = random.integer(0, n);
    BlockMatrix<double> A(sizes, firstTrailing);
    const double density = random.unit();
    for (unsigned int r = 0; r < n; ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (random.chance(density))
                A.block(r, c);
        if (random.chance(r < firstTrailing ? 0.9 : 0.2))
            A.block(r, r);
    }
    return A;
}

TEST(CheckOrder, AgreesWithExactElimination)
{
    unsigned int passed = 0;
    unsigned int refused = 0;
    for (std::uint64_t seed = 1; seed <= 4000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = randomPattern(random);
        const Words order = support::randomOrder(random, A.numBlockRows());

        const Status status = checkOrder(A, order);

        const unsigned int expected = firstZeroPivot(random, A, order);
        ASSERT_EQ(status.block, expected);
        ASSERT_EQ(status.code, expected == kNone ? StatusCode::Ok : StatusCode::Singular);
        ++(expected == kNone ? passed : refused);
    }
    EXPECT_GT(passed, 400u);
    EXPECT_GT(refused, 400u);
}

// X
// . X
// X X .
TEST(CheckOrder, JointBehindABodyPasses)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". X", "X X ."}, 2);

    EXPECT_TRUE(checkOrder(A, {0, 2, 1}).ok());
    EXPECT_TRUE(checkOrder(A, {1, 0, 2}).ok());
}

// X
// . X
// X X .
TEST(CheckOrder, JointBeforeItsBodiesIsNamed)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". X", "X X ."}, 2);

    const Status status = checkOrder(A, {2, 0, 1});

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.block, 2u);
    EXPECT_EQ(status.row, kNone);
    EXPECT_EQ(
        status.message,
        "in this order block 2 has a zero pivot whatever the values: what it couples to comes "
        "later or has fewer rows; move it behind all blocks that it couples to");
}

// X         Blocks of 6, 6, 5 and 5: behind body 0 alone both joints are ten rows on six freedoms.
// . X
// X X .
// X X . .
TEST(CheckOrder, CountsTheRowsOfTheJointsBehindABody)
{
    const BlockMatrix<double> A =
        support::drawnMatrix({"X", ". X", "X X .", "X X . ."}, 2, {6, 6, 5, 5});

    EXPECT_EQ(checkOrder(A, {0, 2, 3, 1}).block, 3u);
    EXPECT_EQ(checkOrder(A, {0, 3, 2, 1}).block, 2u);
    EXPECT_TRUE(checkOrder(A, {0, 2, 1, 3}).ok());
}

// X       A body without a diagonal block has no pivot of its own either.
// X .
TEST(CheckOrder, BodyWithoutADiagonalBlockIsNamed)
{
    BlockMatrix<double> A({1, 1});
    A.block(0, 0);
    A.block(1, 0);

    EXPECT_TRUE(checkOrder(A, {0, 1}).ok());
    EXPECT_EQ(checkOrder(A, {1, 0}).block, 1u);
}

TEST(CheckOrder, OrderThatIsNoneIsInvalidInput)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". X", "X X ."}, 2);

    for (const Words& order : {Words{}, Words{0, 1}, Words{0, 1, 1}, Words{0, 1, 3},
                               Words{0, 1, kNone}, Words{0, 1, 2, 2}, Words{0, 1, 2, 3}}) {
        const Status status = checkOrder(A, order);
        EXPECT_EQ(status.code, StatusCode::InvalidInput);
        EXPECT_EQ(status.block, kNone);
        EXPECT_EQ(status.message, "the order does not name each of the 3 blocks once");
    }
}

TEST(CheckOrder, OfAnEmptyMatrixTakesTheEmptyOrder)
{
    EXPECT_TRUE(checkOrder(BlockMatrix<double>(), {}).ok());
    EXPECT_EQ(checkOrder(BlockMatrix<double>(), {0}).code, StatusCode::InvalidInput);
}

TEST(CheckOrder, NamesTheBlockByItsId)
{
    BlockMatrix<float> A({1, 1, 1}, 2);
    for (const unsigned int body : {0u, 1u}) {
        A.block(body, body);
        A.block(2, body);
    }

    EXPECT_EQ(checkOrder(A, {2, 0, 1}).id, 2u) << "without ids, the number";

    A.setId(2, 7000000000u);
    EXPECT_EQ(checkOrder(A, {2, 0, 1}).id, 7000000000u);
}

/// The hub, joint by joint, leaf by leaf.
Words hubAndJointsFirst(unsigned int leaves)
{
    Words order(2 * leaves + 1, 0);
    std::iota(order.begin() + 1, order.begin() + 1 + leaves, leaves + 1);
    std::iota(order.begin() + 1 + leaves, order.end(), 1u);
    return order;
}

/// A hub with a thousand joints to bodies of their own: paths through the hub stay short.
TEST(CheckOrder, OfAStarPassesWithJointsBehindTheirLeaves)
{
    constexpr unsigned int kLeaves = 1000;
    std::vector<unsigned int> sizes(kLeaves + 1, 6);
    sizes.resize(2 * kLeaves + 1, 5);
    BlockMatrix<double> A(sizes, kLeaves + 1);
    Words order;
    A.block(0, 0);
    for (unsigned int leaf = 1; leaf <= kLeaves; ++leaf) {
        A.block(leaf, leaf);
        A.block(kLeaves + leaf, 0);
        A.block(kLeaves + leaf, leaf);
        order.push_back(leaf);
        order.push_back(kLeaves + leaf);
    }
    order.push_back(0);

    EXPECT_TRUE(checkOrder(A, order).ok());

    // The hub alone holds one joint; the second has nothing left.
    EXPECT_EQ(checkOrder(A, hubAndJointsFirst(kLeaves)).block, kLeaves + 2);
}

} // namespace
