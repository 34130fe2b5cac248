#include <kyrOrvelClient/BlockMatrix>

#include "../OutOfMemory.h"

#include <algorithm>
#include <atomic>
#include <numeric>

namespace kyrOrvel {
namespace client {

namespace {

constexpr std::size_t kChunkSize = 4096;

std::uint64_t newIdentity()
{
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

template <class Entries> auto lowerBound(Entries& entries, unsigned int column)
{
    return std::lower_bound(entries.begin(), entries.end(), column,
                            [](const auto& entry, unsigned int c) { return entry.column < c; });
}

} // namespace

template <class T>
BlockMatrix<T>::BlockMatrix(std::vector<unsigned int> blockSizes, unsigned int firstTrailing)
    : m_identity(newIdentity()), m_sizes(std::move(blockSizes)), m_rows(m_sizes.size())
{
    m_firstTrailing = std::min(firstTrailing, numBlockRows());
    m_offsets.reserve(m_sizes.size() + 1);
    for (const unsigned int size : m_sizes)
        m_offsets.push_back(m_offsets.back() + size);
}

template <class T> T* BlockMatrix<T>::block(unsigned int r, unsigned int c)
{
    if (r >= numBlockRows() || c > r)
        return nullptr;
    std::vector<Entry>& entries = m_rows[r];
    const auto place = lowerBound(entries, c);
    if (place != entries.end() && place->column == c)
        return place->values;
    T* const values = newValues(static_cast<std::size_t>(m_sizes[r]) * m_sizes[c]);
    entries.insert(place, Entry{c, values});
    ++m_numBlocks;
    return values;
}

template <class T> const T* BlockMatrix<T>::find(unsigned int r, unsigned int c) const
{
    if (r >= numBlockRows() || c > r)
        return nullptr;
    const std::vector<Entry>& entries = m_rows[r];
    const auto place = lowerBound(entries, c);
    return place != entries.end() && place->column == c ? place->values : nullptr;
}

template <class T> Status BlockMatrix<T>::add(unsigned int r, unsigned int c, const T* values)
{
    const auto refuse = [&](const std::string& why) {
        const unsigned int late = std::max(r, c);
        return Status{StatusCode::InvalidInput,
                      "block (" + std::to_string(r) + ", " + std::to_string(c) + ") " + why, late,
                      kNone, late < numBlockRows() ? id(late) : late};
    };
    if (std::max(r, c) >= numBlockRows())
        return refuse("lies outside a matrix of " + std::to_string(numBlockRows()) + " block rows");
    const std::size_t m = m_sizes[r];
    const std::size_t n = m_sizes[c];
    if (!values && m * n != 0)
        return refuse("is given no values");
    T* target = nullptr;
    Status status = guardMemory([&] {
        target = block(std::max(r, c), std::min(r, c));
        return Status();
    });
    if (!status.ok())
        return status;
    const std::size_t rowStep = r >= c ? n : 1;
    const std::size_t columnStep = r >= c ? 1 : m;
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j)
            target[i * rowStep + j * columnStep] += values[i * n + j];
    return {};
}

template <class T> void BlockMatrix<T>::setId(unsigned int block, std::uint64_t id)
{
    if (block >= numBlockRows())
        return;
    if (m_ids.empty()) {
        m_ids.resize(numBlockRows());
        std::iota(m_ids.begin(), m_ids.end(), std::uint64_t(0));
    }
    m_ids[block] = id;
}

template <class T> void BlockMatrix<T>::setZero()
{
    for (Chunk& chunk : m_chunks)
        std::fill_n(chunk.values.get(), chunk.used, T(0));
}

template <class T> void BlockMatrix<T>::multiply(const T* x, T* y) const
{
    std::fill_n(y, dimension(), T(0));
    for (unsigned int r = 0; r < numBlockRows(); ++r) {
        const std::size_t m = m_sizes[r];
        const T* const xr = x + m_offsets[r];
        T* const yr = y + m_offsets[r];
        for (const Entry& entry : m_rows[r]) {
            const std::size_t n = m_sizes[entry.column];
            const bool diagonal = entry.column == r;
            const T* const xc = x + m_offsets[entry.column];
            T* const yc = y + m_offsets[entry.column];
            for (std::size_t i = 0; i < m; ++i) {
                const T* const a = entry.values + i * n;
                const std::size_t mirrored = diagonal ? i : n; // a diagonal block: below it only
                for (std::size_t j = 0; j < mirrored; ++j) {
                    yr[i] += a[j] * xc[j];
                    yc[j] += a[j] * xr[i];
                }
                if (diagonal)
                    yr[i] += a[i] * xr[i];
            }
        }
    }
}

/// Room for n zeroed scalars. An empty block has a place of its own all the same.
template <class T> T* BlockMatrix<T>::newValues(std::size_t n)
{
    if (m_chunks.empty() || m_chunks.back().capacity - m_chunks.back().used < n) {
        const std::size_t capacity = std::max(n, kChunkSize);
        m_chunks.push_back({std::unique_ptr<T[]>(new T[capacity]()), 0, capacity});
    }
    Chunk& chunk = m_chunks.back();
    T* const values = chunk.values.get() + chunk.used;
    chunk.used += n;
    return values;
}

template class BlockMatrix<float>;
template class BlockMatrix<double>;

} // namespace client
} // namespace kyrOrvel
