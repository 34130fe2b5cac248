#include "support/Orderings.h"
#include "support/Systems.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <utility>

using kyrOrvel::EliminationTree;
using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using kyrOrvel::SkeletonMatrix;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// A pattern, an ordering and a first trailing block.
struct Problem {
    explicit Problem(Random& random)
        : n(random.integer(1, 30)),
          rows(support::randomRows(random, n, 0.4 * random.unit())),
          order(support::randomOrder(random, n)),
          firstTrailing(random.integer(0, n + 1))
    {
        // Rarely many trailing blocks, or hardly any repair would succeed.
        if (random.chance(0.7))
            firstTrailing = n - std::min(n, random.integer(0, 3));
    }

    unsigned int n;
    Rows rows;
    Words order;
    unsigned int firstTrailing;
};

/// A call whose results are kept in objects that many calls share.
class ZeroLeafSwap : public testing::Test {
protected:
    bool call(const Problem& problem)
    {
        Permutation fresh;
        support::setOrder(fresh, problem.order);
        std::swap(fresh.size, perm.size);
        std::swap(fresh.capacity, perm.capacity);
        std::swap(fresh.P, perm.P);
        std::swap(fresh.Pi, perm.Pi);
        return Reordering::zeroLeafSwap(*support::makeSkeleton(problem.rows), dst, etree,
                                        problem.firstTrailing, perm, scratch);
    }

    SkeletonMatrix dst;
    EliminationTree etree;
    ScratchPad scratch;
    Permutation perm;
};

TEST_F(ZeroLeafSwap, PatternIsThatOfTheDensePermutation)
{
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);

        call(problem);

        ASSERT_EQ(support::rowsOf(dst), support::permutedRows(problem.rows, problem.order));
    }
}

TEST_F(ZeroLeafSwap, FlagsMarkTheTransposedEntries)
{
    for (std::uint64_t seed = 1001; seed <= 1300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);

        call(problem);

        // Entry (k, q) of the result is the block (P[k], P[q]), which the source holds as it
        // stands only if that lies in its lower triangle.
        for (unsigned int k = 0; k < problem.n; ++k)
            for (unsigned int e = dst.rowStart[k]; e < dst.rowStart[k + 1]; ++e) {
                const unsigned int q = dst.columnIndices[e];
                ASSERT_EQ(dst.entryFlags[e], problem.order[k] < problem.order[q] ? 1 : 0)
                    << "(" << k << ", " << q << ")";
            }
    }
}

TEST_F(ZeroLeafSwap, TreeIsTheEliminationTree)
{
    for (std::uint64_t seed = 2001; seed <= 2300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);
        const Words parents = support::parentsOf(
            support::eliminated(support::permutedRows(problem.rows, problem.order)));

        call(problem);

        ASSERT_EQ(etree.numNodes, problem.n);
        ASSERT_EQ(support::words(etree.parent, problem.n), parents);
        Words roots;
        for (unsigned int k = 0; k < problem.n; ++k) {
            ASSERT_EQ(support::childList(etree, k), support::childrenByParent(parents, k)) << k;
            if (parents[k] == k)
                roots.push_back(k);
        }
        ASSERT_EQ(etree.roots, roots);
    }
}

/// The union step as it is described, on plain lists.
struct PlainSets {
    explicit PlainSets(const Rows& rows)
        : parents(support::identity(static_cast<unsigned int>(rows.size()))),
          ancestors(parents),
          ranks(rows.size(), 0)
    {
        for (unsigned int j = 0; j < rows.size(); ++j)
            for (const unsigned int i : rows[j]) {
                const unsigned int rj = setOf(j);
                const unsigned int ri = setOf(i);
                if (ri == rj)
                    continue;
                if (ranks[ri] > ranks[rj]) {
                    ancestors[rj] = parents[rj] = ri;
                } else {
                    ancestors[ri] = parents[ri] = rj;
                    if (ranks[ri] == ranks[rj])
                        ++ranks[ri];
                }
            }
    }

    unsigned int setOf(unsigned int v)
    {
        if (parents[v] != v)
            ancestors[v] = find(ancestors[v]);
        return ancestors[v];
    }

    unsigned int find(unsigned int v)
    {
        if (parents[v] != v)
            ancestors[v] = find(ancestors[v]);
        return ancestors[v];
    }

    Words parents, ancestors, ranks;
};

