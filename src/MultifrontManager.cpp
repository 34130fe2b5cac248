#include <kyrOrvel/MultifrontManager>

#include "detail/ExactArithmetic.h"
#include "detail/UpdateSearch.h"

#include <cassert>
#include <cstddef>

namespace kyrOrvel {

namespace {

/// One run over a child's update list, entry by entry.
template <class T> class UpdateAddition {
public:
    using Manager = MultifrontManager<T>;
    using Node = typename Manager::Node;
    using UpdateEntry = typename Manager::UpdateEntry;

    UpdateAddition(const Manager& manager, const SkeletonMatrix& pattern,
                   const SparseMatrix<T>& sizes, unsigned int node, unsigned int child)
        : m_nodes(manager.nodes),
          m_pattern(pattern),
          m_sizes(sizes),
          m_node(node),
          m_ancestors(pattern.columnIndices + pattern.rowStart[child] + 1),
          m_count(pattern.rowStart[child + 1] - pattern.rowStart[child] - 1),
          m_next(manager.nodes[child].updates ? manager.nodes[child].updates->data() : nullptr),
          m_end(m_next ? m_next + manager.nodes[child].updates->size() : nullptr)
    {
    }

    void run()
    {
        if (m_count == 0)
            return;
        assert(m_next); // who has ancestors has a list
        addToFront(m_node, 0);
        unsigned int last = m_node;
        for (unsigned int t = 1; t < m_count; ++t) {
            for (; last != m_ancestors[t]; last = m_nodes[last].parent) {
                if (m_nodes[m_nodes[last].parent].owner != m_nodes[m_node].owner) {
                    addRestToUpdates(last);
                    return;
                }
            }
            addToFront(m_ancestors[t], t);
        }
    }

private:
    /// Adds the entries of row a_t, which are its columns a_t, a_{t+1}, ..., to front a_t.
    void addToFront(unsigned int r, unsigned int t)
    {
        const unsigned int* const entries = m_pattern.columnIndices + m_pattern.rowStart[r];
        unsigned int q = 0;
        for (unsigned int i = t; i < m_count; ++i, ++m_next) {
            while (entries[q] != m_ancestors[i])
                ++q;
            addBlock(*m_next, (*m_nodes[r].front)[q]);
        }
    }

    /// Adds all entries not yet consumed to the update list of b.
    void addRestToUpdates(unsigned int b)
    {
        assert(m_nodes[b].updates);
        const unsigned int begin = m_pattern.rowStart[b];
        detail::UpdateSearch<T> search(*m_nodes[b].updates, m_pattern.columnIndices + begin + 1,
                                       m_pattern.rowStart[b + 1] - begin - 1);
        while (m_next != m_end) {
            const unsigned int column = m_next->column;
            search.startColumn(column);
            for (; m_next != m_end && m_next->column == column; ++m_next)
                addBlock(*m_next, search.find(m_next->row, column));
        }
    }

    void addBlock(const UpdateEntry& from, T* to) const
    {
        const std::size_t n =
            std::size_t(m_sizes.blockSizes[from.row]) * m_sizes.blockSizes[from.column];
        for (std::size_t i = 0; i < n; ++i)
            to[i] += from.data[i];
    }

    const Node* m_nodes;
    const SkeletonMatrix& m_pattern;
    const SparseMatrix<T>& m_sizes;
    unsigned int m_node;
    const unsigned int* m_ancestors; ///< the child's column pattern without itself
    unsigned int m_count;
    const UpdateEntry* m_next; ///< the next entry of the child's list
    const UpdateEntry* m_end;
};

} // namespace

template <class T>
void MultifrontManager<T>::addUpdateToNode(const SkeletonMatrix& pattern,
                                           const SparseMatrix<T>& sizes, unsigned long node,
                                           unsigned long child)
{
    UpdateAddition<T>(*this, pattern, sizes, static_cast<unsigned int>(node),
                      static_cast<unsigned int>(child))
        .run();
}

template class MultifrontManager<float>;
template class MultifrontManager<double>;

} // namespace kyrOrvel
