// The order of the virtual operations of a tree is part of the interface: clients are compiled
// against it. The slots are compared with those of a class that declares the same operations in the
// promised order; what a member pointer holds is known under the Itanium ABI alone.

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/Tree>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

using kyrOrvel::EliminationTree;
using kyrOrvel::Tree;

#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)

namespace {

/// The promised order; the destructor takes the slots before these.
struct Promised {
    virtual ~Promised() = default;
    virtual void clear() {}
    virtual void print() const {}
    virtual void allocateMemory(unsigned int) {}
    virtual void releaseMemory() {}
};

/// What a pointer to a virtual operation holds: its offset in the table, plus 1.
template <class Pointer> std::ptrdiff_t slotOf(Pointer operation)
{
    std::ptrdiff_t word;
    static_assert(sizeof operation >= sizeof word, "a member pointer holds a word and more");
    std::memcpy(&word, &operation, sizeof word);
    return word;
}

template <class T> void expectPromisedSlots()
{
    EXPECT_EQ(slotOf(&T::clear), slotOf(&Promised::clear));
    EXPECT_EQ(slotOf(&T::print), slotOf(&Promised::print));
    EXPECT_EQ(slotOf(&T::allocateMemory), slotOf(&Promised::allocateMemory));
    EXPECT_EQ(slotOf(&T::releaseMemory), slotOf(&Promised::releaseMemory));
}

TEST(VirtualOperations, TreeDeclaresThemInThePromisedOrder)
{
    expectPromisedSlots<Tree>();
}

TEST(VirtualOperations, EliminationTreeAddsNoneBetween)
{
    expectPromisedSlots<EliminationTree>();
}

} // namespace

#endif
