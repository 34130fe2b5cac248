#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::StatusCode;
using support::KktShape;
using support::Random;

namespace {

template <class T> class Refactorize : public testing::Test {
};
TYPED_TEST_SUITE(Refactorize, support::Scalars);

template <class T> BlockMatrix<T> randomSystem(Random& random)
{
    KktShape shape;
    shape.bodies = random.integer(1, 15);
    shape.joints = random.integer(0, shape.bodies);
    shape.partners = random.integer(1, 2);
    return support::randomKkt<T>(random, shape);
}

template <class T> std::vector<T> solve(BlockLDLT<T>& solver, const std::vector<T>& b)
{
    std::vector<T> x(b.size());
    EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
    return x;
}

TYPED_TEST(Refactorize, ChangedValuesGiveWhatAFreshSolverGives)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        BlockMatrix<TypeParam> A = support::randomSpd<TypeParam>(random, 10, 0.3, 0, 5);
        const auto b = random.scalars<TypeParam>(A.dimension());
        BlockLDLT<TypeParam> warm;
        ASSERT_TRUE(warm.compute(A).ok());
        solve(warm, b);
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (unsigned int i = 0; i < A.blockSize(r); ++i)
                A.block(r, r)[i * A.blockSize(r) + i] += random.scalar<TypeParam>();

        ASSERT_TRUE(warm.factorize(A).ok());

        BlockLDLT<TypeParam> fresh;
        ASSERT_TRUE(fresh.compute(A).ok());
        const auto x = solve(warm, b);
        const auto expected = solve(fresh, b);
        ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
    }
}

TYPED_TEST(Refactorize, RepeatedStepsGiveTheSameBits)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = randomSystem<TypeParam>(random);
        const auto b = random.scalars<TypeParam>(A.dimension());
        BlockLDLT<TypeParam> solver;
        ASSERT_TRUE(solver.compute(A).ok());
        const auto x = solve(solver, b);

        const auto again = solve(solver, b);
        ASSERT_TRUE(solver.factorize(A).ok());
        const auto factored = solve(solver, b);
        ASSERT_TRUE(solver.compute(A).ok());
        const auto analysed = solve(solver, b);

        ASSERT_TRUE(support::sameBits(again.data(), x.data(), x.size()));
        ASSERT_TRUE(support::sameBits(factored.data(), x.data(), x.size()));
        ASSERT_TRUE(support::sameBits(analysed.data(), x.data(), x.size()));
    }
}

TYPED_TEST(Refactorize, MatricesOfOnePatternInTurnAreFactoredByTheirOwnValues)
{
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = randomSystem<TypeParam>(random);
        BlockMatrix<TypeParam> B = support::shuffledCopy(random, A);
        for (unsigned int r = 0; r < B.firstTrailing(); ++r)
            for (unsigned int i = 0; i < B.blockSize(r); ++i)
                B.block(r, r)[i * B.blockSize(r) + i] += 1;
        const auto b = random.scalars<TypeParam>(A.dimension());
        BlockLDLT<TypeParam> own[2];
        ASSERT_TRUE(own[0].compute(A).ok());
        ASSERT_TRUE(own[1].compute(B).ok());
        BlockLDLT<TypeParam> shared;
        ASSERT_TRUE(shared.compute(A).ok());
        ASSERT_EQ(shared.analysis().order, own[1].analysis().order);

        for (const int which : {0, 1, 1, 0}) {
            ASSERT_TRUE(shared.factorize(which == 0 ? A : B).ok());
            const auto x = solve(shared, b);
            const auto expected = solve(own[which], b);
            ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
        }
    }
}

TYPED_TEST(Refactorize, MatrixThatWasMovedIsFactoredWhereItIsNow)
{
    Random random(5);
    BlockMatrix<TypeParam> A = randomSystem<TypeParam>(random);
    const auto b = random.scalars<TypeParam>(A.dimension());
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const auto x = solve(solver, b);

    const BlockMatrix<TypeParam> moved = std::move(A);
    ASSERT_TRUE(solver.factorize(moved).ok());

    const auto again = solve(solver, b);
    EXPECT_TRUE(support::sameBits(again.data(), x.data(), x.size()));
}

