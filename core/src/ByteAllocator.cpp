#include <kyr/ByteAllocator>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace kyr {

void* ByteAllocator::allocateBytes(std::size_t bytes, std::size_t alignment)
{
    void* pointer = nullptr;
    // posix_memalign takes no alignment below that of a pointer.
    if (posix_memalign(&pointer, std::max(alignment, sizeof(void*)), bytes) != 0)
        throw std::bad_alloc();
    return pointer;
}

void ByteAllocator::deallocateBytes(void* pointer, std::size_t /*bytes*/)
{
    std::free(pointer);
}

} // namespace kyr
