#include "support/BlockSystems.h"
#include "support/Orderings.h"
#include "support/Random.h"
#include "support/Systems.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::Analysis;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::OrderingMethod;
using kyrOrvel::client::StatusCode;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// Whether a trailing block has a pivot of its own.
bool standsAlone(const BlockMatrix<double>& A, unsigned int block)
{
    return A.find(block, block) || A.blockSize(block) == 0;
}

/// The blocks that `block` couples to, on the given side of firstTrailing.
Words couplings(const BlockMatrix<double>& A, unsigned int block, bool trailing)
{
    Words result;
    for (unsigned int other = 0; other < A.numBlockRows(); ++other)
        if (other != block && (other >= A.firstTrailing()) == trailing &&
            A.find(std::max(block, other), std::min(block, other)))
            result.push_back(other);
    return result;
}

/// Whether every trailing block has what it needs before it: an ordinary block if it couples to
/// any; else a trailing one, unless it has a pivot of its own.
testing::AssertionResult followsTheRule(const BlockMatrix<double>& A, const Analysis& analysis)
{
    const auto anyBefore = [&](const Words& blocks, unsigned int t) {
        return std::any_of(blocks.begin(), blocks.end(), [&](unsigned int b) {
            return analysis.position[b] < analysis.position[t];
        });
    };
    for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t) {
        const Words ordinary = couplings(A, t, false);
        const bool fine = ordinary.empty()
                              ? standsAlone(A, t) || anyBefore(couplings(A, t, true), t)
                              : anyBefore(ordinary, t);
        if (!fine)
            return testing::AssertionFailure()
                   << "trailing block " << t << " at position " << analysis.position[t]
                   << " comes before all that it couples to";
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult isOrderOf(const BlockMatrix<double>& A, const Analysis& analysis)
{
    if (!support::isOrder(analysis.order, A.numBlockRows()))
        return testing::AssertionFailure() << "the order is no permutation";
    if (analysis.position != support::inverseOf(analysis.order))
        return testing::AssertionFailure() << "the positions are not its inverse";
    return testing::AssertionSuccess();
}

/// The first trailing block that nothing holds, by spreading from the blocks that are held from the
/// start until nothing changes; kNone if all are.
unsigned int firstUnheld(const BlockMatrix<double>& A)
{
    std::vector<bool> held(A.numBlockRows(), false);
    for (unsigned int b = 0; b < A.numBlockRows(); ++b)
        held[b] = b < A.firstTrailing() || standsAlone(A, b) || !couplings(A, b, false).empty();
    for (bool changed = true; changed;) {
        changed = false;
        for (unsigned int t = A.firstTrailing(); t < A.numBlockRows(); ++t)
            for (const unsigned int other : couplings(A, t, true))
                if (!held[t] && held[other])
                    changed = held[t] = true;
    }
    const auto first = std::find(held.begin(), held.end(), false);
    return first == held.end() ? kNone : static_cast<unsigned int>(first - held.begin());
}

TEST(Analysis, OfAnEmptyMatrixIsEmpty)
{
    BlockLDLT<double> solver;

    EXPECT_TRUE(solver.analyzePattern(BlockMatrix<double>()).ok());

    EXPECT_TRUE(solver.analysis().order.empty());
    EXPECT_TRUE(solver.analysis().position.empty());
    EXPECT_EQ(solver.analysis().matrixBlocks, 0u);
    EXPECT_EQ(solver.analysis().factorBlocks, 0u);
    EXPECT_EQ(solver.analysis().factorScalars, 0u);
    EXPECT_EQ(solver.analysis().operations, 0u);
}

TEST(Analysis, OfOneBlockPutsItFirst)
{
    BlockLDLT<double> solver;

    EXPECT_TRUE(solver.analyzePattern(BlockMatrix<double>({4})).ok());

    EXPECT_EQ(solver.analysis().method, OrderingMethod::MinimumFill);
    EXPECT_EQ(solver.analysis().order, Words{0});
    EXPECT_EQ(solver.analysis().position, Words{0});
    EXPECT_EQ(solver.analysis().matrixBlocks, 1u);
    EXPECT_EQ(solver.analysis().factorBlocks, 1u);
    EXPECT_EQ(solver.analysis().factorScalars, 16u);
}

// X         An arrow: with the head first everything fills in, with the head last nothing does.
// X X
// X . X
// X . . X
TEST(Analysis, WithoutTrailingBlocksTheOrderKeepsTheFillInSmall)
{
    BlockLDLT<double> solver;

    EXPECT_TRUE(
        solver.analyzePattern(support::drawnMatrix({"X", "X X", "X . X", "X . . X"}, kNone)).ok());

    EXPECT_EQ(solver.analysis().method, OrderingMethod::MinimumFill);
    EXPECT_EQ(solver.analysis().matrixBlocks, 7u);
    EXPECT_EQ(solver.analysis().factorBlocks, 7u);
}

// X          Two bodies, a joint between them.
// . X
// X X .
TEST(Analysis, TrailingLeafIsMovedBehindItsParent)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". X", "X X ."}, 2);
    BlockLDLT<double> solver;
    solver.setOrdering(Ordering::Symamd);

    EXPECT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_EQ(solver.analysis().method, OrderingMethod::SymamdRepaired);
    EXPECT_TRUE(followsTheRule(A, solver.analysis()));
    EXPECT_EQ(solver.analysis().matrixBlocks, 5u) << "the missing diagonal block counts";
}

