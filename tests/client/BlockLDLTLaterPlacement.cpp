#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Orderings.h"
#include "support/Random.h"
#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::OrderingMethod;
using kyrOrvel::client::StatusCode;
using support::KktShape;
using support::Random;

namespace {

template <class T> constexpr double kEpsilon = double(std::numeric_limits<T>::epsilon());

/// A ring of bodies of 6 with joints of `rows` between neighbours: joint j holds bodies j and j
/// + 1. Whichever body is eliminated first stands between two joints; together they have more rows
/// than it, if that is 4 or 5, and cannot both be eliminated right behind it.
template <class T> BlockMatrix<T> ring(Random& random, unsigned int bodies, unsigned int rows)
{
    std::vector<unsigned int> sizes(bodies, 6);
    sizes.resize(2 * bodies, rows);
    BlockMatrix<T> A(sizes, bodies);
    for (unsigned int b = 0; b < bodies; ++b)
        support::writeMass<T>(random, A.block(b, b), 6, 1);
    for (unsigned int j = 0; j < bodies; ++j)
        for (const unsigned int body : {j, (j + 1) % bodies}) {
            T* const block = A.block(bodies + j, body);
            for (unsigned int i = 0; i < rows * 6; ++i)
                block[i] = random.scalar<T>() / 4;
            for (unsigned int i = 0; i < rows; ++i)
                block[i * 6 + i] += body == j ? T(1) : T(-1);
        }
    return A;
}

/// A ball joint at r: [1, -(r×)], counted negative on its second body.
template <class T> void writeBall(T* block, T x, T y, T z, T sign)
{
    const T cross[3][3] = {{0, z, -y}, {-z, 0, x}, {y, -x, 0}};
    for (unsigned int i = 0; i < 3; ++i) {
        block[6 * i + i] = sign;
        for (unsigned int j = 0; j < 3; ++j)
            block[6 * i + 3 + j] = sign * cross[i][j];
    }
}

/// Whether every trailing block comes behind all ordinary blocks that it couples to.
template <class T>
testing::AssertionResult isBehindAll(const BlockMatrix<T>& A, const std::vector<unsigned int>& at)
{
    for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t)
        for (const auto& entry : A.row(t))
            if (entry.column < A.firstTrailing() && at[entry.column] > at[t])
                return testing::AssertionFailure()
                       << "trailing block " << t << " comes before block " << entry.column;
    return testing::AssertionSuccess();
}

template <class T> class LaterPlacement : public testing::Test {
protected:
    static double solvedError(BlockLDLT<T>& solver, const BlockMatrix<T>& A)
    {
        Random random(99);
        const std::vector<T> b = random.scalars<T>(A.dimension());
        std::vector<T> x(b.size());
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        return support::backwardError(A, x, b);
    }
};
TYPED_TEST_SUITE(LaterPlacement, support::Scalars);

/// The largest |b - A·x| beside |A|·|x| + |b|, row by row (Oettli, Prager 1964).
template <class T> double componentwiseError(const BlockMatrix<T>& A, const T* x, const T* b)
{
    const support::Dense dense = support::denseOf(A);
    long double error = 0;
    for (std::size_t i = 0; i < dense.size(); ++i) {
        long double rest = b[i];
        long double weight = std::abs(b[i]);
        for (std::size_t j = 0; j < dense.size(); ++j) {
            rest -= dense[i][j] * x[j];
            weight += std::abs(dense[i][j] * x[j]);
        }
        error = std::max(error, std::abs(rest) / weight);
    }
    return double(error);
}

/// Two masses on a line and a joint that acts on them by `first` and `second`.
template <class T> BlockMatrix<T> pairOf(T firstMass, T first, T secondMass, T second)
{
    BlockMatrix<T> A({1, 1, 1}, 2);
    *A.block(0, 0) = firstMass;
    *A.block(1, 1) = secondMass;
    *A.block(2, 0) = first;
    *A.block(2, 1) = second;
    return A;
}

// Eliminated between the two, the joint would add so much to the second mass that nothing of that
// is left. No pivot would be small.
TYPED_TEST(LaterPlacement, JointThatHardlyActsOnItsFirstBodyIsSolved)
{
    const auto little = TypeParam(sizeof(TypeParam) == sizeof(double) ? 1e-8 : 1e-3);
    const TypeParam heavy = 1 / little;
    for (const BlockMatrix<TypeParam>& A :
         {pairOf<TypeParam>(1, little, 1, 1), pairOf<TypeParam>(1, 1, 1, little),
          pairOf<TypeParam>(heavy, 1, 1, 1), pairOf<TypeParam>(1, 1, heavy, 1)})
        for (const bool values : {true, false}) {
            BlockLDLT<TypeParam> solver;
            if (!values)
                solver.analyzePattern(A);
            ASSERT_TRUE((values ? solver.compute(A) : solver.factorize(A)).ok());
            const TypeParam b[] = {TypeParam(0.3) * *A.find(0, 0), TypeParam(0.7) * *A.find(1, 1),
                                   TypeParam(0.45)};
            TypeParam x[3];
            ASSERT_TRUE(solver.solve(b, x).ok());

            EXPECT_LT(componentwiseError(A, x, b), 8 * kEpsilon<TypeParam>);
        }
}

TYPED_TEST(LaterPlacement, BodyBetweenTwoFiveRowJointsIsSolved)
{
    Random random(1);
    const BlockMatrix<TypeParam> A = ring<TypeParam>(random, 3, 5);
    BlockLDLT<TypeParam> solver;

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);
    EXPECT_EQ(solver.analysis().earlyBlocks, 0u);
    EXPECT_TRUE(isBehindAll(A, solver.analysis().position));
    EXPECT_LT(this->solvedError(solver, A), 64 * kEpsilon<TypeParam>);
}

