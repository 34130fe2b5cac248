#include "support/BlockSystems.h"
#include "support/Orderings.h"
#include "support/Random.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>
#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using kyrOrvel::OrvelData;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// The rows of L by elimination on a dense table, in the order of the analysis.
Rows expectedFactorRows(const BlockMatrix<double>& A, const Words& order)
{
    Rows rows = support::rowsOf(A);
    for (unsigned int r = 0; r < rows.size(); ++r)
        if (rows[r].empty() || rows[r].back() != r)
            rows[r].push_back(r);
    return support::eliminated(support::permutedRows(rows, order));
}

Rows rowsOf(const OrvelData<double>& data, unsigned int n)
{
    Rows rows(n);
    for (unsigned int r = 0; r < n; ++r)
        rows[r].assign(data.factorColumns.begin() + data.factorRowStart[r],
                       data.factorColumns.begin() + data.factorRowStart[r + 1]);
    return rows;
}

/// Column k: k, then the rows below with a block in it, ascending.
Rows columnsOf(const Rows& factorRows)
{
    Rows columns(factorRows.size());
    for (unsigned int r = 0; r < factorRows.size(); ++r)
        for (const unsigned int c : factorRows[r])
            columns[c].push_back(r);
    return columns;
}

/// Bodies and joints, or any couplings with diagonals everywhere.
BlockMatrix<double> randomMatrix(Random& random)
{
    if (random.chance(0.5)) {
        support::KktShape shape;
        shape.bodies = random.integer(1, 25);
        shape.joints = random.integer(0, shape.bodies);
        shape.partners = random.integer(1, 3);
        return support::randomKkt<double>(random, shape);
    }
    const double density = random.unit() * 0.3;
    return support::randomSpd<double>(random, random.integer(0, 40), density, 0, 3);
}

// A path of four, eliminated from its ends, has no fill-in; a ring of five has some in any order.
TEST(FactorPattern, OfARingHasTheFillInThatEveryOrderHas)
{
    const BlockMatrix<double> ring =
        support::drawnMatrix({"X", "X X", ". X X", ". . X X", "X . . X X"}, kyrOrvel::kNone);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.analyzePattern(ring).ok());

    EXPECT_EQ(solver.analysis().matrixBlocks, 10u);
    EXPECT_EQ(solver.analysis().factorBlocks, 12u);
    EXPECT_EQ(solver.analysis().factorScalars, 12u);
}

TEST(FactorPattern, EqualsDenseSymbolicElimination)
{
    for (unsigned int seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = randomMatrix(random);
        const unsigned int n = A.numBlockRows();
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.analyzePattern(A).ok()) << solver.info().message;
        const OrvelData<double>& data = solver.data();

        const Rows expected = expectedFactorRows(A, solver.analysis().order);

        ASSERT_EQ(data.factorRowStart.size(), n + 1u);
        ASSERT_EQ(data.factorRowStart[0], 0u);
        ASSERT_EQ(data.factorRowStart[n], data.factorColumns.size());
        ASSERT_EQ(rowsOf(data, n), expected);
        ASSERT_EQ(data.columnPattern.numBlockRows, n);
        ASSERT_EQ(support::rowsOf(data.columnPattern), columnsOf(expected));
        ASSERT_EQ(data.eliminationTree.numNodes, n);
        ASSERT_EQ(support::words(data.eliminationTree.parent, n), support::parentsOf(expected));
    }
}

void expectCountsOfTheBlocks(const BlockMatrix<double>& A, const BlockLDLT<double>& solver)
{
    const Words& order = solver.analysis().order;
    std::uint64_t blocks = 0;
    std::uint64_t scalars = 0;
    const Rows rows = expectedFactorRows(A, order);
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r]) {
            ++blocks;
            scalars += std::uint64_t(A.blockSize(order[r])) * A.blockSize(order[c]);
        }
    std::uint64_t matrixBlocks = A.numBlockRows();
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            matrixBlocks += entry.column != r;

    EXPECT_EQ(solver.analysis().matrixBlocks, matrixBlocks);
    EXPECT_EQ(solver.analysis().factorBlocks, blocks);
    EXPECT_EQ(solver.analysis().factorScalars, scalars);
}

TEST(FactorPattern, CountsAreThoseOfItsBlocks)
{
    for (unsigned int seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = randomMatrix(random);
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.analyzePattern(A).ok());

        expectCountsOfTheBlocks(A, solver);
    }
}

TEST(FactorPattern, CountsAreThoseOfItsBlocksInEveryOrdering)
{
    using namespace kyrOrvel::client;
    const Scene scenes[] = {makeChain(40),  makeRopeBridge(6),  makeTracks(12), makeNet(7),
                            makeWall(4, 3), makeRagdollPile(2), makeLattice(5), makePoseGraph(60)};
    for (const Scene& scene : scenes)
        for (const Ordering ordering :
             {Ordering::ConstraintAware, Ordering::Symamd, Ordering::Natural, Ordering::Best}) {
            SCOPED_TRACE(scene.matrix.numBlockRows());
            SCOPED_TRACE(int(ordering));
            BlockLDLT<double> solver;
            solver.setOrdering(ordering);
            ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok()) << solver.info().message;

            expectCountsOfTheBlocks(scene.matrix, solver);
        }
}

// Row i of a dense L needs i pairs for its diagonal and j for its entry in column j: m³/6 in all.
TEST(FactorPattern, OperationsOfADenseBlockAreASixthOfItsCube)
{
    constexpr unsigned int m = 120;
    std::uint64_t pairs = 0;
    for (unsigned int i = 0; i < m; ++i)
        for (unsigned int j = 0; j <= i; ++j)
            pairs += j;
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.analyzePattern(BlockMatrix<double>({m})).ok());

    EXPECT_NEAR(static_cast<double>(solver.analysis().operations), static_cast<double>(pairs),
                0.02 * static_cast<double>(pairs));
}

TEST(FactorPattern, OperationsHardlyDependOnTheDivisionIntoBlocks)
{
    const auto operations = [](unsigned int size, unsigned int count) {
        BlockMatrix<double> A(Words(count, size));
        for (unsigned int r = 0; r < count; ++r)
            for (unsigned int c = 0; c <= r; ++c)
                A.block(r, c);
        BlockLDLT<double> solver;
        EXPECT_TRUE(solver.analyzePattern(A).ok());
        return static_cast<double>(solver.analysis().operations);
    };

    EXPECT_NEAR(operations(12, 10), operations(120, 1), 0.05 * operations(120, 1));
    EXPECT_NEAR(operations(60, 2), operations(120, 1), 0.05 * operations(120, 1));
}

TEST(FactorPattern, OfTheNumericFactorIsThePredictedOne)
{
    Random random(7);
    support::KktShape shape;
    const BlockMatrix<double> A = support::randomKkt<double>(random, shape);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    const OrvelData<double>& data = solver.data();

    ASSERT_EQ(data.factor.numBlockRows, A.numBlockRows());
    EXPECT_EQ(data.factor.numBlocks, solver.analysis().factorBlocks);
    for (unsigned int k = 0; k < A.numBlockRows(); ++k)
        EXPECT_EQ(data.factor.blockSizes[k], A.blockSize(solver.analysis().order[k]));
    for (unsigned int e = 0; e < data.factor.numBlocks; ++e)
        EXPECT_EQ(data.factor.blockColumns[e], data.factorColumns[e]);
}

} // namespace
