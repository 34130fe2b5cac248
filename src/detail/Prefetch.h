#ifndef KYRORVEL_DETAIL_PREFETCH_H
#define KYRORVEL_DETAIL_PREFETCH_H

#include <cstddef>
#include <cstdint>

namespace kyrOrvel {
namespace detail {

/// Asks for memory four pages further on than what is being read, or as far before it. Processors
/// look ahead on their own, but not beyond the end of a page.
template <bool Forwards> struct Prefetch {
    template <class T> void operator()(const T* values, std::size_t count) const
    {
        constexpr std::uintptr_t kDistance = 4 * 4096;
        constexpr std::size_t kLine = 64;
        const auto here = reinterpret_cast<std::uintptr_t>(values);
        const std::uintptr_t there = Forwards ? here + kDistance : here - kDistance;
        for (std::size_t offset = 0; offset < count * sizeof(T); offset += kLine)
            __builtin_prefetch(reinterpret_cast<const void*>(there + offset)); // of any address
    }
};

} // namespace detail
} // namespace kyrOrvel

#endif
