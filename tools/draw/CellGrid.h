#ifndef ORVEL_CELL_GRID_H
#define ORVEL_CELL_GRID_H

#include "BlockPattern.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvel {

/// Blocks counted by cells of a square grid that covers a pattern, each kind on its own.
class CellGrid {
public:
    using Counts = std::array<std::uint32_t, kBlockKinds>;

    /// @param rows   of the pattern
    /// @param cells  on a side, at least 1; no more than rows are used
    CellGrid(unsigned int rows, unsigned int cells)
        : m_rows(std::max(rows, 1u)),
          m_cells(std::min(cells, m_rows)),
          m_counts(std::size_t(m_cells) * m_cells)
    {
    }

    void add(unsigned int r, unsigned int c, BlockKind kind)
    {
        ++m_counts[std::size_t(cellOf(r)) * m_cells + cellOf(c)][kind];
    }

    unsigned int cells() const { return m_cells; }
    const Counts& at(unsigned int row, unsigned int column) const
    {
        return m_counts[std::size_t(row) * m_cells + column];
    }

    static std::uint64_t total(const Counts& counts)
    {
        std::uint64_t sum = 0;
        for (const std::uint32_t count : counts)
            sum += count;
        return sum;
    }

    /// The most blocks in one cell.
    std::uint64_t most() const
    {
        std::uint64_t result = 0;
        for (const Counts& counts : m_counts)
            result = std::max(result, total(counts));
        return result;
    }

private:
    unsigned int cellOf(unsigned int b) const
    {
        return static_cast<unsigned int>(std::uint64_t(b) * m_cells / m_rows);
    }

    unsigned int m_rows;
    unsigned int m_cells;
    std::vector<Counts> m_counts;
};

} // namespace orvel

#endif
