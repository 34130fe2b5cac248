#include <kyrOrvel/Graph>

#include <kyrOrvel/Tree>

#include "detail/MarksOperations.h"

#include <cstddef>
#include <cstring>
#include <deque>

namespace kyrOrvel {

namespace {

constexpr unsigned int kInitialCapacity = 1024;
constexpr unsigned short kKind1 = 0x100;
constexpr unsigned short kKind2 = 0x200;
constexpr unsigned short kKindMask = 0x0F00;
constexpr unsigned short kStateMask = 0x000F;
constexpr unsigned short kDiscovered = 1;
constexpr unsigned short kVisited = 2;

void setState(Graph::Node& node, unsigned short state)
{
    node.status = static_cast<unsigned short>((node.status & ~kStateMask) | state);
}

/// The queue part of a breadth-first search.
class Search {
public:
    Search(Graph& graph, Tree& tree) : m_graph(graph), m_tree(tree) {}

    void addRoot(unsigned int root)
    {
        m_tree.roots.push_back(root);
        m_tree.parent[root] = root;
        m_queue.push_back(root);
        while (!m_queue.empty()) {
            const unsigned int v = m_queue.front();
            m_queue.pop_front();
            visit(v);
        }
    }

private:
    void visit(unsigned int v)
    {
        setState(m_graph.nodes[v], kVisited);
        for (unsigned int e = m_graph.adjacencyStart[v]; e < m_graph.adjacencyStart[v + 1]; ++e) {
            const unsigned int u = m_graph.adjacency[e];
            if ((m_graph.nodes[u].status & kStateMask) != 0 || !admits(u))
                continue;
            setState(m_graph.nodes[u], kDiscovered);
            detail::setMark(m_graph.marks, e, 1);
            m_queue.push_back(u);
            m_tree.parent[u] = v;
        }
    }

    /// Counts a sighting of u. A node of kind 2 joins only when one neighbour is left to see it.
    bool admits(unsigned int u)
    {
        if (u < m_graph.startNode)
            return true;
        ++m_graph.nodes[u].tag;
        const unsigned int degree = m_graph.adjacencyStart[u + 1] - m_graph.adjacencyStart[u];
        return degree == m_graph.nodes[u].tag + 1u;
    }

    Graph& m_graph;
    Tree& m_tree;
    std::deque<unsigned int> m_queue;
};

} // namespace

Graph::Graph()
{
    allocateMemory(kInitialCapacity);
}

Graph::~Graph()
{
    releaseMemory();
}

void Graph::allocateMemory(unsigned int n)
{
    // The records come last: if anything throws, the capacity still speaks of what is there.
    adjacencyStart.resize(static_cast<std::size_t>(n) + 1);
    degree.resize(n);
    adjacency.reserve(3 * static_cast<std::size_t>(n));
    Node* const allocation = new Node[static_cast<std::size_t>(n) + 1];
    std::memcpy(allocation, &n, sizeof n);
    nodes = allocation + 1;
    capacity = n;
    for (unsigned int i = 0; i < n; ++i)
        nodes[i] = Node{kKind1, 0};
}

void Graph::releaseMemory()
{
    if (nodes)
        delete[](nodes - 1);
    nodes = nullptr;
}

void Graph::rebuild(const SkeletonMatrix& S, unsigned int firstOfKind2)
{
    const unsigned int n = S.numBlockRows;
    if (n > capacity || !nodes) {
        releaseMemory();
        allocateMemory((n + 511) & ~511u);
    }
    numNodes = n;
    startNode = firstOfKind2;
    adjacency.resize(n == 0 ? 0 : 2 * static_cast<std::size_t>(S.rowStart[n]));
    for (unsigned int i = 0; i < n; ++i) {
        nodes[i] = Node{i < startNode ? kKind1 : kKind2, 0};
        degree[i] = 0;
    }
    countNeighbors(S);
    adjacencyStart[0] = 0;
    for (unsigned int i = 0; i < n; ++i)
        adjacencyStart[i + 1] = adjacencyStart[i] + degree[i];
    detail::growMarks(marks, adjacencyStart[n]);
    fillNeighbors(S);
}

void Graph::countNeighbors(const SkeletonMatrix& S)
{
    for (unsigned int i = startNode; i < numNodes; ++i) {
        for (unsigned int e = S.rowStart[i]; e + 1 < S.rowStart[i + 1]; ++e) {
            ++degree[i];
            ++degree[S.columnIndices[e]];
        }
    }
}

void Graph::fillNeighbors(const SkeletonMatrix& S)
{
    for (unsigned int i = startNode; i < numNodes; ++i) {
        for (unsigned int e = S.rowStart[i]; e + 1 < S.rowStart[i + 1]; ++e) {
            const unsigned int j = S.columnIndices[e];
            adjacency[adjacencyStart[i + 1] - degree[i]--] = j;
            adjacency[adjacencyStart[j + 1] - degree[j]--] = i;
        }
    }
}

void Graph::tagNeighbors(unsigned int v, unsigned short tag)
{
    for (unsigned int e = adjacencyStart[v]; e < adjacencyStart[v + 1]; ++e)
        nodes[adjacency[e]].tag = tag;
}

void Graph::breadthFirstSearch(unsigned int start, Tree& tree)
{
    prepareSearch(tree);
    Search search(*this, tree);
    search.addRoot(start);
    for (unsigned int i = 0; i < numNodes; ++i)
        if (tree.parent[i] == kNone)
            search.addRoot(i);
}

void Graph::prepareSearch(Tree& tree)
{
    // rebuild() has made room for every edge; the set now speaks of a search over the nodes.
    detail::emptyMarks(marks);
    detail::growMarks(marks, numNodes);
    for (unsigned int i = 0; i < numNodes; ++i)
        nodes[i].status = static_cast<unsigned short>(nodes[i].status & kKindMask);
    if (tree.capacity < numNodes) {
        tree.releaseMemory();
        tree.allocateMemory(numNodes);
    }
    tree.numNodes = numNodes;
    tree.clear();
    for (unsigned int i = 0; i < numNodes; ++i)
        tree.parent[i] = kNone;
}

void Graph::print() const
{
}

} // namespace kyrOrvel
