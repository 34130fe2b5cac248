#include "support/Forests.h"
#include "support/Orderings.h"

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Permutation>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <string>

using kyrOrvel::EliminationTree;
using kyrOrvel::kNone;
using kyrOrvel::Permutation;
using kyrOrvel::Tree;

namespace {

template <class T> std::string printed(const T& object)
{
    testing::internal::CaptureStdout();
    object.print();
    return testing::internal::GetCapturedStdout();
}

TEST(OrderingTables, Tree)
{
    // 3 over 0 and 2; 1 alone
    Tree tree;
    support::setForest(tree, {3, 1, 3, 3});
    tree.computePostOrder();

    EXPECT_EQ(printed(tree), "Sets (4):\n"
                             "Node\tParent\t1.chld\tSibl.\tPost Ordering\n"
                             "0\t3\t-1\t2\t2\n"
                             "1\t1\t-1\t-1\t0\n"
                             "2\t3\t-1\t-1\t1\n"
                             "3\t3\t0\t-1\t3\n");
}

TEST(OrderingTables, TreeShowsAMissingParentUnsignedAndAMissingRankSigned)
{
    Tree tree;
    tree.allocateMemory(1);
    tree.numNodes = 1;
    tree.parent[0] = kNone;
    tree.postOrder[0] = kNone;

    EXPECT_EQ(printed(tree), "Sets (1):\n"
                             "Node\tParent\t1.chld\tSibl.\tPost Ordering\n"
                             "0\t4294967295\t-1\t-1\t-1\n");
}

TEST(OrderingTables, EmptyTree)
{
    EXPECT_EQ(printed(Tree()), "Sets (0):\n"
                               "Node\tParent\t1.chld\tSibl.\tPost Ordering\n");
}

TEST(OrderingTables, TreeShowsTheNodesInUse)
{
    Tree tree;
    tree.allocateMemory(3);
    tree.numNodes = 1;

    EXPECT_EQ(printed(tree), "Sets (1):\n"
                             "Node\tParent\t1.chld\tSibl.\tPost Ordering\n"
                             "0\t0\t-1\t-1\t0\n");
}

TEST(OrderingTables, EliminationTree)
{
    EliminationTree tree;
    support::setForest(tree, {2, 2, 2});
    tree.computePostOrder();
    tree.ancestor[0] = 1;
    tree.fillIns = {4, 4, 4, 4, 4};

    EXPECT_EQ(printed(tree), "Sets (3):\n"
                             "Node\tParent\tCol.Prnt\tPostOrder\n"
                             "0\t2\t1\t1\n"
                             "1\t2\t1\t0\n"
                             "2\t2\t2\t2\n"
                             "Fill ins: 5\n");
}

TEST(OrderingTables, EliminationTreeShowsMissingIndicesUnsignedAndAMissingRankSigned)
{
    EliminationTree tree;
    tree.allocateMemory(1);
    tree.numNodes = 1;
    tree.parent[0] = tree.ancestor[0] = tree.postOrder[0] = kNone;

    EXPECT_EQ(printed(tree), "Sets (1):\n"
                             "Node\tParent\tCol.Prnt\tPostOrder\n"
                             "0\t4294967295\t4294967295\t-1\n"
                             "Fill ins: 0\n");
}

TEST(OrderingTables, AllocatedEliminationTreeShowsEveryNodeAlone)
{
    EliminationTree tree;
    tree.allocateMemory(3);
    tree.numNodes = 2;

    EXPECT_EQ(printed(tree), "Sets (2):\n"
                             "Node\tParent\tCol.Prnt\tPostOrder\n"
                             "0\t0\t0\t0\n"
                             "1\t1\t1\t1\n"
                             "Fill ins: 0\n");
}

TEST(OrderingTables, EmptyEliminationTree)
{
    EXPECT_EQ(printed(EliminationTree()), "Sets (0):\n"
                                          "Node\tParent\tCol.Prnt\tPostOrder\n"
                                          "Fill ins: 0\n");
}

TEST(OrderingTables, EliminationTreeThroughItsBase)
{
    const EliminationTree tree;
    const Tree& base = tree;

    EXPECT_EQ(printed(base), "Sets (0):\n"
                             "Node\tParent\tCol.Prnt\tPostOrder\n"
                             "Fill ins: 0\n");
}

TEST(OrderingTables, Permutation)
{
    Permutation perm;
    support::setOrder(perm, {2, 0, kNone});
    perm.Pi[0] = 1;
    perm.Pi[1] = 0x80000000u;

    EXPECT_EQ(printed(perm), "i\tP\tPi\n"
                             "0\t2\t1\n"
                             "1\t0\t-2147483648\n"
                             "2\t-1\t-1\n");
}

TEST(OrderingTables, EmptyPermutation)
{
    EXPECT_EQ(printed(Permutation()), "i\tP\tPi\n");
}

} // namespace
