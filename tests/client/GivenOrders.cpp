// Elimination orders that are taken as they are given: as numbered, and the user's own.

#include "support/BlockSystems.h"
#include "support/Orderings.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

using kyrOrvel::kNone;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Scene;
using kyrOrvel::client::StatusCode;
using support::Random;
using support::Words;

namespace {

TEST(GivenOrders, NaturalIsAsNumbered)
{
    std::vector<Scene> scenes;
    scenes.push_back(kyrOrvel::client::makeRopeBridge(6));
    scenes.push_back(kyrOrvel::client::makeRagdollPile(4));
    scenes.push_back(kyrOrvel::client::makeLattice(3));
    for (const Scene& scene : scenes) {
        BlockLDLT<double> solver;
        solver.setOrdering(Ordering::Natural);

        ASSERT_TRUE(solver.analyzePattern(scene.matrix).ok()) << solver.info().message;

        EXPECT_EQ(solver.analysis().order, support::identity(scene.matrix.numBlockRows()));
    }
}

TEST(GivenOrders, UsersIsKeptAsGiven)
{
    unsigned int kept = 0;
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const BlockMatrix<double> A = support::randomSpd<double>(random, 12, 0.4, 1, 4);
        const Words order = support::randomOrder(random, A.numBlockRows());
        std::vector<bool> coupled(A.numBlockRows(), false);
        for (unsigned int r = 0; r < A.numBlockRows(); ++r)
            for (const auto& entry : A.row(r))
                if (entry.column != r)
                    coupled[r] = coupled[entry.column] = true;
        Words expected; // blocks that couple to nothing go last
        for (const bool wanted : {true, false})
            std::copy_if(order.begin(), order.end(), std::back_inserter(expected),
                         [&](unsigned int b) { return coupled[b] == wanted; });
        kept += expected == order;
        BlockLDLT<double> solver;
        solver.setOrder(order);

        ASSERT_TRUE(solver.analyzePattern(A).ok());

        EXPECT_EQ(solver.analysis().order, expected);
    }
    EXPECT_GT(kept, 100u);
}

// X
// . X
// X X .
TEST(GivenOrders, UsersThatIsNoneOrMeetsAZeroPivotIsRefused)
{
    const BlockMatrix<double> A = support::drawnMatrix({"X", ". X", "X X ."}, 2);
    const std::pair<Words, StatusCode> cases[] = {{{0, 1}, StatusCode::InvalidInput},
                                                  {{0, 1, 2, 2}, StatusCode::InvalidInput},
                                                  {{0, 0, 2}, StatusCode::InvalidInput},
                                                  {{0, 1, 9}, StatusCode::InvalidInput},
                                                  {{2, 0, 1}, StatusCode::Singular}};
    for (const auto& [order, code] : cases) {
        BlockLDLT<double> solver;
        solver.setOrder(order);

        EXPECT_EQ(solver.analyzePattern(A).code, code);

        EXPECT_EQ(solver.info().block, code == StatusCode::Singular ? 2u : kNone);
        EXPECT_EQ(solver.factorize(A).code, StatusCode::CallSequence);
    }
}

} // namespace
