#ifndef KYRORVEL_DETAIL_UPDATE_SEARCH_H
#define KYRORVEL_DETAIL_UPDATE_SEARCH_H

#include <kyrOrvel/MultifrontManager>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace detail {

/// Finds blocks in an update list, asked for in the list's own order: by column, then by row.
///
/// A complete list holds the lower triangle of its node's ancestor entries, column by column, so a
/// pair's place follows from the positions of its two indices among them. That matters: a search
/// entry by entry takes time in the square of the ancestors for every node of a subtree. A list of
/// another shape is searched forward, from where the last search stopped.
template <class T> class UpdateSearch {
public:
    using UpdateEntry = typename MultifrontManager<T>::UpdateEntry;

    /// @param ancestors  the node's ancestor entries, ascending
    UpdateSearch(const std::vector<UpdateEntry>& list, const unsigned int* ancestors,
                 std::size_t count)
        : m_next(list.data()),
          m_list(list.data()),
          m_ancestors(ancestors),
          m_count(count),
          m_isTriangle(list.size() == count * (count + 1) / 2)
    {
    }

    /// The blocks asked for next are those of a column; columns ascend.
    void startColumn(unsigned int column)
    {
        if (!m_isTriangle)
            return;
        while (m_ancestors[m_column] != column)
            ++m_column;
        // Columns 0 .. m_column-1 hold count, count-1, ... entries.
        m_columnBegin = m_list + m_column * (2 * m_count - m_column + 1) / 2;
        m_row = m_column;
    }

    /// The values of block (row, column); rows of a column ascend. The pair has to be in the list.
    T* find(unsigned int row, unsigned int column)
    {
        if (m_isTriangle) {
            while (m_ancestors[m_row] != row)
                ++m_row;
            const UpdateEntry& entry = m_columnBegin[m_row - m_column];
            if (entry.row == row && entry.column == column)
                return entry.data;
            m_isTriangle = false;
        }
        while (m_next->row != row || m_next->column != column)
            ++m_next;
        return m_next->data;
    }

private:
    const UpdateEntry* m_next; ///< where the forward search stopped
    const UpdateEntry* m_list;
    const unsigned int* m_ancestors;
    std::size_t m_count;
    bool m_isTriangle;
    std::size_t m_column = 0; ///< positions among the ancestors
    std::size_t m_row = 0;
    const UpdateEntry* m_columnBegin = nullptr;
};

} // namespace detail
} // namespace kyrOrvel

#endif
