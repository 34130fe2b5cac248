// What the check of the pivots makes of noise, on factors whose pivots are given.

#include "numeric/PivotCheck.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using kyrOrvel::client::PivotCheck;
using kyrOrvel::client::PivotFailure;
using Kind = PivotFailure<double>::Kind;

namespace {

/// A body of mass 1 and a constraint with a diagonal of its own, whose pivot is replaced.
std::unique_ptr<OrvelData<double>> bodyAndConstraint(double diagonal, double pivot)
{
    support::System<double> system;
    system.sizes = {1, 1};
    system.rows = system.factorRows = {{0}, {0, 1}};
    system.blocks[{0, 0}] = {1};
    system.blocks[{1, 0}] = {1};
    system.blocks[{1, 1}] = {diagonal};
    auto data = support::makeData(system);
    data->eliminationTree.computeTreeStructure();
    Orvel::factorSerial(*data);
    data->pivots.data[1] = pivot;
    return data;
}

PivotFailure<double> check(const OrvelData<double>& data)
{
    PivotCheck<double> check;
    const std::vector<unsigned int> order{0, 1};
    check.prepare(data, order, 1, nullptr);
    kyrOrvel::client::PivotDemands demands;
    demands.signs = true;
    return check.run(data, order, 1, demands);
}

// With a compliance the exact pivot is negative: what is not can only be noise, however large.
TEST(NoiseInPivots, PositiveOneOfACompliantConstraintIsLost)
{
    EXPECT_EQ(check(*bodyAndConstraint(-1e-9, 1e-6)).kind, Kind::Lost);
}

TEST(NoiseInPivots, PositiveOneOfAConstraintWithAPositiveDiagonalHasTheWrongSign)
{
    EXPECT_EQ(check(*bodyAndConstraint(1e-9, 1e-6)).kind, Kind::WrongSign);
}

TEST(NoiseInPivots, ComplianceThatIsThereIsRead)
{
    const auto data = bodyAndConstraint(-0.25, 1e-6);
    PivotFailure<double> failure;
    failure.position = 1;

    EXPECT_EQ(PivotCheck<double>().complianceOf(*data, failure), 0.25);
    failure.position = 0;
    EXPECT_EQ(PivotCheck<double>().complianceOf(*data, failure), 0.0);
}

} // namespace
