#include <kyrOrvel/Graph>
#include <kyrOrvel/Tree>

#include "detail/MarksOperations.h"

#include <algorithm>
#include <deque>

namespace kyrOrvel {

namespace {

constexpr unsigned char kEntered = 1;
constexpr unsigned char kFinished = 2;

using Stack = std::deque<int>;

void enter(Tree& tree, Stack& stack, unsigned int node)
{
    detail::setMark(tree.marks, node, kEntered);
    stack.push_back(static_cast<int>(node));
}

/// Pushes a family in list order, so that its last member is explored first.
void enterFamily(Tree& tree, Stack& stack, unsigned int firstChild)
{
    enter(tree, stack, firstChild);
    for (unsigned int s = tree.nextSibling[firstChild]; s != kNone && tree.marks.flags[s] == 0;
         s = tree.nextSibling[s])
        enter(tree, stack, s);
}

/// Numbers the tree below `root`. The first child lies deepest among its family, so a node whose
/// first child is finished has all children finished. One that the caller marked counts as finished
/// in any state: entered again, it could be listed beyond the room for marks.
void postOrderTree(Tree& tree, unsigned int root, unsigned int& counter)
{
    Stack stack;
    enter(tree, stack, root);
    while (!stack.empty()) {
        const auto top = static_cast<unsigned int>(stack.back());
        const unsigned int child = tree.firstChild[top];
        if (child == kNone || tree.marks.flags[child] != 0) {
            stack.pop_back();
            tree.marks.flags[top] = kFinished;
            tree.postOrder[top] = counter++;
        } else {
            enterFamily(tree, stack, child);
        }
    }
}

bool isOrdinary(const Graph& graph, unsigned int node)
{
    return (graph.nodes[node].status & 0x0F00) == 0x0100;
}

} // namespace

void Tree::computePostOrder()
{
    unsigned int counter = 0;
    for (const unsigned int root : roots)
        if (marks.flags[root] == 0 && parent[root] == root)
            postOrderTree(*this, root, counter);
    std::fill_n(marks.flags, marks.capacity, static_cast<unsigned char>(0));
    marks.numMarked = 0;
}

void Tree::computeSafePostOrder(Graph& graph)
{
    std::fill_n(postOrder, numNodes, kNone);
    for (unsigned int i = 0; i < graph.numNodes; ++i)
        graph.nodes[i].tag = i < graph.startNode ? 1 : 0;
    unsigned int counter = 0;
    for (const unsigned int root : roots)
        dfsHandleNode(root, counter, graph);
}

bool Tree::dfsHandleNode(unsigned int node, unsigned int& counter, Graph& graph)
{
    if (!handleChildren(node, counter, graph)) {
        // A child waits for a safe neighbour: place this node first, it may be the one.
        graph.tagNeighbors(node, 1);
        postOrder[node] = counter++;
        revisitChildren(node, counter, graph);
    }
    if (postOrder[node] != kNone)
        return true;
    if (graph.nodes[node].tag != 0) {
        postOrder[node] = counter++;
    } else {
        const unsigned int p = parent[node];
        const unsigned int eldest = firstChild[p]; // none for a root that is its own parent
        if (eldest != kNone && nextSibling[eldest] != kNone)
            return false;
        // An only child changes places with its parent.
        postOrder[p] = counter;
        postOrder[node] = counter + 1;
        counter += 2;
        graph.tagNeighbors(p, 1);
    }
    if (isOrdinary(graph, node))
        graph.tagNeighbors(node, 1);
    return true;
}

bool Tree::handleChildren(unsigned int node, unsigned int& counter, Graph& graph)
{
    bool complete = true;
    for (unsigned int c = firstChild[node]; c != kNone; c = nextSibling[c])
        complete = dfsHandleNode(c, counter, graph) && complete;
    return complete;
}

void Tree::revisitChildren(unsigned int node, unsigned int& counter, Graph& graph)
{
    for (unsigned int c = firstChild[node]; c != kNone; c = nextSibling[c])
        if (postOrder[c] == kNone)
            dfsHandleNode(c, counter, graph);
}

} // namespace kyrOrvel
