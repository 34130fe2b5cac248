#include <kyr/Abort>
#include <kyr/ByteAllocator>
#include <kyr/Prime>

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace {

bool isPrime(unsigned int n)
{
    for (unsigned int d = 2; d < n; ++d)
        if (n % d == 0)
            return false;
    return n >= 2;
}

TEST(Prime, NextPrimeIsTheSmallestNotBelow)
{
    for (unsigned int n = 0; n < 2000; ++n) {
        unsigned int expected = n;
        while (!isPrime(expected))
            ++expected;
        EXPECT_EQ(kyr::nextPrime(n), expected) << "n = " << n;
    }
}

TEST(Prime, SquaresOfPrimesAreNotTaken)
{
    EXPECT_EQ(kyr::nextPrime(49), 53u);
    EXPECT_EQ(kyr::nextPrime(65521u * 65521u), 4293001469u);
}

TEST(Prime, LargestPrimeOfThirtyTwoBitsIsReached)
{
    EXPECT_EQ(kyr::nextPrime(4294967280u), 4294967291u);
    EXPECT_EQ(kyr::nextPrime(4294967291u), 4294967291u);
}

TEST(Prime, BeyondTheLargestPrimeThereIsNone)
{
    EXPECT_EQ(kyr::nextPrime(4294967292u), 0u);
    EXPECT_EQ(kyr::nextPrime(4294967295u), 0u);
}

TEST(ByteAllocator, StorageIsAlignedAndUsable)
{
    kyr::ByteAllocator allocator;
    for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2)
        for (const std::size_t bytes : {1ul, 15ul, 16ul, 17ul, 1000ul}) {
            void* const storage = allocator.allocateBytes(bytes, alignment);

            ASSERT_NE(storage, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(storage) % alignment, 0u)
                << bytes << " bytes aligned to " << alignment;
            std::memset(storage, 0xAB, bytes);
            allocator.deallocateBytes(storage, bytes);
        }
}

TEST(ByteAllocator, ZeroBytesMayBeDeallocated)
{
    kyr::ByteAllocator allocator;

    void* const storage = allocator.allocateBytes(0, 16);

    allocator.deallocateBytes(storage, 0);
}

TEST(ByteAllocator, NullIsIgnored)
{
    kyr::ByteAllocator allocator;

    allocator.deallocateBytes(nullptr, 100);
}

TEST(ByteAllocator, AnyObjectFreesWhatAnotherAllocated)
{
    kyr::ByteAllocator one;
    kyr::ByteAllocator other;

    void* const storage = one.allocateBytes(100, 16);

    other.deallocateBytes(storage, 100);
}

// A sanitizer ends the process at such a size by a report of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED
#endif
#endif
#ifndef SANITIZED
TEST(ByteAllocator, ThrowsWhenThereIsNoMemory)
{
    kyr::ByteAllocator allocator;

    EXPECT_THROW(allocator.allocateBytes(std::numeric_limits<std::size_t>::max() / 2, 16),
                 std::bad_alloc);
}
#endif

TEST(AbortDeathTest, EndsTheProcessBySignalAndPrintsNothing)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";

    EXPECT_EXIT(kyr::abort(), testing::KilledBySignal(SIGABRT), testing::Eq(std::string()));
}

} // namespace
