#ifndef KYRORVEL_DETAIL_ARRAYS_H
#define KYRORVEL_DETAIL_ARRAYS_H

#include <cstddef>
#include <cstdint>

namespace kyrOrvel {
namespace detail {

/// Frees an owned array and forgets it.
template <class T> void release(T*& array)
{
    delete[] array;
    array = nullptr;
}

/// Replaces an owned array by a zeroed one of n elements. If the allocation throws, the array is
/// null: nothing dangles.
template <class T> void renew(T*& array, std::size_t n)
{
    release(array);
    array = new T[n]();
}

/// p rounded up to the next multiple of some bytes.
template <std::size_t Bytes, class T> T* alignedTo(T* p)
{
    const auto address = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t padding = (Bytes - address % Bytes) % Bytes;
    return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(p) + padding);
}

} // namespace detail
} // namespace kyrOrvel

#endif
