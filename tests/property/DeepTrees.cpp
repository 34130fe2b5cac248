// Chains far deeper than a stack of calls could follow.

#include "support/Forests.h"
#include "support/Orderings.h"

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

using kyrOrvel::EliminationTree;
using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using support::Words;

namespace {

constexpr unsigned int kDepth = 1000000;

/// Node i below node i + 1.
void setChain(EliminationTree& tree)
{
    Words parents(kDepth);
    for (unsigned int i = 0; i < kDepth; ++i)
        parents[i] = i + 1 < kDepth ? i + 1 : i;
    support::setParents(tree, parents);
    for (unsigned int i = 0; i < kDepth; ++i)
        tree.ancestor[i] = parents[i];
}

TEST(DeepTrees, FindRootCompressesTheWholeChain)
{
    EliminationTree tree;
    setChain(tree);

    EXPECT_EQ(tree.findRoot(0), kDepth - 1);

    EXPECT_EQ(support::words(tree.ancestor, kDepth), Words(kDepth, kDepth - 1));
}

TEST(DeepTrees, ChainIsNumberedFromItsEnd)
{
    EliminationTree tree;
    setChain(tree);
    tree.computeTreeStructure();

    tree.computePostOrder();

    EXPECT_EQ(tree.roots, Words{kDepth - 1});
    EXPECT_EQ(support::words(tree.postOrder, kDepth), support::identity(kDepth));
}

TEST(DeepTrees, ChainOfBlocksIsReordered)
{
    // Block i couples to block i - 1; the last block is trailing and stands first.
    support::Rows rows(kDepth);
    rows[0] = {0};
    for (unsigned int i = 1; i < kDepth; ++i)
        rows[i] = {i - 1, i};
    Words order(kDepth);
    for (unsigned int k = 0; k < kDepth; ++k)
        order[k] = kDepth - 1 - k;
    const auto src = support::makeSkeleton(rows);
    SkeletonMatrix dst;
    EliminationTree etree;
    ScratchPad scratch;
    Permutation perm;
    support::setOrder(perm, order);

    ASSERT_TRUE(Reordering::zeroLeafSwap(*src, dst, etree, kDepth - 1, perm, scratch));

    std::swap(order[0], order[1]);
    EXPECT_EQ(support::orderOf(perm), order);
    EXPECT_EQ(support::words(etree.postOrder, kDepth), support::identity(kDepth));
}

} // namespace
