#include "support/Allocations.h"
#include "support/ScratchArrays.h"

#include <kyrOrvel/ScratchPad>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <type_traits>

using kyrOrvel::ScratchPad;

namespace {

template <class T> class ScratchPadFaults : public testing::Test {
protected:
    static T* get(ScratchPad& pad, unsigned long id, unsigned long size)
    {
        return support::ScratchArrays<T>::get(pad, id, size);
    }

    /// Expects that every array up to `ids` can be had and written.
    static void expectUsable(ScratchPad& pad, unsigned long ids)
    {
        for (unsigned long id = 0; id < ids; ++id) {
            T* const array = get(pad, id, 10 + id);
            ASSERT_NE(array, nullptr);
            std::fill_n(array, 10 + id, T(1));
            EXPECT_EQ(get(pad, id, 10 + id), array);
        }
    }

    /// A pad that held many arrays once and now holds one: its next deallocate() shrinks the table
    /// of entries, and so allocates.
    static void wearOut(ScratchPad& pad)
    {
        auto& table = support::ScratchArrays<T>::table(pad);
        for (unsigned long id = 0; id < 100; ++id)
            get(pad, id, 5);
        for (;;) {
            pad.deallocate();
            const float next = 0.8f * table.averageCount + (1.0f - 0.8f) * 1.0f;
            if (static_cast<float>(table.bucketCount) * 0.25f > next)
                break;
        }
        get(pad, 0, 5);
    }
};
TYPED_TEST_SUITE(ScratchPadFaults, support::ScratchTypes);

TYPED_TEST(ScratchPadFaults, BlockIsFourElementsLargerOrFifteenBytes)
{
    const std::size_t spare = std::is_same<TypeParam, unsigned char>::value ? 15 : 4;
    for (const unsigned long size : {0ul, 1ul, 300ul}) {
        ScratchPad pad;
        this->get(pad, 0, 0);
        this->get(pad, 1, 0); // now the table has room
        const support::AllocationCount count;

        this->get(pad, 2, size);

        EXPECT_EQ(count.allocations(), 1u);
        EXPECT_EQ(count.bytes(), (size + spare) * sizeof(TypeParam));
    }
}

TYPED_TEST(ScratchPadFaults, LargerArrayReplacesTheOldBlock)
{
    ScratchPad pad;
    this->get(pad, 0, 0);
    this->get(pad, 1, 0);
    const std::size_t live = support::liveAllocations();

    this->get(pad, 1, 300);

    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(ScratchPadFaults, SteadyStateAllocatesNothing)
{
    ScratchPad pad;
    for (unsigned long id = 0; id < 50; ++id)
        this->get(pad, id, 100);
    const support::AllocationCount count;

    for (int round = 0; round < 3; ++round)
        for (unsigned long id = 0; id < 50; ++id)
            this->get(pad, id, 100 - id);

    EXPECT_EQ(count.allocations(), 0u);
}

TYPED_TEST(ScratchPadFaults, DeallocateAndDestructorFreeEverything)
{
    const std::size_t live = support::liveAllocations();
    {
        ScratchPad pad;
        this->expectUsable(pad, 50);
        pad.deallocate();
        const std::size_t held = support::liveAllocations() - live;
        EXPECT_EQ(held, 1u); // the entries of one table
        this->expectUsable(pad, 50);
    }
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(ScratchPadFaults, EveryFailureOfAFirstArrayLeavesAUsablePad)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        ScratchPad pad;
        failed = support::failsOnAllocation(++n, [&] { this->get(pad, 0, 10); });

        this->expectUsable(pad, 3);
    }
    EXPECT_EQ(n, 3u); // the block and the table
    EXPECT_EQ(support::liveAllocations(), live);
}

// Of one array the table is full, so that the larger array also makes the table grow.
TYPED_TEST(ScratchPadFaults, EveryFailureOfALargerArrayLeavesAUsablePad)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        ScratchPad pad;
        this->get(pad, 0, 5);
        failed = support::failsOnAllocation(++n, [&] { this->get(pad, 0, 10); });

        this->expectUsable(pad, 3);
    }
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(ScratchPadFaults, ArrayOfSizeZeroMayBeHadAfterEveryFailure)
{
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        ScratchPad pad;
        this->get(pad, 0, 5);
        failed = support::failsOnAllocation(++n, [&] { this->get(pad, 0, 10); });

        EXPECT_NE(this->get(pad, 0, 0), nullptr);
    }
}

TYPED_TEST(ScratchPadFaults, PadMayBeDeallocatedAfterEveryFailure)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        ScratchPad pad;
        this->get(pad, 0, 5);
        failed = support::failsOnAllocation(++n, [&] { this->get(pad, 0, 10); });

        pad.deallocate();

        this->expectUsable(pad, 3);
    }
    EXPECT_EQ(support::liveAllocations(), live);
}

TYPED_TEST(ScratchPadFaults, EveryFailureOnTheWayToManyArraysLeavesAUsablePad)
{
    const std::size_t live = support::liveAllocations();
    std::size_t n = 0;
    for (bool failed = true; failed;) {
        ScratchPad pad;
        failed = support::failsOnAllocation(++n, [&] {
            for (unsigned long id = 0; id < 20; ++id)
                this->get(pad, id, 5);
        });

        this->expectUsable(pad, 20);
    }
    EXPECT_EQ(n, 25u); // twenty blocks, and tables of 2, 7, 17 and 37 entries
    EXPECT_EQ(support::liveAllocations(), live);
}

// In a process of its own: what goes wrong here ends it.
template <class T> using ScratchPadDeathTest = ScratchPadFaults<T>;
TYPED_TEST_SUITE(ScratchPadDeathTest, support::ScratchTypes);

TYPED_TEST(ScratchPadDeathTest, PadIsWholeAfterAFailureToShrink)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto run = [&] {
        const std::size_t live = support::liveAllocations();
        {
            ScratchPad pad;
            this->wearOut(pad);
            support::failsOnAllocation(1, [&] { pad.deallocate(); });
            pad.deallocate();
            this->expectUsable(pad, 20);
        }
        std::exit(support::liveAllocations() == live ? 0 : 1);
    };

    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TYPED_TEST(ScratchPadDeathTest, DestructorOutlivesAFailureToShrink)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto run = [&] {
        const std::size_t live = support::liveAllocations();
        {
            ScratchPad pad;
            this->wearOut(pad);
            const support::FailingAllocation failing(1);
            pad.~ScratchPad();
            new (&pad) ScratchPad();
        }
        std::exit(support::liveAllocations() == live ? 0 : 1);
    };

    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

} // namespace
