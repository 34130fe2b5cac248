#include <kyrOrvel/EliminationTree>

#include "detail/Arrays.h"

#include <algorithm>
#include <iostream>

namespace kyrOrvel {

// Delegating, so that the destructor runs if the copy throws.
EliminationTree::EliminationTree(const EliminationTree& other) : EliminationTree()
{
    EliminationTree::operator=(other);
}

EliminationTree& EliminationTree::operator=(const EliminationTree& other)
{
    if (this == &other)
        return *this;
    Tree::operator=(other);
    copyOwnFields(other);
    return *this;
}

void EliminationTree::copyOwnFields(const EliminationTree& other)
{
    if (other.ancestor) {
        std::copy_n(other.ancestor, other.numNodes, ancestor);
        std::copy_n(other.setRank, other.numNodes, setRank);
    }
    auxIndices = other.auxIndices;
    fillIns = other.fillIns;
}

EliminationTree::~EliminationTree()
{
    Tree::releaseMemory();
    detail::release(ancestor);
    detail::release(setRank);
}

void EliminationTree::allocateMemory(unsigned int n)
{
    ancestor = new unsigned int[n];
    setRank = new unsigned int[n];
    Tree::allocateMemory(n);
}

void EliminationTree::releaseMemory()
{
    Tree::releaseMemory();
    detail::release(ancestor);
    detail::release(setRank);
}

void EliminationTree::clear()
{
    Tree::clear();
    for (unsigned int i = 0; i < capacity; ++i) {
        ancestor[i] = i;
        setRank[i] = 0;
    }
}

unsigned int EliminationTree::findRoot(unsigned int x)
{
    unsigned int root = x;
    while (parent[root] != root)
        root = ancestor[root];
    const unsigned int answer = ancestor[root];
    while (parent[x] != x) {
        const unsigned int next = ancestor[x];
        ancestor[x] = answer;
        x = next;
    }
    return answer;
}

void EliminationTree::print() const
{
    std::cout << "Sets (" << numNodes << "):" << std::endl;
    std::cout << "Node\tParent\tCol.Prnt\tPostOrder" << std::endl;
    for (unsigned int i = 0; i < numNodes; ++i)
        std::cout << i << "\t" << parent[i] << "\t" << ancestor[i] << "\t"
                  << static_cast<int>(postOrder[i]) << std::endl;
    std::cout << "Fill ins: " << fillIns.size() << std::endl;
}

} // namespace kyrOrvel