TEST(Analysis, FirstTrailingAtOrBeyondTheEndMeansNone)
{
    for (const unsigned int firstTrailing : {3u, 4u, 1000u, 0x80000000u, kNone}) {
        BlockLDLT<double> solver;

        EXPECT_TRUE(
            solver.analyzePattern(support::drawnMatrix({"X", ". X", "X X X"}, firstTrailing)).ok());

        EXPECT_EQ(solver.analysis().method, OrderingMethod::MinimumFill) << firstTrailing;
    }
}

// X
// X X
// . X X
TEST(Analysis, AllBlocksTrailingWithDiagonalsIsFine)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", "X X", ". X X"}, 0);
    BlockLDLT<double> solver;

    EXPECT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_TRUE(isOrderOf(A, solver.analysis()));
}

// X              Block 2 couples to nothing and has no diagonal block.
// X X
// . . .
TEST(Analysis, IsolatedTrailingBlockIsNamedAsSingular)
{
    BlockLDLT<double> solver;

    const auto& status = solver.analyzePattern(support::drawnMatrix({"X", "X X", ". . ."}, 1));

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.block, 2u);
    EXPECT_EQ(status.row, kNone);
    EXPECT_EQ(status.message,
              "trailing block 2 couples to no other block and has no diagonal block: the matrix is "
              "singular whatever its values; couple it to an ordinary block, give it a diagonal "
              "block (a compliance), or leave it out");
    EXPECT_EQ(&status, &solver.info());
}

TEST(Analysis, IsolatedTrailingBlockWithADiagonalBlockIsFine)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", "X X", ". . X"}, 1);
    BlockLDLT<double> solver;

    EXPECT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_TRUE(isOrderOf(A, solver.analysis()));
    EXPECT_TRUE(followsTheRule(A, solver.analysis()));
}

TEST(Analysis, IsolatedTrailingBlockWithoutRowsIsFine)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", "X .", ". . ."}, 1, {2, 1, 0});
    BlockLDLT<double> solver;

    EXPECT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_TRUE(followsTheRule(A, solver.analysis()));
}