TEST_F(ZeroLeafSwap, SetsEqualThoseOfThePlainUnion)
{
    for (std::uint64_t seed = 3001; seed <= 3300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);
        const PlainSets expected(support::permutedRows(problem.rows, problem.order));

        call(problem);

        ASSERT_EQ(support::words(etree.parent, problem.n), expected.parents);
        ASSERT_EQ(support::words(etree.ancestor, problem.n), expected.ancestors);
        ASSERT_EQ(support::words(etree.setRank, problem.n), expected.ranks);
    }
}

TEST_F(ZeroLeafSwap, PostOrderHasChildrenFirstAndSiblingsDescending)
{
    for (std::uint64_t seed = 4001; seed <= 4300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);

        call(problem);

        const Words ranks = support::words(etree.postOrder, problem.n);
        const Words parents = support::words(etree.parent, problem.n);
        ASSERT_TRUE(support::isOrder(ranks, problem.n));
        for (unsigned int k = 0; k < problem.n; ++k) {
            const Words children = support::childrenByParent(parents, k);
            for (std::size_t i = 0; i < children.size(); ++i) {
                ASSERT_LT(ranks[children[i]], ranks[k]);
                ASSERT_TRUE(i == 0 || ranks[children[i - 1]] > ranks[children[i]]);
            }
        }
    }
}

/// The repair by its purpose: who is a trailing leaf, and where each belongs.
struct PlainRepair {
    explicit PlainRepair(const Problem& problem)
    {
        const Rows rows = support::permutedRows(problem.rows, problem.order);
        const Words parents = support::parentsOf(support::eliminated(rows));
        const auto isTrailing = [&](unsigned int k) {
            return problem.order[k] >= problem.firstTrailing;
        };
        // A position is a leaf when its row couples to nothing before it.
        for (unsigned int k = 0; k < problem.n; ++k)
            if (isTrailing(k) && rows[k].size() == 1) {
                leaves.insert(problem.order[k]);
                possible = possible && parents[k] != k && !isTrailing(parents[k]);
            }
        for (unsigned int k = 0; k < problem.n; ++k) {
            if (leaves.count(problem.order[k]))
                continue;
            order.push_back(problem.order[k]);
            for (const unsigned int c : support::childrenByParent(parents, k))
                if (leaves.count(problem.order[c]))
                    order.push_back(problem.order[c]);
        }
    }

    std::set<unsigned int> leaves; ///< trailing leaves, as blocks
    bool possible = true;          ///< each has an ordinary parent
    Words order;
};

TEST_F(ZeroLeafSwap, LeavesFollowTheirParentsAndAllOthersKeepTheirOrder)
{
    int repaired = 0;
    int failed = 0;
    for (std::uint64_t seed = 5001; seed <= 5600; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);
        const PlainRepair expected(problem);

        const bool result = call(problem);

        ASSERT_EQ(result, expected.possible);
        ASSERT_EQ(perm.size, problem.n);
        const Words order = result ? expected.order : support::identity(problem.n);
        ASSERT_EQ(support::orderOf(perm), order);
        ASSERT_EQ(support::words(perm.Pi, problem.n), order); // a copy, or the identity
        repaired += result && !expected.leaves.empty();
        failed += !result;
    }
    EXPECT_GT(repaired, 50);
    EXPECT_GT(failed, 50);
}

TEST_F(ZeroLeafSwap, RepairLeavesNoTrailingBlockAheadOfAllItsCouplings)
{
    for (std::uint64_t seed = 6001; seed <= 6600; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Problem problem(random);
        if (!call(problem))
            continue;
        const Words order = support::orderOf(perm);
        ASSERT_TRUE(support::isOrder(order, problem.n));

        const Rows rows = support::permutedRows(problem.rows, order);

        for (unsigned int k = 0; k < problem.n; ++k)
            ASSERT_TRUE(order[k] < problem.firstTrailing || rows[k].size() > 1) << "position " << k;
    }
}

TEST_F(ZeroLeafSwap, RepairedOrderNeedsNoRepair)
{
    for (std::uint64_t seed = 7001; seed <= 7300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Problem problem(random);
        if (!call(problem))
            continue;
        problem.order = support::orderOf(perm);

        ASSERT_TRUE(call(problem));

        ASSERT_EQ(support::orderOf(perm), problem.order);
    }
}

} // namespace
