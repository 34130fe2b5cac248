#include "support/Bits.h"
#include "support/BlockSystems.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::makeRopeBridge;
using kyrOrvel::client::Scene;

namespace {

TEST(RopeBridge, HasTheBodiesAndJointsOfItsSegments)
{
    for (const unsigned int segments : {2u, 3u, 10u, 40u}) {
        SCOPED_TRACE(segments);
        const Scene scene = makeRopeBridge(segments);
        const BlockMatrix<double>& A = scene.matrix;

        EXPECT_EQ(A.firstTrailing(), 3 * segments - 1);
        EXPECT_EQ(A.numBlockRows(), 7 * segments - 1);
        for (unsigned int b = 0; b < A.numBlockRows(); ++b)
            EXPECT_EQ(A.blockSize(b), b < A.firstTrailing() ? 6u : 3u);
        EXPECT_EQ(scene.rightHandSide.size(), A.dimension());
        EXPECT_EQ(scene.bodies.size(), A.firstTrailing());
        EXPECT_EQ(scene.anchors.size(), 4u);
    }
}

TEST(RopeBridge, OfFewerThanTwoSegmentsHasTwo)
{
    EXPECT_EQ(makeRopeBridge(0).matrix.numBlockRows(), 13u);
    EXPECT_EQ(makeRopeBridge(1).matrix.numBlockRows(), 13u);
}

// Two joints a rope end hold one body, every other joint holds two.
TEST(RopeBridge, JointsCoupleBodiesOnly)
{
    const Scene scene = makeRopeBridge(5);
    const BlockMatrix<double>& A = scene.matrix;
    unsigned int anchored = 0;
    for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j) {
        ASSERT_GE(A.row(j).size(), 1u);
        ASSERT_LE(A.row(j).size(), 2u);
        ASSERT_LT(A.row(j).back().column, A.firstTrailing()) << "no compliance";
        anchored += A.row(j).size() == 1;
    }
    EXPECT_EQ(anchored, 4u);
}

// The pivots of a plain Cholesky decomposition of every body's block are positive.
TEST(RopeBridge, BodiesAreSymmetricPositiveDefinite)
{
    const Scene scene = makeRopeBridge(6);
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int b = 0; b < A.firstTrailing(); ++b) {
        SCOPED_TRACE(b);
        ASSERT_EQ(A.row(b).size(), 1u) << "bodies couple through joints only";
        const double* const block = A.find(b, b);
        double L[6][6] = {};
        for (unsigned int i = 0; i < 6; ++i)
            for (unsigned int j = 0; j <= i; ++j) {
                ASSERT_EQ(block[6 * i + j], block[6 * j + i]);
                double sum = block[6 * i + j];
                for (unsigned int k = 0; k < j; ++k)
                    sum -= L[i][k] * L[j][k];
                ASSERT_TRUE(i != j || sum > 0);
                L[i][j] = i == j ? std::sqrt(sum) : sum / L[j][j];
            }
    }
}

TEST(RopeBridge, OnlyWeightActsOnIt)
{
    const Scene scene = makeRopeBridge(4);
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int b = 0; b < A.numBlockRows(); ++b)
        for (unsigned int i = 0; i < A.blockSize(b); ++i) {
            const double value = scene.rightHandSide[A.blockOffset(b) + i];
            if (b < A.firstTrailing() && i == 1)
                EXPECT_NEAR(value, -9.81 / 60 * A.find(b, b)[7], 1e-15) << "mass times h·g";
            else
                EXPECT_EQ(value, 0);
        }
}

TEST(RopeBridge, IsSolvedWithASmallResidual)
{
    for (const unsigned int segments : {2u, 7u, 30u}) {
        SCOPED_TRACE(segments);
        const Scene scene = makeRopeBridge(segments);
        BlockLDLT<double> solver;
        ASSERT_TRUE(solver.compute(scene.matrix).ok()) << solver.info().message;
        std::vector<double> x(scene.matrix.dimension());
        const double* const b = scene.rightHandSide.data();

        ASSERT_TRUE(solver.solve(b, x.data()).ok());
        EXPECT_LT(support::relativeResidual(scene.matrix, x, scene.rightHandSide), 1e-12);
        ASSERT_TRUE(solver.refine(b, x.data(), 3).ok());

        EXPECT_LT(support::relativeResidual(scene.matrix, x, scene.rightHandSide), 1e-14);
    }
}

// The ropes sag, nothing else holds the planks up, and nothing pulls at them from the side.
TEST(RopeBridge, PlanksBeginToFallNoFasterThanFreely)
{
    const Scene scene = makeRopeBridge(10);
    const BlockMatrix<double>& A = scene.matrix;
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok());
    std::vector<double> x(A.dimension());
    ASSERT_TRUE(solver.solve(scene.rightHandSide.data(), x.data()).ok());

    for (unsigned int b = 20; b < A.firstTrailing(); ++b) {
        const double* const v = x.data() + A.blockOffset(b);
        EXPECT_NEAR(v[2], 0, 1e-9) << "across the bridge all is symmetric";
        EXPECT_GT(v[1], -9.81 / 60) << "plank " << b;
    }
}

TEST(RopeBridge, IsTheSameEveryTime)
{
    const Scene first = makeRopeBridge(12);
    const Scene second = makeRopeBridge(12);

    ASSERT_EQ(support::rowsOf(first.matrix), support::rowsOf(second.matrix));
    for (unsigned int r = 0; r < first.matrix.numBlockRows(); ++r)
        for (const auto& entry : first.matrix.row(r))
            EXPECT_TRUE(support::sameBits(second.matrix.find(r, entry.column), entry.values,
                                          std::size_t(first.matrix.blockSize(r)) *
                                              first.matrix.blockSize(entry.column)));
    EXPECT_TRUE(support::sameBits(second.rightHandSide.data(), first.rightHandSide.data(),
                                  first.rightHandSide.size()));
    EXPECT_EQ(first.bodies, second.bodies);
    EXPECT_EQ(first.anchors, second.anchors);
}

} // namespace
