#include "support/Allocations.h"
#include "support/Patterns.h"

#include <kyrOrvel/Graph>

#include <gtest/gtest.h>

using kyrOrvel::Graph;

namespace {

TEST(GraphAllocations, RebuildOfUpTo1024NodesAllocatesNothing)
{
    support::Rows rows(1024);
    for (unsigned int i = 0; i < 1024; ++i)
        rows[i] = {i};
    const auto S = support::makeSkeleton(rows);
    Graph graph;
    const support::AllocationCount count;

    graph.rebuild(*S, 1024);

    EXPECT_EQ(count.allocations(), 0u);
}

} // namespace