TYPED_TEST(Refactorize, AnotherOrderOfInsertionGivesTheSameBits)
{
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<TypeParam> A = randomSystem<TypeParam>(random);
        const BlockMatrix<TypeParam> B = support::shuffledCopy(random, A);
        const auto b = random.scalars<TypeParam>(A.dimension());
        BlockLDLT<TypeParam> first;
        BlockLDLT<TypeParam> second;
        ASSERT_TRUE(first.compute(A).ok());
        ASSERT_TRUE(second.compute(B).ok());

        const auto x = solve(first, b);
        const auto y = solve(second, b);

        ASSERT_TRUE(support::sameBits(y.data(), x.data(), x.size()));
        EXPECT_TRUE(first.factorize(B).ok()) << "the pattern is the same";
    }
}

TYPED_TEST(Refactorize, SolverCanTurnToOtherPatternsAndBack)
{
    BlockLDLT<TypeParam> solver;
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed % 20 + 1);
        const BlockMatrix<TypeParam> A = randomSystem<TypeParam>(random);
        const auto b = random.scalars<TypeParam>(A.dimension());
        ASSERT_TRUE(solver.compute(A).ok());

        BlockLDLT<TypeParam> fresh;
        ASSERT_TRUE(fresh.compute(A).ok());
        const auto x = solve(solver, b);
        const auto expected = solve(fresh, b);
        ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
    }
}

TYPED_TEST(Refactorize, MovedSolverSolvesOn)
{
    Random random(3);
    const BlockMatrix<TypeParam> A = randomSystem<TypeParam>(random);
    const auto b = random.scalars<TypeParam>(A.dimension());
    BlockLDLT<TypeParam> first;
    ASSERT_TRUE(first.compute(A).ok());
    const auto x = solve(first, b);

    BlockLDLT<TypeParam> second(std::move(first));
    const auto afterConstruction = solve(second, b);
    first = std::move(second);
    const auto afterAssignment = solve(first, b);

    EXPECT_TRUE(support::sameBits(afterConstruction.data(), x.data(), x.size()));
    EXPECT_TRUE(support::sameBits(afterAssignment.data(), x.data(), x.size()));
}

TYPED_TEST(Refactorize, MovedFromSolverCanBeAssigned)
{
    BlockLDLT<TypeParam> first;
    const BlockLDLT<TypeParam> second(std::move(first));

    first = BlockLDLT<TypeParam>();

    EXPECT_TRUE(first.info().ok());
    EXPECT_TRUE(first.compute(support::scalarMatrix<TypeParam>({{2}})).ok());
}

// Patterns that are not the one analysed

template <class T> class PatternMismatch : public testing::Test {
protected:
    // Sizes 2, 2, 1.  X
    //                 X X
    //                 . X .
    static BlockMatrix<T> analysed()
    {
        return drawn({2, 2, 1}, 2, {{0, 0}, {1, 0}, {1, 1}, {2, 1}});
    }

    static BlockMatrix<T> drawn(std::vector<unsigned int> sizes, unsigned int firstTrailing,
                                const std::vector<std::pair<unsigned int, unsigned int>>& blocks)
    {
        BlockMatrix<T> A(std::move(sizes), firstTrailing);
        for (const auto& [r, c] : blocks) {
            T* const block = A.block(r, c);
            for (unsigned int i = 0; i < A.blockSize(r); ++i)
                block[i * A.blockSize(c) + i % A.blockSize(c)] = r == c ? T(4) : T(1);
        }
        return A;
    }

    /// The status of factoring B by a solver that has analysed, and factored, another matrix.
    static kyrOrvel::client::Status factored(const BlockMatrix<T>& B)
    {
        BlockLDLT<T> solver;
        EXPECT_TRUE(solver.compute(analysed()).ok()) << solver.info().message;
        const kyrOrvel::client::Status status = solver.factorize(B);

        T x[5] = {1, 2, 3, 4, 5};
        EXPECT_EQ(solver.solve(x, x).code, StatusCode::CallSequence);
        EXPECT_EQ(x[0], T(1));
        EXPECT_TRUE(solver.factorize(analysed()).ok()) << "the analysis is still good";
        return status;
    }

    static void expectRow(const BlockMatrix<T>& B, unsigned int row)
    {
        const kyrOrvel::client::Status status = factored(B);
        EXPECT_EQ(status.code, StatusCode::PatternMismatch);
        EXPECT_EQ(status.message, "block row " + std::to_string(row) +
                                      " holds other blocks than when it was analysed; call "
                                      "analyzePattern for the new pattern");
        EXPECT_EQ(status.block, row);
        EXPECT_EQ(status.row, kNone);
    }

    static void expectOtherBlocks(const BlockMatrix<T>& B)
    {
        const kyrOrvel::client::Status status = factored(B);
        EXPECT_EQ(status.code, StatusCode::PatternMismatch);
        EXPECT_EQ(status.message, "the matrix has other blocks than the one analysed; call "
                                  "analyzePattern for the new pattern");
        EXPECT_EQ(status.block, kNone);
    }
};
TYPED_TEST_SUITE(PatternMismatch, support::Scalars);

