#include <kyrOrvel/Tree>

#include <kyrOrvel/Graph>

#include "detail/Arrays.h"
#include "detail/MarksOperations.h"

#include <algorithm>
#include <iostream>

namespace kyrOrvel {

namespace {

void copyMarks(const Marks& from, Marks& to)
{
    detail::emptyMarks(to); // flags beyond the copied range must not outlive their list entries
    detail::growMarks(to, from.size);
    to.numMarked = from.numMarked;
    std::copy_n(from.flags, from.size, to.flags);
    std::copy_n(from.markedList, from.numMarked, to.markedList);
}

} // namespace

// Delegating, so that the destructor runs if the copy throws.
Tree::Tree(const Tree& other) : Tree()
{
    Tree::operator=(other);
}

Tree& Tree::operator=(const Tree& other)
{
    if (this == &other)
        return *this;
    const unsigned int n = other.numNodes;
    if (n > capacity) {
        numNodes = 0; // until there is room for more
        releaseMemory();
        allocateMemory(n);
    }
    numNodes = n;
    if (other.parent) {
        std::copy_n(other.parent, n, parent);
        std::copy_n(other.postOrder, n, postOrder);
        std::copy_n(other.firstChild, n, firstChild);
        std::copy_n(other.nextSibling, n, nextSibling);
    }
    copyMarks(other.marks, marks);
    roots = other.roots;
    return *this;
}

Tree::~Tree()
{
    freeArrays();
}

void Tree::allocateMemory(unsigned int n)
{
    parent = new unsigned int[n];
    postOrder = new unsigned int[n];
    firstChild = new unsigned int[n];
    nextSibling = new unsigned int[n];
    detail::growMarks(marks, n);
    capacity = n;
    clear();
}

void Tree::releaseMemory()
{
    freeArrays();
    capacity = 0;
}

void Tree::freeArrays()
{
    detail::release(parent);
    detail::release(postOrder);
    detail::release(firstChild);
    detail::release(nextSibling);
}

void Tree::clear()
{
    for (unsigned int i = 0; i < capacity; ++i) {
        parent[i] = i;
        postOrder[i] = i;
        firstChild[i] = kNone;
        nextSibling[i] = kNone;
    }
    detail::emptyMarks(marks);
    roots.clear();
}

void Tree::computeTreeStructure()
{
    // Where the walk to the end of each child list got to: 200,000 leaves under one root would take
    // half a minute if every one of them started over.
    std::vector<unsigned int> lastChild(firstChild, firstChild + numNodes);
    for (unsigned int i = 0; i < numNodes; ++i) {
        const unsigned int p = parent[i];
        if (p == i) {
            roots.push_back(i);
        } else if (firstChild[p] == kNone) {
            firstChild[p] = lastChild[p] = i;
        } else {
            while (nextSibling[lastChild[p]] != kNone)
                lastChild[p] = nextSibling[lastChild[p]];
            nextSibling[lastChild[p]] = i;
        }
    }
}

void Tree::print() const
{
    std::cout << "Sets (" << numNodes << "):" << std::endl;
    std::cout << "Node\tParent\t1.chld\tSibl.\tPost Ordering" << std::endl;
    for (unsigned int i = 0; i < numNodes; ++i)
        std::cout << i << "\t" << parent[i] << "\t" << static_cast<int>(firstChild[i]) << "\t"
                  << static_cast<int>(nextSibling[i]) << "\t" << static_cast<int>(postOrder[i])
                  << std::endl;
}

} // namespace kyrOrvel
