#ifndef KYRORVEL_TESTS_SUPPORT_COUNTING_TREE_H
#define KYRORVEL_TESTS_SUPPORT_COUNTING_TREE_H

namespace support {

/// A tree, of either kind, that counts how often it is told to allocate.
template <class Tree> class CountingTree : public Tree {
public:
    void allocateMemory(unsigned int n) override
    {
        ++allocations;
        Tree::allocateMemory(n);
    }

    int allocations = 0;
};

} // namespace support

#endif
