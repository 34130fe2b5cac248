// The state that a schedule prepares for the factorization.

#include "Problem.h"

#include "support/Scalars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using kyrOrvel::OrvelData;
using kyrOrvel::client::Schedule;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::SyncMode;
using kyrOrvel::client::TreeMapping;
using kyrOrvel::client::workPerNode;
using support::Problem;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// A stretch of storage that somebody holds.
template <class T> using Range = std::pair<const T*, std::size_t>;

/// The ranges lie one after the other and fill the storage.
template <class T> void expectTiling(std::vector<Range<T>> ranges, const T* storage, std::size_t n)
{
    std::sort(ranges.begin(), ranges.end());
    std::size_t used = 0;
    for (const auto& [begin, length] : ranges) {
        ASSERT_EQ(begin, storage + used);
        used += length;
    }
    ASSERT_EQ(used, n);
}

template <class T> class ScheduleOf : public testing::Test {
protected:
    static void expectPrepared(const Problem<T>& problem)
    {
        const auto& manager = problem.data.multifront;
        const Rows columns = support::columnsOf(problem.system.factorRows);
        const Words parents = problem.parents();
        const std::vector<unsigned char>& owner = problem.mapping.owner;
        const auto& sizes = problem.system.sizes;
        std::vector<Range<T>> fronts;
        std::vector<Range<T>> updates;
        ASSERT_EQ(manager.numNodes, columns.size());
        EXPECT_EQ(manager.assignment, problem.mapping.assignment);
        for (unsigned int k = 0; k < columns.size(); ++k) {
            SCOPED_TRACE(k);
            const auto& node = manager.nodes[k];
            EXPECT_EQ(node.parent, parents[k]);
            EXPECT_EQ(node.owner, owner[k]);
            EXPECT_EQ(node.done, 0);
            ASSERT_EQ(node.front->size(), columns[k].size());
            for (std::size_t i = 0; i < columns[k].size(); ++i)
                fronts.emplace_back((*node.front)[i], std::size_t(sizes[columns[k][i]]) * sizes[k]);
            bool gather = false;
            for (unsigned int c = 0; c < k; ++c)
                gather = gather || (parents[c] == k && owner[c] != owner[k]);
            EXPECT_EQ(node.gather != 0, gather);
            const bool border = owner[parents[k]] != owner[k];
            ASSERT_EQ(node.updates != nullptr, border);
            if (!border)
                continue;
            ASSERT_NE(node.sync, nullptr);
            std::size_t e = 0;
            for (std::size_t i = 1; i < columns[k].size(); ++i)
                for (std::size_t j = i; j < columns[k].size(); ++j, ++e) {
                    ASSERT_LT(e, node.updates->size());
                    const auto& entry = (*node.updates)[e];
                    EXPECT_EQ(entry.row, columns[k][j]);
                    EXPECT_EQ(entry.column, columns[k][i]);
                    updates.emplace_back(entry.data,
                                         std::size_t(sizes[entry.row]) * sizes[entry.column]);
                }
            EXPECT_EQ(e, node.updates->size());
        }
        expectTiling(fronts, manager.frontStorage, manager.frontStorageSize);
        expectTiling(updates, manager.updateStorage, manager.updateStorageSize);
    }
};
TYPED_TEST_SUITE(ScheduleOf, support::Scalars);

TYPED_TEST(ScheduleOf, AnyTreeAndOwnersHoldsEveryFrontBlockAndEveryPairOfAncestors)
{
    for (unsigned int seed = 1; seed <= 8; ++seed)
        for (const std::string& shape : support::shapes()) {
            SCOPED_TRACE(shape + " " + std::to_string(seed));
            Random random(seed);
            const Words parents = support::tree(shape, random, random.integer(1, 40));
            Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, parents, 1, 4));
            for (const unsigned int owners : {1u, 2u, 5u, 64u}) {
                problem.map(owners);
                this->expectPrepared(problem);
                problem.use(support::listedOneByOne(
                    support::randomOwners(random, parents.size(), owners), owners));
                this->expectPrepared(problem);
            }
        }
}

TYPED_TEST(ScheduleOf, BordersWaitsAsAsked)
{
    Random random(2);
    Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, support::star(5), 1, 2));
    problem.use(support::listedOneByOne({0, 1, 2, 0, 1}, 3));
    for (const SyncMode mode : {SyncMode::Spinning, SyncMode::Blocking}) {
        problem.build(mode);
        for (const unsigned int leaf : {0u, 2u, 3u}) {
            const kyr::NodeSync& sync = *problem.data.multifront.nodes[leaf].sync;
            EXPECT_EQ(sync.mutex.spinning != 0, mode == SyncMode::Spinning);
            EXPECT_EQ(sync.condition.spinning != 0, mode == SyncMode::Spinning);
        }
        EXPECT_EQ(problem.data.multifront.nodes[1].sync, nullptr); // of the root's own thread
    }
}

/// A pattern in which every column has all rows after it that the drawing names, without a matrix.
template <class T> void setPattern(OrvelData<T>& data, const Rows& factorRows)
{
    support::setFactorPattern(data, factorRows);
    data.eliminationTree.computeTreeStructure();
    support::setColumnPattern(data.columnPattern, support::columnsOf(factorRows));
}

TYPED_TEST(ScheduleOf, AFrontBeyond32BitsIsTooLarge)
{
    // X        sizes 65536, 1: 65536² + 65536 scalars
    // X X
    OrvelData<TypeParam> data;
    setPattern(data, support::drawnRows({"X", "X X"}));
    Schedule<TypeParam> schedule;

    const Status status =
        schedule.build(support::listedOneByOne({0, 0}, 1), {65536, 1}, SyncMode::Blocking, data);

    EXPECT_EQ(status.code, StatusCode::TooLarge);
    EXPECT_EQ(status.message, "the fronts need 4295032833 scalars and the updates 0, more than the "
                              "solver can count to; factor serially or with fewer threads");
}

TYPED_TEST(ScheduleOf, UpdatesBeyond32BitsAreTooLarge)
{
    // X          sizes 1, 1, 60000; two updates of 60000² scalars each
    // . X
    // X X X
    OrvelData<TypeParam> data;
    setPattern(data, support::drawnRows({"X", ". X", "X X X"}));
    Schedule<TypeParam> schedule;

    const Status status = schedule.build(support::listedOneByOne({0, 1, 2}, 3), {1, 1, 60000},
                                         SyncMode::Blocking, data);

    EXPECT_EQ(status.code, StatusCode::TooLarge);
    EXPECT_EQ(status.message,
              "the fronts need 3600120002 scalars and the updates 7200000000, more than the solver "
              "can count to; factor serially or with fewer threads");
}

TEST(WorkPerNode, CountsArithmeticAndALittleForEveryBlock)
{
    // X . .    sizes 2, 3, 1; column 0 has rows 1 and 2 below it, column 1 row 2.
    // X X .
    // X X X
    OrvelData<double> data;
    setPattern(data, support::drawnRows({"X", "X X", "X X X"}));

    const std::vector<std::uint64_t> expected = {
        100 + 2 * 10 + 3 * 28 + 2 * (4 * 4 + 3 * 3 + 1 * 1) / 2 + 3 * 2 * 2 * (2 + 4),
        100 + 10 + 28 + 3 * (1 * 1 + 1 * 1) / 2 + 3 * 3 * 3 * (3 + 1),
        100 + 3 * 1,
    };
    EXPECT_EQ(workPerNode(data.columnPattern, {2, 3, 1}), expected);
}

} // namespace
