#ifndef KYRORVEL_DETAIL_ROW_PLAN_H
#define KYRORVEL_DETAIL_ROW_PLAN_H

#include "RowFactorization.h"

#include <kyrOrvel/Orvel>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace detail {

/// What the factorization row by row needs to know of a factor pattern. Made once per pattern, kept
/// in OrvelData.
template <class T> class RowPlan {
public:
    /// Brings the plan up to date with the factor pattern and the input of `data`; false if they
    /// are none that the path can take. O(blocks) for a pattern that it knows.
    bool prepare(const OrvelData<T>& data);

    /// Sizes the factors and acquires their blocks, unless they are laid out like that already:
    /// then all blocks will be overwritten, and only what is beyond them is cleared.
    void layOutFactors(OrvelData<T>& data);

    /// The work, after prepare and layOutFactors.
    RowFactorization<T> task(OrvelData<T>& data);

private:
    bool isSamePattern(const OrvelData<T>& data) const;
    bool takePattern(const OrvelData<T>& data);
    void takeColumns();
    bool isClosed() const;
    bool takeInput(const OrvelData<T>& data);
    bool isLaidOut(const SparseMatrix<T>& factor) const;

    bool m_known = false; ///< whether the pattern below is whole
    bool m_usable = false;
    unsigned int m_numRows = 0;
    std::vector<unsigned int> m_rowStart;
    std::vector<unsigned int> m_columns;
    std::vector<unsigned int> m_sizes;
    std::vector<std::size_t> m_valueAt; ///< per slot: where its values begin
    std::size_t m_numValues = 0;
    std::vector<unsigned int> m_columnStart;
    std::vector<ColumnEntry> m_columnEntries;
    std::vector<const T*> m_input;
    std::vector<unsigned int> m_done;
    std::vector<unsigned int> m_workAt;
    std::vector<T> m_work;
    std::vector<T> m_reciprocals;
};

} // namespace detail
} // namespace kyrOrvel

#endif
