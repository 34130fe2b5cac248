#include "support/Forests.h"
#include "support/Patterns.h"

#include <kyrOrvel/Graph>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <memory>

using kyrOrvel::Graph;
using kyrOrvel::SkeletonMatrix;
using kyrOrvel::Tree;
using support::Words;

namespace {

Words neighbors(const Graph& graph, unsigned int v)
{
    return Words(graph.adjacency.begin() + graph.adjacencyStart[v],
                 graph.adjacency.begin() + graph.adjacencyStart[v + 1]);
}

Words statuses(const Graph& graph)
{
    Words values;
    for (unsigned int i = 0; i < graph.numNodes; ++i)
        values.push_back(graph.nodes[i].status);
    return values;
}

std::unique_ptr<SkeletonMatrix> diagonal(unsigned int n)
{
    support::Rows rows(n);
    for (unsigned int i = 0; i < n; ++i)
        rows[i] = {i};
    return support::makeSkeleton(rows);
}

TEST(GraphRebuild, ListHoldsTheOwnRowThenTheLaterRowsBothAscending)
{
    // X
    // . X
    // X X X
    // X . X X
    // . . X . X
    const auto S = support::drawSkeleton({"X", ". X", "X X X", "X . X X", ". . X . X"});
    Graph graph;

    graph.rebuild(*S, 0);

    EXPECT_EQ(neighbors(graph, 0), (Words{2, 3}));
    EXPECT_EQ(neighbors(graph, 1), (Words{2}));
    EXPECT_EQ(neighbors(graph, 2), (Words{0, 1, 3, 4}));
    EXPECT_EQ(neighbors(graph, 3), (Words{0, 2}));
    EXPECT_EQ(neighbors(graph, 4), (Words{2}));
}

TEST(GraphRebuild, EdgesBetweenOrdinaryBlocksAreLeftOut)
{
    // X
    // X X            both ordinary: no edge
    // X . X
    // . X X X        3 - 2: both trailing
    const auto S = support::drawSkeleton({"X", "X X", "X . X", ". X X X"});
    Graph graph;

    graph.rebuild(*S, 2);

    EXPECT_EQ(neighbors(graph, 0), (Words{2}));
    EXPECT_EQ(neighbors(graph, 1), (Words{3}));
    EXPECT_EQ(neighbors(graph, 2), (Words{0, 3}));
    EXPECT_EQ(neighbors(graph, 3), (Words{1, 2}));
}

TEST(GraphRebuild, StartNodeZeroListsEveryEntryInBothEndpoints)
{
    // X
    // X X
    // X X X
    const auto S = support::drawSkeleton({"X", "X X", "X X X"});
    Graph graph;

    graph.rebuild(*S, 0);

    EXPECT_EQ(graph.adjacencyStart[3], 6u);
    EXPECT_EQ(neighbors(graph, 0), (Words{1, 2}));
    EXPECT_EQ(neighbors(graph, 1), (Words{0, 2}));
    EXPECT_EQ(neighbors(graph, 2), (Words{0, 1}));
}

TEST(GraphRebuild, StartNodeAtTheNodeCountLeavesNoEdges)
{
    // X
    // X X
    // X X X
    const auto S = support::drawSkeleton({"X", "X X", "X X X"});
    Graph graph;

    graph.rebuild(*S, 3);

    EXPECT_EQ(support::words(graph.adjacencyStart.data(), 4), Words(4, 0));
    EXPECT_EQ(support::words(graph.degree.data(), 3), Words(3, 0));
    EXPECT_EQ(statuses(graph), Words(3, 0x100));
}

TEST(GraphRebuild, StartNodeBeyondTheNodeCountLeavesNoEdges)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;

    graph.rebuild(*S, 0xFFFFFFFFu);

    EXPECT_EQ(graph.startNode, 0xFFFFFFFFu);
    EXPECT_EQ(support::words(graph.adjacencyStart.data(), 3), Words(3, 0));
    EXPECT_EQ(statuses(graph), Words(2, 0x100));
}

TEST(GraphRebuild, CountsAndKindsFollowThePattern)
{
    // X
    // . X
    // X . X
    const auto S = support::drawSkeleton({"X", ". X", "X . X"});
    Graph graph;

    graph.rebuild(*S, 1);

    EXPECT_EQ(graph.numNodes, 3u);
    EXPECT_EQ(graph.startNode, 1u);
    EXPECT_EQ(statuses(graph), (Words{0x100, 0x200, 0x200}));
}

