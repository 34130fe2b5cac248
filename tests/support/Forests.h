#ifndef KYRORVEL_TESTS_SUPPORT_FORESTS_H
#define KYRORVEL_TESTS_SUPPORT_FORESTS_H

#include "Random.h"

#include <kyrOrvel/Tree>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace support {

using Words = std::vector<unsigned int>;

/// The first n words of an array.
inline Words words(const unsigned int* array, std::size_t n)
{
    return n == 0 ? Words() : Words(array, array + n);
}

/// Gives an empty tree one node per parent; a root is its own parent. Child lists and roots are
/// left to computeTreeStructure().
inline void setParents(kyrOrvel::Tree& tree, const Words& parents)
{
    tree.allocateMemory(static_cast<unsigned int>(parents.size()));
    tree.numNodes = static_cast<unsigned int>(parents.size());
    std::copy(parents.begin(), parents.end(), tree.parent);
}

/// As setParents, with child lists and roots.
inline void setForest(kyrOrvel::Tree& tree, const Words& parents)
{
    setParents(tree, parents);
    tree.computeTreeStructure();
}

/// The child list of a node as the tree links it.
inline Words childList(const kyrOrvel::Tree& tree, unsigned int node)
{
    Words children;
    for (unsigned int c = tree.firstChild[node]; c != kyrOrvel::kNone; c = tree.nextSibling[c])
        children.push_back(c);
    return children;
}

/// The nodes whose parent is `node`, ascending, by asking every node.
inline Words childrenByParent(const Words& parents, unsigned int node)
{
    Words children;
    for (unsigned int c = 0; c < parents.size(); ++c)
        if (c != node && parents[c] == node)
            children.push_back(c);
    return children;
}

/// 0 .. n-1 in random order.
inline Words randomOrder(Random& random, unsigned int n)
{
    Words order(n);
    for (unsigned int i = 0; i < n; ++i)
        order[i] = i;
    for (unsigned int i = n; i > 1; --i)
        std::swap(order[i - 1], order[random.integer(0, i - 1)]);
    return order;
}

/// The parents of a random forest: no order between the numbers of parents and children, about
/// one root in `spread` nodes.
inline Words randomForest(Random& random, unsigned int n, unsigned int spread)
{
    const Words order = randomOrder(random, n);
    Words parents(n);
    for (unsigned int i = 0; i < n; ++i) {
        const bool root = i == 0 || random.integer(1, spread) == 1;
        parents[order[i]] = root ? order[i] : order[random.integer(0, i - 1)];
    }
    return parents;
}

} // namespace support

#endif
