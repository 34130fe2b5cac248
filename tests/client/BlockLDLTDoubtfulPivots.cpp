#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

constexpr unsigned int kBodies = 8;
constexpr unsigned int kJoints = 6;

/// How nearly parallel the rows of joints are, and how much softer every other spring is, such that
/// doubtful pivots come of them.
template <class T> constexpr T kApart = sizeof(T) == sizeof(double) ? T(1e-4) : T(0.03);
template <class T> constexpr T kSoft = sizeof(T) == sizeof(double) ? T(1e-9) : T(1e-3);

/// Bodies, all of them held by every one of some joints with two nearly parallel rows each, and by
/// one joint with rows that are sums of theirs; beside them a chain of masses between stiff and
/// soft springs in turn.
template <class T> BlockMatrix<T> redundantBesideChain(Random& random, unsigned int masses)
{
    std::vector<unsigned int> sizes(masses, 1);
    sizes.insert(sizes.end(), kBodies, 3);
    const auto firstJoint = static_cast<unsigned int>(sizes.size());
    sizes.insert(sizes.end(), kJoints + 1, 2);
    BlockMatrix<T> A(sizes, firstJoint);
    const auto spring = [](unsigned int i) { return i % 2 ? T(1) : kSoft<T>; };
    for (unsigned int i = 0; i < masses; ++i) {
        *A.block(i, i) = kSoft<T> + (i > 0 ? spring(i) : T(0)) + spring(i + 1);
        if (i > 0)
            *A.block(i, i - 1) = -spring(i);
    }
    const auto draw = [&random] { return T(2 * random.unit() - 1); };
    for (unsigned int b = 0; b < kBodies; ++b) {
        T* const mass = A.block(masses + b, masses + b);
        for (unsigned int i = 0; i < 3; ++i)
            mass[4 * i] = 1 + draw() / 2;
        for (unsigned int i = 0; i < 3; ++i) {
            const T common = draw();
            T sums[2] = {0, 0};
            for (unsigned int row = 0; row < 2 * kJoints; ++row) {
                const T value = common + kApart<T> * draw();
                A.block(firstJoint + row / 2, masses + b)[row % 2 * 3 + i] = value;
                for (unsigned int s = 0; s < 2; ++s)
                    sums[s] += (row % 2 ? -1 : 1) * (1 + T((row / 2 * (s + 1)) % 5)) * value;
            }
            for (unsigned int s = 0; s < 2; ++s)
                A.block(firstJoint + kJoints, masses + b)[s * 3 + i] = sums[s] / kApart<T>;
        }
    }
    return A;
}

template <class T> class DoubtfulPivots : public testing::Test {
};
TYPED_TEST_SUITE(DoubtfulPivots, support::Scalars);

TYPED_TEST(DoubtfulPivots, RedundancyIsReportedBesideAnIslandOfOthers)
{
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = redundantBesideChain<TypeParam>(random, 400);
        BlockLDLT<TypeParam> solver;

        EXPECT_EQ(solver.compute(A).code, StatusCode::Singular);
    }
}

// What pivots may be off by overflows there.
TYPED_TEST(DoubtfulPivots, RedundancyIsReportedAmongHugeValues)
{
    const TypeParam unit = std::ldexp(TypeParam(1), std::numeric_limits<TypeParam>::max_exponent -
                                                        std::numeric_limits<TypeParam>::digits);
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        BlockMatrix<TypeParam> A = redundantBesideChain<TypeParam>(random, 400);
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (const auto& entry : A.row(r))
                for (unsigned int i = 0; i < A.blockSize(r) * A.blockSize(entry.column); ++i)
                    entry.values[i] *= unit;
        BlockLDLT<TypeParam> solver;

        EXPECT_EQ(solver.compute(A).code, StatusCode::Singular) << solver.info().message;
    }
}

TYPED_TEST(DoubtfulPivots, SpringsOfManyStrengthsRaiseNoAlarm)
{
    Random random(1);
    const BlockMatrix<TypeParam> both = redundantBesideChain<TypeParam>(random, 400);
    BlockMatrix<TypeParam> A(std::vector<unsigned int>(400, 1), 400);
    for (unsigned int r = 0; r < 400; ++r)
        for (const auto& entry : both.row(r))
            *A.block(r, entry.column) = *entry.values;
    BlockLDLT<TypeParam> solver;

    EXPECT_TRUE(solver.compute(A).ok()) << solver.info().message;
}

} // namespace