TEST(GraphRebuild, AdjacencyHasTwoEntriesPerEntryOfThePattern)
{
    // X
    // X X
    // . X X         5 entries; the edge 1 - 0 is not in the graph
    const auto S = support::drawSkeleton({"X", "X X", ". X X"});
    Graph graph;

    graph.rebuild(*S, 2);

    EXPECT_EQ(graph.adjacency, (Words{2, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(support::words(graph.adjacencyStart.data(), 4), (Words{0, 0, 1, 2}));
}

TEST(GraphRebuild, DegreesEndAtZero)
{
    // X
    // X X
    // X X X
    const auto S = support::drawSkeleton({"X", "X X", "X X X"});
    Graph graph;
    graph.degree[0] = 7; // left by anybody

    graph.rebuild(*S, 0);

    EXPECT_EQ(graph.degree, Words(1024, 0));
    EXPECT_EQ(neighbors(graph, 0), (Words{1, 2}));
}

TEST(GraphRebuild, RebuildForgetsTagsStatesAndEdgesOfTheLastPattern)
{
    // X
    // X X
    // X X X
    const auto S = support::drawSkeleton({"X", "X X", "X X X"});
    // X
    // . X
    // . X X
    const auto next = support::drawSkeleton({"X", ". X", ". X X"});
    Graph graph;
    graph.rebuild(*S, 0);
    graph.tagNeighbors(0, 4);
    graph.nodes[1].status = 0x202;

    graph.rebuild(*next, 2);

    EXPECT_EQ(statuses(graph), (Words{0x100, 0x100, 0x200}));
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(graph.nodes[i].tag, 0) << i;
    EXPECT_EQ(neighbors(graph, 0), Words());
    EXPECT_EQ(neighbors(graph, 1), (Words{2}));
    EXPECT_EQ(neighbors(graph, 2), (Words{1}));
}

TEST(GraphRebuild, PatternWithoutRowsLeavesAnEmptyGraph)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    const SkeletonMatrix empty; // holds no arrays
    Graph graph;
    graph.rebuild(*S, 0);

    graph.rebuild(empty, 0);

    EXPECT_EQ(graph.numNodes, 0u);
    EXPECT_TRUE(graph.adjacency.empty());
    EXPECT_EQ(graph.adjacencyStart[0], 0u);
    EXPECT_EQ(graph.marks.size, 0u);
}

TEST(GraphRebuild, UpTo1024NodesFitTheFirstAllocation)
{
    Graph graph;
    const Graph::Node* const nodes = graph.nodes;

    graph.rebuild(*diagonal(1024), 1024);

    EXPECT_EQ(graph.nodes, nodes);
    EXPECT_EQ(graph.capacity, 1024u);
    EXPECT_EQ(graph.numNodes, 1024u);
}

TEST(GraphRebuild, RecordsGrowToTheNextMultipleOf512)
{
    Graph graph;

    graph.rebuild(*diagonal(1025), 1000);
    EXPECT_EQ(graph.capacity, 1536u);
    EXPECT_EQ(graph.adjacencyStart.size(), 1537u);
    EXPECT_EQ(graph.degree.size(), 1536u);
    EXPECT_EQ(graph.nodes[999].status, 0x100);
    EXPECT_EQ(graph.nodes[1024].status, 0x200);
    EXPECT_EQ(graph.nodes[1535].status, 0x100); // not in use

    graph.rebuild(*diagonal(2048), 0);
    EXPECT_EQ(graph.capacity, 2048u);
}

TEST(GraphRebuild, SmallerPatternKeepsTheRecords)
{
    Graph graph;
    graph.rebuild(*diagonal(1025), 0);
    const Graph::Node* const nodes = graph.nodes;

    graph.rebuild(*diagonal(1536), 0);
    EXPECT_EQ(graph.nodes, nodes);
    graph.rebuild(*diagonal(2), 0);
    EXPECT_EQ(graph.nodes, nodes);
    EXPECT_EQ(graph.capacity, 1536u);
    EXPECT_EQ(graph.numNodes, 2u);
}

TEST(GraphRebuild, ReleasedRecordsAreMadeAnewForAnySize)
{
    // X
    // X X
    const auto S = support::drawSkeleton({"X", "X X"});
    Graph graph;
    graph.releaseMemory();

    graph.rebuild(*S, 1);

    ASSERT_NE(graph.nodes, nullptr);
    EXPECT_EQ(statuses(graph), (Words{0x100, 0x200}));
    EXPECT_EQ(neighbors(graph, 0), (Words{1}));
}

TEST(GraphRebuild, MarksOfASearchAreKept)
{
    // X
    // . X
    // X X X         the edges 0 - 2 and 2 - 1, at 0 and 3 of the lists 2 | 2 | 0 1
    const auto S = support::drawSkeleton({"X", ". X", "X X X"});
    Graph graph;
    graph.rebuild(*S, 2);
    Tree tree;
    graph.breadthFirstSearch(0, tree);

    graph.rebuild(*S, 2);

    EXPECT_EQ(graph.marks.numMarked, 2u);
    EXPECT_EQ(support::words(graph.marks.markedList, 2), (Words{0, 3}));
    EXPECT_EQ(Words(graph.marks.flags, graph.marks.flags + 4), (Words{1, 0, 0, 1}));
    EXPECT_EQ(graph.marks.size, 4u);
}

TEST(GraphRebuild, MarksCoverTheEdgesAndGrowOnlyWhenTheyMust)
{
    // X
    // X X
    // X X X
    const auto three = support::drawSkeleton({"X", "X X", "X X X"});
    // X
    // X X
    const auto one = support::drawSkeleton({"X", "X X"});
    Graph graph;

    graph.rebuild(*three, 0);
    EXPECT_EQ(graph.marks.size, 6u);
    EXPECT_EQ(graph.marks.capacity, 6u);
    const unsigned char* const flags = graph.marks.flags;

    graph.rebuild(*one, 0);
    EXPECT_EQ(graph.marks.size, 2u);
    EXPECT_EQ(graph.marks.capacity, 6u);
    EXPECT_EQ(graph.marks.flags, flags);
}

} // namespace
