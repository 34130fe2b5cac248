#include "support/Forests.h"
#include "support/Patterns.h"

#include <kyrOrvel/Graph>

#include <gtest/gtest.h>

#include <cstring>

using kyrOrvel::Graph;
using support::Words;

namespace {

unsigned int countWord(const Graph& graph)
{
    unsigned int count;
    std::memcpy(&count, graph.nodes - 1, sizeof count);
    return count;
}

Words tags(const Graph& graph)
{
    Words values;
    for (unsigned int i = 0; i < graph.numNodes; ++i)
        values.push_back(graph.nodes[i].tag);
    return values;
}

TEST(Graph, NewGraphHasRoomFor1024NodesAndHoldsNone)
{
    const Graph graph;

    EXPECT_EQ(graph.startNode, 0u);
    EXPECT_EQ(graph.numNodes, 0u);
    EXPECT_EQ(graph.capacity, 1024u);
    EXPECT_TRUE(graph.adjacency.empty());
    EXPECT_EQ(graph.adjacencyStart, Words(1025, 0));
    EXPECT_EQ(graph.degree, Words(1024, 0));
    EXPECT_EQ(graph.marks.flags, nullptr);
    EXPECT_EQ(graph.marks.markedList, nullptr);
    EXPECT_EQ(graph.marks.numMarked, 0u);
    EXPECT_EQ(graph.marks.size, 0u);
    EXPECT_EQ(graph.marks.capacity, 0u);
}

TEST(Graph, AllocatedRecordsAreOrdinaryUnvisitedAndUntagged)
{
    const Graph graph;

    ASSERT_NE(graph.nodes, nullptr);
    for (unsigned int i = 0; i < 1024; ++i) {
        ASSERT_EQ(graph.nodes[i].status, 0x100) << i;
        ASSERT_EQ(graph.nodes[i].tag, 0) << i;
    }
}

TEST(Graph, WordBeforeTheRecordsHoldsTheirCount)
{
    Graph graph;
    EXPECT_EQ(countWord(graph), 1024u);

    graph.releaseMemory();
    graph.allocateMemory(70000);

    EXPECT_EQ(countWord(graph), 70000u);
}

TEST(Graph, AllocateSizesTheIndexArraysAndReservesThreeNeighboursPerNode)
{
    Graph graph;
    graph.releaseMemory();

    graph.allocateMemory(2000);

    EXPECT_EQ(graph.capacity, 2000u);
    EXPECT_EQ(graph.adjacencyStart.size(), 2001u);
    EXPECT_EQ(graph.degree.size(), 2000u);
    EXPECT_TRUE(graph.adjacency.empty());
    EXPECT_GE(graph.adjacency.capacity(), 6000u);
}

TEST(Graph, AllocateKeepsOldIndexEntriesAndZeroesNewOnes)
{
    Graph graph;
    graph.releaseMemory();
    graph.allocateMemory(2);
    graph.degree = {5, 6};
    graph.adjacencyStart = {7, 8, 9};

    graph.releaseMemory();
    graph.allocateMemory(4);

    EXPECT_EQ(graph.degree, (Words{5, 6, 0, 0}));
    EXPECT_EQ(graph.adjacencyStart, (Words{7, 8, 9, 0, 0}));
}

TEST(Graph, AllocateLeavesOlderRecordsToTheCaller)
{
    Graph graph;
    Graph::Node* const older = graph.nodes;
    older[3].tag = 33;

    graph.allocateMemory(8);

    EXPECT_NE(graph.nodes, older);
    EXPECT_EQ(older[3].tag, 33);
    delete[](older - 1);
}

TEST(Graph, ReleaseFreesTheRecordsAndKeepsTheRest)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.rebuild(*S, 1);
    const unsigned char* const flags = graph.marks.flags;

    graph.releaseMemory();

    EXPECT_EQ(graph.nodes, nullptr);
    EXPECT_EQ(graph.adjacency.size(), 6u);
    EXPECT_EQ(graph.adjacencyStart.size(), 1025u);
    EXPECT_EQ(graph.degree.size(), 1024u);
    EXPECT_EQ(graph.marks.flags, flags);
    EXPECT_EQ(graph.marks.size, 2u);
}

TEST(Graph, ReleaseOfAReleasedGraphDoesNothing)
{
    Graph graph;

    graph.releaseMemory();
    graph.releaseMemory();

    EXPECT_EQ(graph.nodes, nullptr);
}

TEST(Graph, TagNeighborsTagsTheNeighboursAndNobodyElse)
{
    // X
    // . X
    // X . X
    // . X . X
    // X . X . X      block 4 couples to 0 and 2
    const auto S = support::drawSkeleton({"X", ". X", "X . X", ". X . X", "X . X . X"});
    Graph graph;
    graph.rebuild(*S, 2);

    graph.tagNeighbors(4, 5);

    EXPECT_EQ(tags(graph), (Words{5, 0, 5, 0, 0}));
}

TEST(Graph, TagNeighborsReplacesAnEarlierTag)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.rebuild(*S, 1);

    graph.tagNeighbors(0, 0xFFFF);
    EXPECT_EQ(tags(graph), (Words{0, 0xFFFF}));
    graph.tagNeighbors(0, 0);
    EXPECT_EQ(tags(graph), (Words{0, 0}));
}

TEST(Graph, TagNeighborsOfAnIsolatedNodeTagsNobody)
{
    // X
    // . X
    // X . X
    const auto S = support::drawSkeleton({"X", ". X", "X . X"});
    Graph graph;
    graph.rebuild(*S, 2);

    graph.tagNeighbors(1, 5);

    EXPECT_EQ(tags(graph), (Words{0, 0, 0}));
}

TEST(Graph, TagNeighborsKeepsTheStatus)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.rebuild(*S, 1);

    graph.tagNeighbors(0, 9);
    graph.tagNeighbors(1, 9);

    EXPECT_EQ(graph.nodes[0].status, 0x100);
    EXPECT_EQ(graph.nodes[1].status, 0x200);
}

TEST(Graph, PrintWritesNothing)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.rebuild(*S, 1);

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    graph.print();

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