// Two ball joints ask six rows of the body between them, which can give five: nothing stops its
// turning about the line through both. Three rods, linked by ball joints to a triangle.
TYPED_TEST(LaterPlacement, TwoBallJointsOnOneBodyAreSolved)
{
    const TypeParam corners[3][3] = {{0, 0, 0}, {2, 0, 0}, {1, 1, 0.5}};
    Random random(2);
    BlockMatrix<TypeParam> A({6, 6, 6, 3, 3, 3}, 3);
    for (unsigned int b = 0; b < 3; ++b)
        support::writeMass<TypeParam>(random, A.block(b, b), 6, 1);
    for (unsigned int j = 0; j < 3; ++j) // joint j is the corner where rods j and j + 1 meet
        for (const unsigned int body : {j, (j + 1) % 3}) {
            const TypeParam* const from = corners[(body + 2) % 3];
            const TypeParam* const to = corners[body];
            TypeParam arm[3];
            for (int i = 0; i < 3; ++i)
                arm[i] = (body == j ? to[i] - from[i] : from[i] - to[i]) / 2;
            writeBall(A.block(3 + j, body), arm[0], arm[1], arm[2], TypeParam(body == j ? 1 : -1));
        }
    BlockLDLT<TypeParam> solver;

    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    EXPECT_LT(this->solvedError(solver, A), 64 * kEpsilon<TypeParam>);
}

TYPED_TEST(LaterPlacement, IsKeptForThePatternAndHasTheSameBits)
{
    Random random(3);
    const BlockMatrix<TypeParam> A = ring<TypeParam>(random, 6, 5);
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);
    const auto order = solver.analysis().order;
    const std::vector<TypeParam> b = random.scalars<TypeParam>(A.dimension());
    std::vector<TypeParam> first(b.size());
    ASSERT_TRUE(solver.solve(b.data(), first.data()).ok());

    ASSERT_TRUE(solver.factorize(A).ok());

    EXPECT_EQ(solver.analysis().order, order);
    std::vector<TypeParam> x(b.size());
    ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
    EXPECT_TRUE(support::sameBits(x.data(), first.data(), x.size()));
}

TYPED_TEST(LaterPlacement, CountsAndPatternsAreThoseOfTheNewOrder)
{
    Random random(5);
    const BlockMatrix<TypeParam> A = ring<TypeParam>(random, 8, 5);
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);

    support::Rows rows = support::rowsOf(A);
    for (unsigned int r = A.firstTrailing(); r < A.numBlockRows(); ++r)
        rows[r].push_back(r);
    rows = support::eliminated(support::permutedRows(rows, solver.analysis().order));
    std::vector<unsigned int> columns;
    for (const auto& row : rows)
        columns.insert(columns.end(), row.begin(), row.end());
    EXPECT_EQ(solver.data().factorColumns, columns);
    EXPECT_EQ(solver.analysis().factorBlocks, columns.size());
}

TYPED_TEST(LaterPlacement, FailureAfterItIsReported)
{
    Random random(6);
    BlockMatrix<TypeParam> A = ring<TypeParam>(random, 3, 5);
    std::fill_n(A.block(4, 1) + 24, 6, TypeParam(0)); // the last row of block 4 holds nothing
    std::fill_n(A.block(4, 2) + 24, 6, TypeParam(0));
    BlockLDLT<TypeParam> solver;

    const auto& status = solver.compute(A);

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.block, 4u);
    EXPECT_EQ(status.row, 4u);
    EXPECT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);
}

TYPED_TEST(LaterPlacement, SolvesRingsOfAnyKind)
{
    unsigned int later = 0;
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int rows = random.integer(1, 5);
        const BlockMatrix<TypeParam> A = ring<TypeParam>(random, random.integer(3, 12), rows);
        BlockLDLT<TypeParam> solver;

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        later += solver.analysis().earlyBlocks == 0;
        if (solver.analysis().earlyBlocks == 0) {
            ASSERT_TRUE(isBehindAll(A, solver.analysis().position));
            ASSERT_LT(this->solvedError(solver, A), 64 * kEpsilon<TypeParam>);
        }
    }
    EXPECT_GT(later, 30u);
}

// One further trailing block, which couples to a joint alone and so waits for that.
TYPED_TEST(LaterPlacement, MindsTrailingBlocksWithoutOrdinaryCouplings)
{
    unsigned int later = 0;
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        KktShape shape;
        shape.bodies = random.integer(3, 15);
        shape.joints = shape.bodies - 1;
        shape.partners = 3;
        const BlockMatrix<TypeParam> base = support::randomKkt<TypeParam>(random, shape);
        std::vector<unsigned int> sizes = base.blockSizes();
        const unsigned int further = base.numBlockRows();
        const unsigned int joint = random.integer(shape.bodies, further - 1);
        sizes.push_back(sizes[joint]);
        BlockMatrix<TypeParam> A(sizes, shape.bodies);
        for (unsigned int r = 0; r < further; ++r)
            for (const auto& entry : base.row(r))
                std::copy_n(entry.values, std::size_t(sizes[r]) * sizes[entry.column],
                            A.block(r, entry.column));
        for (unsigned int i = 0; i < sizes[joint]; ++i)
            A.block(further, joint)[i * (sizes[joint] + 1)] = 1;
        BlockLDLT<TypeParam> solver;

        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

        if (solver.analysis().earlyBlocks > 0)
            continue;
        ++later;
        ASSERT_TRUE(isBehindAll(A, solver.analysis().position));
        ASSERT_GT(solver.analysis().position[further], solver.analysis().position[joint]);
        ASSERT_LT(this->solvedError(solver, A), 1e4 * kEpsilon<TypeParam>);
    }
    EXPECT_GT(later, 10u);
}

} // namespace
