#ifndef KYRORVEL_DETAIL_WORKSPACE_H
#define KYRORVEL_DETAIL_WORKSPACE_H

#include "Arrays.h"

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace detail {

/// An array that begins on a cache line: a vector of a fast factorization that straddles two takes
/// twice as long to load, and longer yet to load again after a store. That is 1 to 3 percent of
/// nets, heaps and walls.
template <class T> class Workspace {
public:
    void resize(std::size_t n) { m_storage.resize(n + kLine / sizeof(T)); }
    T* data() { return alignedTo<kLine>(m_storage.data()); }

private:
    static constexpr std::size_t kLine = 64;
    std::vector<T> m_storage;
};

} // namespace detail
} // namespace kyrOrvel

#endif
