#ifndef KYRORVEL_TESTS_SUPPORT_ALLOCATIONS_H
#define KYRORVEL_TESTS_SUPPORT_ALLOCATIONS_H

// Counting and failing allocations, for a program that is built with Allocations.cpp. There the
// global operators new and delete, in every form, and kyr::ByteAllocator, which does not go through
// them, are replaced for the whole process: the test, the libraries, every thread. Plain malloc is
// not seen. Nothing between the two ends of a measurement should allocate on behalf of the test, so
// keep assertions out of it.

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

namespace support {

/// Blocks that are allocated now. The same before and after means that nothing leaked, and that
/// nothing was freed that was not allocated in between.
std::size_t liveAllocations();

/// What those blocks hold, each as large as malloc made it.
std::size_t liveBytes();

/// Counts what is allocated from its construction on.
///
///     const AllocationCount count;
///     solve();
///     const std::size_t n = count.allocations();
///     EXPECT_EQ(n, 0u);
class AllocationCount {
public:
    AllocationCount();
    std::size_t allocations() const;
    std::size_t bytes() const; ///< the sum of the sizes asked for

private:
    std::size_t m_allocations;
    std::size_t m_bytes;
};

/// While it lives, the n-th allocation from its construction on (n >= 1), and that one alone,
/// throws std::bad_alloc; operator new (std::nothrow) returns null. One at a time.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t n);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether there have been n allocations, so that one failed.
    bool happened() const;
};

/// Runs action() with its n-th allocation failing and expects that std::bad_alloc leaves it then,
/// and only then. Returns whether there was an n-th allocation. To let each of them fail:
///
///     for (std::size_t n = 1;; ++n) {
///         Subject subject;
///         const bool failed = support::failsOnAllocation(n, [&] { subject.grow(); });
///         ...expect that subject is whole...
///         if (!failed)
///             break;
///     }
template <class Action> bool failsOnAllocation(std::size_t n, Action action)
{
    bool thrown = false;
    bool happened = false;
    {
        const FailingAllocation failing(n);
        try {
            action();
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        happened = failing.happened();
    }
    EXPECT_EQ(thrown, happened) << "allocation " << n;
    return happened;
}

} // namespace support

#endif
