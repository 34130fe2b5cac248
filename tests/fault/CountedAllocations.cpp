// The counting and failing allocations themselves: what they see and what they let fail.

#include "support/Allocations.h"

#include <kyr/ByteAllocator>
#include <kyrOrvel/SkeletonMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <thread>

namespace {

// The operators are called by name: a new-expression whose result is unused may be left out.

void allocateAndFree()
{
    ::operator delete(::operator new(4));
}

TEST(Allocations, EveryFormOfNewIsCounted)
{
    constexpr std::align_val_t alignment{64};
    const std::size_t live = support::liveAllocations();
    const support::AllocationCount count;
    void* const pointers[] = {::operator new(1),
                              ::operator new[](2),
                              ::operator new(4, std::nothrow),
                              ::operator new[](8, std::nothrow),
                              ::operator new(16, alignment),
                              ::operator new[](32, alignment),
                              ::operator new(64, alignment, std::nothrow),
                              ::operator new[](128, alignment, std::nothrow)};
    const std::size_t allocations = count.allocations();
    const std::size_t bytes = count.bytes();
    const std::size_t held = support::liveAllocations() - live;
    const bool aligned = std::all_of(pointers + 4, pointers + 8, [](const void* p) {
        return reinterpret_cast<std::uintptr_t>(p) % 64 == 0;
    });
    ::operator delete(pointers[0]);
    ::operator delete[](pointers[1]);
    ::operator delete(pointers[2], std::nothrow);
    ::operator delete[](pointers[3], std::nothrow);
    ::operator delete(pointers[4], alignment);
    ::operator delete[](pointers[5], alignment);
    ::operator delete(pointers[6], alignment, std::nothrow);
    ::operator delete[](pointers[7], alignment, std::nothrow);
    const std::size_t left = support::liveAllocations() - live;

    EXPECT_EQ(allocations, 8u);
    EXPECT_EQ(bytes, 255u);
    EXPECT_EQ(held, 8u);
    EXPECT_TRUE(aligned);
    EXPECT_EQ(left, 0u);
}

#if defined(__cpp_sized_deallocation)
TEST(Allocations, SizedDeletesAreCounted)
{
    constexpr std::align_val_t alignment{64};
    const std::size_t live = support::liveAllocations();
    ::operator delete (::operator new(4), std::size_t{4});
    ::operator delete[](::operator new[](4), std::size_t{4});
    ::operator delete (::operator new(4, alignment), std::size_t{4}, alignment);
    ::operator delete[](::operator new[](4, alignment), std::size_t{4}, alignment);
    ::operator delete(nullptr);
    const std::size_t left = support::liveAllocations() - live;

    EXPECT_EQ(left, 0u);
}
#endif

TEST(Allocations, AllocationsInsideTheLibraryAreCounted)
{
    kyrOrvel::SkeletonMatrix pattern;
    const support::AllocationCount count;

    pattern.allocateMemory(3, 5);

    EXPECT_EQ(count.allocations(), 4u);
    EXPECT_EQ(count.bytes(), (4 + 3 + 5) * sizeof(unsigned int) + 5);
}

TEST(Allocations, ByteAllocatorIsCounted)
{
    kyr::ByteAllocator allocator;
    const std::size_t live = support::liveAllocations();
    const support::AllocationCount count;

    void* const storage = allocator.allocateBytes(100, 16);
    const std::size_t allocations = count.allocations();
    const std::size_t bytes = count.bytes();
    allocator.deallocateBytes(storage, 100);
    const std::size_t left = support::liveAllocations() - live;

    EXPECT_EQ(allocations, 1u);
    EXPECT_EQ(bytes, 100u);
    EXPECT_EQ(left, 0u);
}

TEST(Allocations, TheNthAllocationFailsAndNoOther)
{
    bool failed[4] = {};
    bool happened = false;
    {
        const support::FailingAllocation failing(3);
        for (bool& f : failed) {
            void* const p = ::operator new(4, std::nothrow);
            f = p == nullptr;
            ::operator delete(p);
        }
        happened = failing.happened();
    }

    EXPECT_TRUE(happened);
    EXPECT_FALSE(failed[0]);
    EXPECT_FALSE(failed[1]);
    EXPECT_TRUE(failed[2]);
    EXPECT_FALSE(failed[3]);
}

TEST(Allocations, FailureThrowsBadAlloc)
{
    EXPECT_TRUE(support::failsOnAllocation(1, allocateAndFree));
    EXPECT_FALSE(support::failsOnAllocation(2, allocateAndFree));
}

TEST(Allocations, FailureDoesNotOutliveItsScope)
{
    bool happened = true;
    {
        const support::FailingAllocation failing(1);
        happened = failing.happened();
    }

    EXPECT_FALSE(happened);
    EXPECT_NO_THROW(allocateAndFree());
}

TEST(Allocations, AllocationsOfOtherThreadsFailToo)
{
    bool thrown = false;
    std::atomic<bool> armed{false};
    std::atomic<bool> done{false};
    std::thread worker([&] {
        while (!armed)
            std::this_thread::yield();
        try {
            allocateAndFree();
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        done = true;
    });
    {
        const support::FailingAllocation failing(1);
        armed = true;
        while (!done)
            std::this_thread::yield();
    }
    worker.join();

    EXPECT_TRUE(thrown);
}

} // namespace
