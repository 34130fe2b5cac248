#include "support/Forests.h"

#include <kyrOrvel/EliminationTree>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

using kyrOrvel::EliminationTree;
using support::Random;
using support::Words;

namespace {

/// Union-find as it is described, on plain lists.
unsigned int plainFindRoot(const Words& parents, Words& ancestors, unsigned int x)
{
    if (parents[x] != x)
        ancestors[x] = plainFindRoot(parents, ancestors, ancestors[x]);
    return ancestors[x];
}

TEST(FindRoot, EqualsTheRecursiveDescription)
{
    for (std::uint64_t seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 60);
        const Words parents = support::randomForest(random, n, random.integer(2, 30));
        EliminationTree tree;
        support::setParents(tree, parents);
        // The entries start as the parents; now and then a root's entry names another root.
        Words roots;
        for (unsigned int i = 0; i < n; ++i)
            if (parents[i] == i)
                roots.push_back(i);
        Words ancestors = parents;
        for (const unsigned int root : roots)
            if (random.chance(0.2))
                ancestors[root] =
                    roots[random.integer(0, static_cast<unsigned int>(roots.size()) - 1)];
        std::copy(ancestors.begin(), ancestors.end(), tree.ancestor);

        for (unsigned int i = 0; i < n; ++i) {
            const unsigned int x = random.integer(0, n - 1);
            ASSERT_EQ(tree.findRoot(x), plainFindRoot(parents, ancestors, x)) << "call " << i;
            ASSERT_EQ(support::words(tree.ancestor, n), ancestors) << "call " << i;
            if (!std::equal(parents.begin(), parents.end(), tree.parent))
                FAIL() << "parents changed in call " << i;
        }
    }
}

} // namespace