// X                0 - 1 - 2 - 3 - 4: only block 1 couples to the ordinary block.
// X .
// . X .
// . . X .
// . . . X .
TEST(Analysis, ChainOfTrailingBlocksIsEliminatedFromItsOrdinaryEnd)
{
    const BlockMatrix<double> A =
        support::drawnMatrix({"X", "X .", ". X .", ". . X .", ". . . X ."}, 1);
    BlockLDLT<double> solver;

    ASSERT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_EQ(solver.analysis().order, (Words{0, 1, 2, 3, 4}));
    EXPECT_EQ(solver.analysis().method, OrderingMethod::ConstraintAware);
}

// X                The same chain, its ordinary block in the last place of the chain's numbering.
// . .
// . X .
// . . X .
// X . . X .
TEST(Analysis, ChainNumberedBackwardsIsEliminatedFromItsOrdinaryEndToo)
{
    const BlockMatrix<double> A =
        support::drawnMatrix({"X", ". .", ". X .", ". . X .", "X . . X ."}, 1);
    BlockLDLT<double> solver;

    ASSERT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_EQ(solver.analysis().order, (Words{0, 4, 3, 2, 1}));
}

// X              Blocks 1 and 2 couple to each other only; neither has a diagonal block.
// . .
// . X .
// X . . .
TEST(Analysis, TrailingBlocksThatCoupleToEachOtherOnlyAreNamed)
{
    BlockLDLT<double> solver;

    const auto& status =
        solver.analyzePattern(support::drawnMatrix({"X", ". .", ". X .", "X . . ."}, 1));

    EXPECT_EQ(status.code, StatusCode::Singular);
    EXPECT_EQ(status.block, 1u);
    EXPECT_EQ(status.message,
              "trailing block 1 couples to no ordinary block, neither directly nor through others, "
              "and none of those has a diagonal block: whichever is eliminated first has zero "
              "pivots; couple it to an ordinary block, give it a diagonal block (a compliance), or "
              "leave it out");
}

// X              The same with a diagonal block for block 2, which then comes before block 1.
// . .
// . X X
TEST(Analysis, TrailingBlockMayLeanOnATrailingOneWithADiagonalBlock)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". .", ". X X"}, 1);
    BlockLDLT<double> solver;

    ASSERT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_LT(solver.analysis().position[2], solver.analysis().position[1]);
}

// Many trailing blocks that couple to each other: leaves of the tree with trailing parents, where
// the library's own repair gives up.
TEST(Analysis, WhereTheRepairGivesUpTheTrailingBlocksAreDelayed)
{
    unsigned int delayed = 0;
    for (unsigned int seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Rows rows = support::randomRows(random, random.integer(4, 15), 0.3);
        BlockMatrix<double> A(Words(rows.size(), 1), unsigned(rows.size()) / 3);
        for (unsigned int r = 0; r < rows.size(); ++r)
            for (const unsigned int c : rows[r])
                if (r != c || r < A.firstTrailing())
                    A.block(r, c);
        BlockLDLT<double> solver;
        solver.setOrdering(Ordering::Symamd);
        if (!solver.analyzePattern(A).ok())
            continue;
        delayed += solver.analysis().method == OrderingMethod::SymamdDelayed;
        ASSERT_TRUE(followsTheRule(A, solver.analysis()));
    }
    EXPECT_GT(delayed, 50u);
}

/// Ordinary blocks with their couplings, trailing blocks with any couplings, some with diagonal
/// blocks, some of size 0.
BlockMatrix<double> randomTrailingPattern(Random& random)
{
    const unsigned int n = random.integer(1, 30);
    const unsigned int firstTrailing = random.integer(0, n);
    BlockMatrix<double> A(support::randomSizes(random, n, random.integer(0, 1), 4), firstTrailing);
    const double density = random.unit() * 0.3;
    const double amongTrailing = random.chance(0.5) ? 0 : density;
    const double diagonals = random.chance(0.5) ? 0 : random.unit();
    for (unsigned int r = 0; r < n; ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (random.chance(c >= firstTrailing ? amongTrailing : density))
                A.block(r, c);
        if (r < firstTrailing || random.chance(diagonals))
            A.block(r, r);
    }
    return A;
}

