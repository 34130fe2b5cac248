#include "numeric/PivotCheck.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;

namespace {

BlockMatrix<float> inSinglePrecision(const BlockMatrix<double>& A)
{
    BlockMatrix<float> result(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const std::size_t count = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            const std::vector<float> values(entry.values, entry.values + count);
            result.add(r, entry.column, values.data());
        }
    return result;
}

// In single precision, thousands of pivots of a net are doubtful. Looking at all of them would take
// many times as long as the factorization.
TEST(DoubtfulPivotCost, IsAtMostTwoReadingsOfTheFactor)
{
    for (const Scene& scene :
         {kyrOrvel::client::makeNet(30), kyrOrvel::client::makeRagdollPile(10)}) {
        SCOPED_TRACE(scene.matrix.numBlockRows());
        const BlockMatrix<float> A = inSinglePrecision(scene.matrix);
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
