#include "numeric/PivotCheck.h"
#include "support/BlockSystems.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;

namespace {

// In single precision, thousands of pivots of a net are doubtful. Looking at all of them would take
// many times as long as the factorization.
TEST(DoubtfulPivotCost, IsAtMostTwoReadingsOfTheFactor)
{
    for (const Scene& scene :
         {kyrOrvel::client::makeNet(30), kyrOrvel::client::makeRagdollPile(10)}) {
        SCOPED_TRACE(scene.matrix.numBlockRows());
        const BlockMatrix<float> A = support::roundedMatrix<float>(scene.matrix);
        BlockLDLT<float> solver;
        ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
        kyrOrvel::client::PivotCheck<float> check;
        const std::vector<unsigned int>& order = solver.analysis().order;
        check.prepare(solver.data(), order, A.firstTrailing(), nullptr);

        check.run(solver.data(), order, A.firstTrailing(), {});

        EXPECT_GT(check.scalarsRead(), 0u) << "no pivot is doubtful";
        EXPECT_LE(check.scalarsRead(), 2 * solver.analysis().factorScalars);
    }
}

} // namespace
