// The data models of the ordering classes: the order and the width of every field, and what may be
// copied.

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Graph>
#include <kyrOrvel/Marks>
#include <kyrOrvel/Permutation>
#include <kyrOrvel/Reordering>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

using kyrOrvel::EliminationTree;
using kyrOrvel::Graph;
using kyrOrvel::Marks;
using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using kyrOrvel::Tree;

namespace {

using Word = unsigned int;
static_assert(sizeof(Word) == 4, "words have 32 bits");
static_assert(sizeof(unsigned short) == 2, "tags have 16 bits");

template <class Field, class Expected> constexpr bool is = std::is_same<Field, Expected>::value;

static_assert(std::is_standard_layout<Marks>::value, "offsetof needs it");
static_assert(is<decltype(Marks::flags), unsigned char*>, "Marks::flags");
static_assert(is<decltype(Marks::markedList), Word*>, "Marks::markedList");
static_assert(is<decltype(Marks::numMarked), Word>, "Marks::numMarked");
static_assert(is<decltype(Marks::size), Word>, "Marks::size");
static_assert(is<decltype(Marks::capacity), Word>, "Marks::capacity");
static_assert(offsetof(Marks, flags) == 0, "first field");
static_assert(offsetof(Marks, flags) < offsetof(Marks, markedList), "order of fields");
static_assert(offsetof(Marks, markedList) < offsetof(Marks, numMarked), "order of fields");
static_assert(offsetof(Marks, numMarked) < offsetof(Marks, size), "order of fields");
static_assert(offsetof(Marks, size) < offsetof(Marks, capacity), "order of fields");

static_assert(sizeof(Graph::Node) == 4, "a node record has 32 bits");
static_assert(is<decltype(Graph::Node::status), unsigned short>, "Node::status");
static_assert(is<decltype(Graph::Node::tag), unsigned short>, "Node::tag");
static_assert(offsetof(Graph::Node, status) == 0, "order of fields");
static_assert(offsetof(Graph::Node, tag) == 2, "order of fields");

static_assert(is<decltype(Graph::startNode), Word>, "Graph::startNode");
static_assert(is<decltype(Graph::numNodes), Word>, "Graph::numNodes");
static_assert(is<decltype(Graph::capacity), Word>, "Graph::capacity");
static_assert(is<decltype(Graph::nodes), Graph::Node*>, "Graph::nodes");
static_assert(is<decltype(Graph::adjacency), std::vector<Word>>, "Graph::adjacency");
static_assert(is<decltype(Graph::marks), Marks>, "Graph::marks");
static_assert(is<decltype(Graph::adjacencyStart), std::vector<Word>>, "Graph::adjacencyStart");
static_assert(is<decltype(Graph::degree), std::vector<Word>>, "Graph::degree");

static_assert(std::is_standard_layout<Permutation>::value, "offsetof needs it");
static_assert(is<decltype(Permutation::size), Word>, "Permutation::size");
static_assert(is<decltype(Permutation::capacity), Word>, "Permutation::capacity");
static_assert(is<decltype(Permutation::P), Word*>, "Permutation::P");
static_assert(is<decltype(Permutation::Pi), Word*>, "Permutation::Pi");
static_assert(offsetof(Permutation, size) == 0, "first field");
static_assert(offsetof(Permutation, size) < offsetof(Permutation, capacity), "order of fields");
static_assert(offsetof(Permutation, capacity) < offsetof(Permutation, P), "order of fields");
static_assert(offsetof(Permutation, P) < offsetof(Permutation, Pi), "order of fields");

static_assert(is<decltype(Tree::marks), Marks>, "Tree::marks");
static_assert(is<decltype(Tree::parent), Word*>, "Tree::parent");
static_assert(is<decltype(Tree::firstChild), Word*>, "Tree::firstChild");
static_assert(is<decltype(Tree::nextSibling), Word*>, "Tree::nextSibling");
static_assert(is<decltype(Tree::postOrder), Word*>, "Tree::postOrder");
static_assert(is<decltype(Tree::numNodes), Word>, "Tree::numNodes");
static_assert(is<decltype(Tree::capacity), Word>, "Tree::capacity");
static_assert(is<decltype(Tree::roots), std::vector<Word>>, "Tree::roots");

static_assert(std::is_base_of<Tree, EliminationTree>::value, "derived from Tree");
static_assert(std::is_convertible<EliminationTree*, Tree*>::value, "publicly");
static_assert(is<decltype(EliminationTree::ancestor), Word*>, "EliminationTree::ancestor");
static_assert(is<decltype(EliminationTree::setRank), Word*>, "EliminationTree::setRank");
static_assert(is<decltype(EliminationTree::auxIndices), std::vector<Word>>, "auxIndices");
static_assert(is<decltype(EliminationTree::fillIns), std::vector<Word>>, "fillIns");

// Owners of arrays are not copied, but for the trees.
template <class T>
constexpr bool isCopied = std::is_copy_constructible<T>::value&& std::is_copy_assignable<T>::value;
template <class T>
constexpr bool isNeverCopied =
    !std::is_copy_constructible<T>::value && !std::is_copy_assignable<T>::value;
static_assert(isNeverCopied<Marks>, "Marks");
static_assert(isNeverCopied<Graph>, "Graph");
static_assert(isNeverCopied<Permutation>, "Permutation");
static_assert(isCopied<Tree>, "Tree");
static_assert(isCopied<EliminationTree>, "EliminationTree");

static_assert(std::has_virtual_destructor<Tree>::value, "Tree is a base");
static_assert(is<decltype(&Tree::dfsHandleNode), bool (Tree::*)(Word, Word&, Graph&)>, "Tree");
static_assert(is<decltype(&EliminationTree::findRoot), Word (EliminationTree::*)(Word)>, "");
static_assert(is<decltype(&Graph::tagNeighbors), void (Graph::*)(Word, unsigned short)>, "");

// The orderings are free of object state.
static_assert(is<decltype(&Reordering::computeSymamdPermutation),
                 bool (*)(const SkeletonMatrix&, Permutation&, ScratchPad&)>,
              "computeSymamdPermutation");
static_assert(is<decltype(&Reordering::modifyPermutation),
                 void (*)(const SkeletonMatrix&, unsigned long, Permutation&)>,
              "modifyPermutation");
static_assert(is<decltype(&Reordering::zeroLeafSwap),
                 bool (*)(const SkeletonMatrix&, SkeletonMatrix&, EliminationTree&, unsigned long,
                          Permutation&, ScratchPad&)>,
              "zeroLeafSwap");

// The classes below are not of standard layout: the addresses of their fields are compared in an
// object.

template <class T> std::ptrdiff_t offsetIn(const void* object, const T& field)
{
    return reinterpret_cast<const char*>(&field) - static_cast<const char*>(object);
}

using Offsets = std::vector<std::ptrdiff_t>;

void expectAscending(const Offsets& offsets)
{
    for (std::size_t i = 1; i < offsets.size(); ++i)
        EXPECT_LT(offsets[i - 1], offsets[i]) << "field " << i;
}

template <class T> Offsets treeOffsets(const T& t)
{
    return {offsetIn(&t, t.marks),       offsetIn(&t, t.parent),    offsetIn(&t, t.firstChild),
            offsetIn(&t, t.nextSibling), offsetIn(&t, t.postOrder), offsetIn(&t, t.numNodes),
            offsetIn(&t, t.capacity),    offsetIn(&t, t.roots)};
}

TEST(OrderingLayout, GraphFieldsStandInTheirOrder)
{
    const Graph g;
    expectAscending({offsetIn(&g, g.startNode), offsetIn(&g, g.numNodes), offsetIn(&g, g.capacity),
                     offsetIn(&g, g.nodes), offsetIn(&g, g.adjacency), offsetIn(&g, g.marks),
                     offsetIn(&g, g.adjacencyStart), offsetIn(&g, g.degree)});
    EXPECT_EQ(offsetIn(&g, g.startNode), 0);
}

TEST(OrderingLayout, TreeFieldsStandInTheirOrderBehindTheTableOfOperations)
{
    const Tree t;
    expectAscending(treeOffsets(t));
    EXPECT_EQ(offsetIn(&t, t.marks), static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(OrderingLayout, EliminationTreeFieldsFollowThoseOfTheTree)
{
    const EliminationTree t;
    Offsets offsets = treeOffsets(t);
    for (const std::ptrdiff_t own : {offsetIn(&t, t.ancestor), offsetIn(&t, t.setRank),
                                     offsetIn(&t, t.auxIndices), offsetIn(&t, t.fillIns)})
        offsets.push_back(own);
    expectAscending(offsets);
    const Tree& base = t;
    EXPECT_EQ(static_cast<const void*>(&base), static_cast<const void*>(&t));
}

} // namespace
