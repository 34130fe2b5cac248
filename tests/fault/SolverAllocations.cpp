// What the solver allocates, and what is left when one of its allocations fails.

#include "support/Allocations.h"
#include "support/FactorComparison.h"
#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::AllocationCount;
using support::System;

namespace {

template <class T> System<T> someSystem()
{
    support::Random random(17);
    return support::dominantSystem<T>(random, 10, 0.3, 1, 6);
}

template <class T> class SolverAllocations : public testing::Test {
protected:
    SolverAllocations() : system(someSystem<T>()), data(support::makeData(system))
    {
        x.assign(system.dimension(), T(1));
    }

    System<T> system;
    std::unique_ptr<OrvelData<T>> data;
    std::vector<T> x;
};
TYPED_TEST_SUITE(SolverAllocations, support::Scalars);

TYPED_TEST(SolverAllocations, SolveWithAFactorAllocatesNothing)
{
    Orvel::factorSerial(*this->data);

    const AllocationCount count;
    Orvel::solve(*this->data, this->x.data());
    const std::size_t allocations = count.allocations();

    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(SolverAllocations, FactoringAgainAllocatesNothing)
{
    Orvel::factorSerial(*this->data);

    const AllocationCount count;
    Orvel::factorSerial(*this->data);
    const std::size_t allocations = count.allocations();

    EXPECT_EQ(allocations, 0u);
}

TYPED_TEST(SolverAllocations, UnitSolveAllocatesItsPathAlone)
{
    Orvel::factorSerial(*this->data);
    Orvel::unitSolve(*this->data, this->x.data(), 0); // takes the row marks

    const AllocationCount count;
    Orvel::unitSolve(*this->data, this->x.data(), 0);
    const std::size_t allocations = count.allocations();
    const std::size_t bytes = count.bytes();

    EXPECT_EQ(allocations, 1u);
    EXPECT_EQ(bytes, 10 * sizeof(int)); // room for every block row
}

TEST(RefinementAllocations, TwoVectorsPerCall)
{
    const System<double> system = someSystem<double>();
    const auto data = support::makeData(system);
    const std::vector<double> b(system.dimension(), 1.0);
    std::vector<double> x(system.dimension(), 0.0);
    Orvel::factorSerial(*data);

    const AllocationCount count;
    Orvel::iterativeRefinement(*data, b.data(), x.data(), 5);
    const std::size_t allocations = count.allocations();
    const std::size_t bytes = count.bytes();

    EXPECT_EQ(allocations, 2u);
    EXPECT_EQ(bytes, 2 * sizeof(double) * system.dimension());
}

TYPED_TEST(SolverAllocations, FailedFactorizationLeavesASystemThatCanBeFactored)
{
    const auto expected = support::plainFactor(this->system);
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        const auto fresh = support::makeData(this->system);

        const bool failed = support::failsOnAllocation(n, [&] { Orvel::factorSerial(*fresh); });
        if (!failed) {
            EXPECT_GT(n, 1u);
            break;
        }

        EXPECT_EQ(fresh->factored, 0);
        Orvel::factorSerial(*fresh);
        EXPECT_TRUE(support::sameFactors(*fresh, expected));
    }
}

TYPED_TEST(SolverAllocations, FailedGrowthLeavesASystemThatCanBeFactored)
{
    const auto expected = support::plainFactor(this->system);
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        OrvelData<TypeParam> grown;
        support::load(support::scalarSystem<TypeParam>({"X"}, {{4}}), grown);
        Orvel::factorSerial(grown);
        support::load(this->system, grown);

        const bool failed = support::failsOnAllocation(n, [&] { Orvel::factorSerial(grown); });
        if (!failed) {
            EXPECT_GT(n, 1u);
            break;
        }

        Orvel::factorSerial(grown);
        EXPECT_TRUE(support::sameFactors(grown, expected));
    }
}

TYPED_TEST(SolverAllocations, FailedUnitSolveLeavesTheRightHandSide)
{
    Orvel::factorSerial(*this->data);
    const std::vector<TypeParam> before = this->x;

    const bool failed =
        support::failsOnAllocation(1, [&] { Orvel::unitSolve(*this->data, this->x.data(), 0); });

    EXPECT_TRUE(failed);
    EXPECT_EQ(this->x, before);
}

TEST(RefinementAllocations, FailedCallLeavesX)
{
    const auto data = support::makeData(support::scalarSystem<double>({"X"}, {{4}}));
    const double b = 8;
    for (std::size_t n = 1; n <= 2; ++n) {
        double x = 1;
        EXPECT_TRUE(
            support::failsOnAllocation(n, [&] { Orvel::iterativeRefinement(*data, &b, &x, 3); }));
        EXPECT_EQ(x, 1.0);
    }
}

TEST(EstimateAllocations, FailedEstimateCanBeRepeated)
{
    const System<double> system = someSystem<double>();
    const auto reference = support::makeData(system);
    unsigned int expected = 0;
    const unsigned int fill = Orvel::estimateWork(*reference, &expected);
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        const auto data = support::makeData(system);
        unsigned int updates = 99;

        if (!support::failsOnAllocation(n, [&] { Orvel::estimateWork(*data, &updates); }))
            break;

        EXPECT_EQ(updates, 99u);
        EXPECT_EQ(Orvel::estimateWork(*data, &updates), fill);
        EXPECT_EQ(updates, expected);
    }
}

} // namespace