/// Analyses random patterns and counts how they were ordered.
std::map<OrderingMethod, unsigned int> expectTheRule(Ordering ordering)
{
    unsigned int singular = 0;
    std::map<OrderingMethod, unsigned int> methods;
    for (unsigned int seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = randomTrailingPattern(random);
        const unsigned int unheld = firstUnheld(A);
        BlockLDLT<double> solver;
        solver.setOrdering(ordering);

        const auto& status = solver.analyzePattern(A);

        if (unheld != kNone) {
            ++singular;
            EXPECT_EQ(status.code, StatusCode::Singular);
            EXPECT_EQ(status.block, unheld);
            continue;
        }
        EXPECT_TRUE(status.ok()) << status.message;
        EXPECT_TRUE(isOrderOf(A, solver.analysis()));
        EXPECT_TRUE(followsTheRule(A, solver.analysis()));
        ++methods[solver.analysis().method];
        if (testing::Test::HasFailure())
            break;
    }
    EXPECT_GT(singular, 300u) << "the patterns should reach every outcome";
    return methods;
}

TEST(Analysis, OnAnyPatternTheRuleHoldsOrTheBlockThatNothingHoldsIsNamed)
{
    auto methods = expectTheRule(Ordering::Automatic);

    EXPECT_GT(methods[OrderingMethod::MinimumFill], 50u);
    EXPECT_GT(methods[OrderingMethod::ConstraintAware], 600u);
}

TEST(Analysis, OnAnyPatternTheRepairsKeepTheRuleToo)
{
    auto methods = expectTheRule(Ordering::Symamd);

    EXPECT_GT(methods[OrderingMethod::Symamd], 50u);
    EXPECT_GT(methods[OrderingMethod::SymamdRepaired], 300u);
    EXPECT_GT(methods[OrderingMethod::SymamdDelayed], 300u);
}

TEST(Analysis, IsTheSameForTheSamePatternInAnotherOrderOfAdding)
{
    for (unsigned int seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = randomTrailingPattern(random);
        const BlockMatrix<double> B = support::shuffledCopy(random, A);
        BlockLDLT<double> a;
        BlockLDLT<double> b;
        a.analyzePattern(B);

        EXPECT_EQ(a.analyzePattern(A).code, b.analyzePattern(B).code);

        if (a.info().ok()) {
            EXPECT_EQ(a.analysis().order, b.analysis().order);
        }
    }
}

TEST(Analysis, TooManyRowsAreRefused)
{
    BlockLDLT<double> solver;

    const auto& status = solver.analyzePattern(BlockMatrix<double>({0x7FFFFFFF, 1}));

    EXPECT_EQ(status.code, StatusCode::TooLarge);
    EXPECT_EQ(status.message, "the scalar dimension needs a count of 2147483648, more than the "
                              "2147483647 that the solver can hold; split the system");
}

// 70000² scalars in the one block of L
TEST(Analysis, FactorBeyond32BitCountsIsRefused)
{
    BlockLDLT<double> solver;

    const auto& status = solver.analyzePattern(BlockMatrix<double>({70000}));

    EXPECT_EQ(status.code, StatusCode::TooLarge);
    EXPECT_EQ(status.message, "the factor needs a count of 4900000000, more than the 4294967294 "
                              "that the solver can hold; split the system");
}

TEST(Analysis, AfterAFailureAnotherPatternCanBeAnalysed)
{
    BlockLDLT<double> solver;
    ASSERT_FALSE(solver.analyzePattern(support::drawnMatrix({"X", ". ."}, 1)).ok());
    const BlockMatrix<double> A = support::drawnMatrix({"X", "X ."}, 1);

    EXPECT_TRUE(solver.analyzePattern(A).ok());

    EXPECT_EQ(solver.analysis().order, (Words{0, 1}));
}

} // namespace
