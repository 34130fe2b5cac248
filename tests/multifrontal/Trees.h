#ifndef KYRORVEL_TESTS_MULTIFRONTAL_TREES_H
#define KYRORVEL_TESTS_MULTIFRONTAL_TREES_H

// Elimination trees of known shape, as parents: a root is its own parent, every other parent has a
// larger number than its children.

#include "support/Forests.h"
#include "support/Patterns.h"
#include "support/Random.h"

#include <kyrOrvel/EliminationTree>

#include <string>
#include <vector>

namespace support {

/// n-1 leaves below one root.
inline Words star(unsigned int n)
{
    return Words(n, n - 1);
}

/// One path.
inline Words chain(unsigned int n)
{
    Words parents(n);
    for (unsigned int k = 0; k < n; ++k)
        parents[k] = k + 1 < n ? k + 1 : k;
    return parents;
}

/// A path with a leaf at every node of it: the leaves are 0, 2, 4, ..., the path 1, 3, 5, ...
inline Words comb(unsigned int n)
{
    Words parents(n);
    for (unsigned int k = 0; k < n; ++k)
        parents[k] = k % 2 == 0 ? k + 1 : k + 2;
    for (unsigned int& parent : parents)
        if (parent >= n)
            parent = n - 1;
    return parents;
}

/// A path with up to four leaves at every node of it.
inline Words caterpillar(Random& random, unsigned int n)
{
    Words parents(n, n - 1);
    unsigned int k = 0;
    unsigned int below = kyrOrvel::kNone;
    while (k < n) {
        unsigned int joint = k + random.integer(0, 4);
        if (joint >= n)
            joint = n - 1;
        for (; k < joint; ++k)
            parents[k] = joint;
        if (below != kyrOrvel::kNone)
            parents[below] = joint;
        below = k++;
    }
    return parents;
}

/// A forest whose paths climb in steps of random length.
inline Words randomUpwardForest(Random& random, unsigned int n)
{
    Words parents(n);
    const unsigned int reach = random.integer(1, n);
    for (unsigned int k = 0; k < n; ++k) {
        const unsigned int farthest = k + reach < n ? k + reach : n - 1;
        const bool root = k + 1 == n || random.chance(0.03);
        parents[k] = root ? k : random.integer(k + 1, farthest > k ? farthest : k + 1);
    }
    return parents;
}

/// The shape of a name.
inline Words tree(const std::string& shape, Random& random, unsigned int n)
{
    if (shape == "star")
        return star(n);
    if (shape == "chain")
        return chain(n);
    if (shape == "comb")
        return comb(n);
    if (shape == "caterpillar")
        return caterpillar(random, n);
    return randomUpwardForest(random, n);
}

inline const std::vector<std::string>& shapes()
{
    static const std::vector<std::string> names = {"star", "chain", "comb", "caterpillar",
                                                   "forest"};
    return names;
}

/// Rows of a matrix whose elimination tree has these parents: every node couples to its parent and
/// now and then to another of its ancestors.
inline Rows rowsOfTree(Random& random, const Words& parents, double density)
{
    const auto n = static_cast<unsigned int>(parents.size());
    Rows rows(n);
    for (unsigned int k = 0; k < n; ++k)
        for (unsigned int c = k; parents[c] != c; c = parents[c])
            if (c == k || random.chance(density))
                rows[parents[c]].push_back(k);
    for (unsigned int k = 0; k < n; ++k)
        rows[k].push_back(k); // behind the columns before it, which came in ascending order
    return rows;
}

} // namespace support

#endif