TYPED_TEST(PatternMismatch, FurtherBlockIsNamedByItsRow)
{
    this->expectRow(this->drawn({2, 2, 1}, 2, {{0, 0}, {1, 0}, {1, 1}, {2, 0}, {2, 1}}), 2);
}

TYPED_TEST(PatternMismatch, FurtherDiagonalBlockIsNamedByItsRow)
{
    this->expectRow(this->drawn({2, 2, 1}, 2, {{0, 0}, {1, 0}, {1, 1}, {2, 1}, {2, 2}}), 2);
}

TYPED_TEST(PatternMismatch, MissingBlockIsNamedByItsRow)
{
    this->expectRow(this->drawn({2, 2, 1}, 2, {{0, 0}, {1, 1}, {2, 1}}), 1);
}

TYPED_TEST(PatternMismatch, BlockInAnotherColumnIsNamedByItsRow)
{
    this->expectRow(this->drawn({2, 2, 1}, 2, {{0, 0}, {1, 0}, {1, 1}, {2, 0}}), 2);
}

TYPED_TEST(PatternMismatch, OtherSizesAreRefused)
{
    this->expectOtherBlocks(this->drawn({2, 3, 1}, 2, {{0, 0}, {1, 0}, {1, 1}, {2, 1}}));
}

TYPED_TEST(PatternMismatch, OtherNumberOfRowsIsRefused)
{
    this->expectOtherBlocks(this->drawn({2, 2}, 2, {{0, 0}, {1, 0}, {1, 1}}));
    this->expectOtherBlocks(BlockMatrix<TypeParam>());
}

TYPED_TEST(PatternMismatch, OtherFirstTrailingIsRefused)
{
    this->expectOtherBlocks(this->drawn({2, 2, 1}, 1, {{0, 0}, {1, 0}, {1, 1}, {2, 1}}));
}

TYPED_TEST(PatternMismatch, BlockAddedToTheMatrixFactoredLastIsNoticed)
{
    BlockMatrix<TypeParam> A = this->analysed();
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    ASSERT_TRUE(solver.factorize(A).ok());
    A.block(2, 0);

    EXPECT_EQ(solver.factorize(A).code, StatusCode::PatternMismatch);
    EXPECT_TRUE(solver.compute(A).ok());
}

TYPED_TEST(PatternMismatch, MatrixIsRecognizedAgainAfterOneOfAnotherPattern)
{
    const BlockMatrix<TypeParam> A = this->analysed();
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(A).ok());

    EXPECT_EQ(solver.factorize(BlockMatrix<TypeParam>({1})).code, StatusCode::PatternMismatch);
    EXPECT_TRUE(solver.factorize(A).ok());
}

TYPED_TEST(PatternMismatch, BlockAddedToTheAnalysedMatrixItselfIsNoticed)
{
    BlockMatrix<TypeParam> A = this->analysed();
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.analyzePattern(A).ok());
    A.block(2, 0);

    EXPECT_EQ(solver.factorize(A).code, StatusCode::PatternMismatch);
    EXPECT_TRUE(solver.compute(A).ok());
}

} // namespace
