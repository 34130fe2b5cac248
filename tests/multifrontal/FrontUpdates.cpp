// The updates of fronts by their sizes, on every instruction set: each front is the sum that its
// schedule describes, to the last bit.

#include "Problem.h"

#include "support/FactorComparison.h"
#include "support/FactorPaths.h"
#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <vector>

using kyrOrvel::Orvel;
using support::PlainFactors;
using support::Problem;
using support::Random;
using support::Sizes;
using support::System;

namespace {

template <class T> class FrontUpdates : public testing::Test {
protected:
    /// Every two of the blocks are coupled, so that each node updates all fronts after it.
    static System<T> denseSystem(Random& random, const Sizes& sizes)
    {
        System<T> system;
        system.sizes = sizes;
        system.rows = support::randomRows(random, system.numRows(), 1);
        system.factorRows = system.rows;
        system.blocks =
            support::drawBlocks<T>(sizes, system.rows, [&] { return random.scalar<T>(); });
        support::makeDominant(system, std::vector<bool>(sizes.size(), false));
        return system;
    }

    static void expectPlainResult(System<T> system)
    {
        Problem<T> problem(std::move(system));
        problem.use(
            support::listedOneByOne(std::vector<unsigned char>(problem.system.sizes.size(), 0), 1));
        const PlainFactors<T> expected = problem.plainFactors();
        support::forEachInstructionSet([&] {
            Orvel::factorMF(problem.data);
            EXPECT_TRUE(support::sameFactors(problem.data, expected));
        });
    }
};
TYPED_TEST_SUITE(FrontUpdates, support::Scalars);

TYPED_TEST(FrontUpdates, OfAllSmallDepthsAndWidthsAreThePlainOnes)
{
    for (unsigned int depth = 0; depth <= 10; ++depth)
        for (unsigned int width = 0; width <= 10; ++width) {
            SCOPED_TRACE(testing::Message() << depth << " wide on " << width);
            Random random(100 * depth + width);
            this->expectPlainResult(this->denseSystem(random, {depth, width, 3}));
        }
}

TYPED_TEST(FrontUpdates, OfMoreBlocksThanAreHandedOverTogetherAreThePlainOnes)
{
    // Of the 66 blocks the first has 65 for the front of the second, 64 for that of the third.
    Random random(66);
    this->expectPlainResult(this->denseSystem(random, support::randomSizes(random, 66, 0, 4)));
}

TYPED_TEST(FrontUpdates, AroundTheGreatestDepthOfTheFastOnesAreThePlainOnes)
{
    for (const unsigned int depth : {511u, 512u, 513u}) {
        SCOPED_TRACE(depth);
        Random random(depth);
        this->expectPlainResult(this->denseSystem(random, {depth, 7, 9}));
    }
}

} // namespace
