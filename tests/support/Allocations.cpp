#include "Allocations.h"

#include <kyr/ByteAllocator>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<std::size_t> s_allocations{0};
std::atomic<std::size_t> s_bytes{0};
std::atomic<std::size_t> s_live{0};
std::atomic<std::size_t> s_liveBytes{0};
std::atomic<std::size_t> s_failing{0}; ///< how many allocations until the one that fails; 0: none
std::atomic<bool> s_failed{false};

/// Whether this is the allocation that is to fail.
bool countsDownToZero()
{
    std::size_t left = s_failing.load();
    while (left > 0)
        if (s_failing.compare_exchange_weak(left, left - 1))
            return left == 1;
    return false;
}

/// Null on failure. Every block comes from malloc or its kin, so that one function frees them all.
void* allocate(std::size_t bytes, std::size_t alignment) noexcept
{
    if (countsDownToZero()) {
        s_failed = true;
        return nullptr;
    }
    void* pointer = nullptr;
    if (alignment <= alignof(std::max_align_t))
        pointer = std::malloc(std::max<std::size_t>(bytes, 1));
    else if (posix_memalign(&pointer, alignment, std::max<std::size_t>(bytes, 1)) != 0)
        pointer = nullptr;
    if (pointer) {
        ++s_allocations;
        s_bytes += bytes;
        ++s_live;
        s_liveBytes += malloc_usable_size(pointer);
    }
    return pointer;
}

void* allocateOrThrow(std::size_t bytes, std::size_t alignment)
{
    void* const pointer = allocate(bytes, alignment);
    if (!pointer)
        throw std::bad_alloc();
    return pointer;
}

void deallocate(void* pointer) noexcept
{
    if (!pointer)
        return;
    --s_live;
    s_liveBytes -= malloc_usable_size(pointer);
    std::free(pointer);
}

constexpr std::size_t kDefaultAlignment = alignof(std::max_align_t);

} // namespace

namespace support {

std::size_t liveAllocations()
{
    return s_live;
}

std::size_t liveBytes()
{
    return s_liveBytes;
}

AllocationCount::AllocationCount() : m_allocations(s_allocations), m_bytes(s_bytes)
{
}

std::size_t AllocationCount::allocations() const
{
    return s_allocations - m_allocations;
}

std::size_t AllocationCount::bytes() const
{
    return s_bytes - m_bytes;
}

FailingAllocation::FailingAllocation(std::size_t n)
{
    s_failed = false;
    s_failing = n;
}

FailingAllocation::~FailingAllocation()
{
    s_failing = 0;
}

bool FailingAllocation::happened() const
{
    return s_failed;
}

} // namespace support

// The program's definitions take the place of the core library's.
namespace kyr {

void* ByteAllocator::allocateBytes(std::size_t bytes, std::size_t alignment)
{
    return allocateOrThrow(bytes, alignment);
}

void ByteAllocator::deallocateBytes(void* pointer, std::size_t /*bytes*/)
{
    deallocate(pointer);
}

} // namespace kyr

void* operator new(std::size_t bytes)
{
    return allocateOrThrow(bytes, kDefaultAlignment);
}

void* operator new[](std::size_t bytes)
{
    return allocateOrThrow(bytes, kDefaultAlignment);
}

void* operator new(std::size_t bytes, std::align_val_t alignment)
{
    return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}

void* operator new[](std::size_t bytes, std::align_val_t alignment)
{
    return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    return allocate(bytes, kDefaultAlignment);
}

void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept
{
    return allocate(bytes, kDefaultAlignment);
}

void* operator new(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return allocate(bytes, static_cast<std::size_t>(alignment));
}

void* operator new[](std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return allocate(bytes, static_cast<std::size_t>(alignment));
}

void operator delete(void* pointer) noexcept
{
    deallocate(pointer);
}

void operator delete[](void* pointer) noexcept
{
    deallocate(pointer);
}

void operator delete(void* pointer, std::size_t) noexcept
{
    deallocate(pointer);
}

void operator delete[](void* pointer, std::size_t) noexcept
{
    deallocate(pointer);
}

void operator delete(void* pointer, std::align_val_t) noexcept
{
    deallocate(pointer);
}

void operator delete[](void* pointer, std::align_val_t) noexcept
{
    deallocate(pointer);
}

void operator delete(void* pointer, std::size_t, std::align_val_t) noexcept
{
    deallocate(pointer);
}

void operator delete[](void* pointer, std::size_t, std::align_val_t) noexcept
{
    deallocate(pointer);
}

void operator delete(void* pointer, const std::nothrow_t&) noexcept
{
    deallocate(pointer);
}

void operator delete[](void* pointer, const std::nothrow_t&) noexcept
{
    deallocate(pointer);
}

void operator delete(void* pointer, std::align_val_t, const std::nothrow_t&) noexcept
{
    deallocate(pointer);
}

void operator delete[](void* pointer, std::align_val_t, const std::nothrow_t&) noexcept
{
    deallocate(pointer);
}
