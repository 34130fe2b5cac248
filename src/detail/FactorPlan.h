#ifndef KYRORVEL_DETAIL_FACTOR_PLAN_H
#define KYRORVEL_DETAIL_FACTOR_PLAN_H

#include "FactorTasks.h"
#include "PanelPlan.h"
#include "WorkShares.h"
#include "Workspace.h"

#include <kyrOrvel/Orvel>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace detail {

/// What the fast factorizations need to know of a factor pattern. Made once per pattern, kept in
/// OrvelData.
template <class T> class FactorPlan {
public:
    /// Brings the plan up to date with the factor pattern and the input of `data`; false if they
    /// are none that a fast path can take. O(blocks) for a pattern that it knows, O(1) for one that
    /// the caller vouches for.
    bool prepare(const OrvelData<T>& data);

    /// Whether rows or panels are meant to be faster, or asked for.
    bool goesByRows() const;

    /// Sizes the factors and acquires their blocks, unless they are laid out like that already:
    /// then all blocks will be overwritten, and only what is beyond them is cleared.
    void layOutFactors(OrvelData<T>& data);

    // The work, after prepare and layOutFactors: first all that the threads share, then what each
    // needs. A task names all units; threads put their shares in place of them.
    void beginRows(unsigned int threads);
    void beginPanels(unsigned int threads);
    RowFactorization<T> rowTask(const OrvelData<T>& data, unsigned int thread);
    PanelFactorization<T> panelTask(const OrvelData<T>& data, unsigned int thread);
    const WorkShares& rowShares(unsigned int threads);
    const WorkShares& panelShares(unsigned int threads);

private:
    bool isVouchedFor(const OrvelData<T>& data) const;
    bool isSamePattern(const OrvelData<T>& data) const;
    bool takePattern(const OrvelData<T>& data);
    void takeColumns();
    bool isClosed() const;
    void countProducts();
    bool takeInput(const SparseMatrix<T>& A);
    bool findInputSlots(const SparseMatrix<T>& A);
    bool isLaidOut(const SparseMatrix<T>& factor) const;
    void takeCommon(const OrvelData<T>& data, FactorTask<T>& task);
    void countUnits(unsigned int count);

    /// What a thread works in that goes by rows.
    struct RowRoom {
        std::vector<unsigned int> workAt;
        Workspace<T> work;
    };

    struct Shares {
        unsigned int threads = 0; ///< 0: none are known
        WorkShares shares;
    };

    bool m_known = false; ///< whether the pattern below is whole
    bool m_usable = false;
    bool m_isCurrent = false; ///< whether m_input and the factors' layout are as the data has them
    bool m_hasPanels = false; ///< whether m_panels is of this pattern
    bool m_hasPanelInput = false; ///< whether m_panels knows where the input goes
    unsigned int m_numRows = 0;
    std::vector<unsigned int> m_rowStart;
    std::vector<unsigned int> m_columns;
    std::vector<unsigned int> m_sizes;
    std::vector<std::size_t> m_bytesAt; ///< per slot: where its values begin
    std::size_t m_numValues = 0;
    double m_products = 0;      ///< multiply-subtracts of a factorization, about
    unsigned int m_largest = 0; ///< size of a block
    std::size_t m_longest = 0;  ///< scalar columns of a row
    std::vector<unsigned int> m_columnStart;
    std::vector<ColumnEntry> m_columnEntries;
    std::vector<unsigned int> m_inputRowStart; ///< of the input whose slots are known, if any
    std::vector<unsigned int> m_inputColumns;
    std::vector<unsigned int> m_inputSlots; ///< per block of the input
    std::vector<const T*> m_input;          ///< per slot: the input's block, or null
    std::vector<unsigned int> m_units;      ///< all rows, or panels, in their order
    std::vector<unsigned int> m_done;
    std::vector<RowRoom> m_rowRooms; ///< per thread
    std::vector<T> m_reciprocals;
    PanelPlan<T> m_panels;
    std::vector<unsigned char> m_finished; ///< per panel
    Shares m_rowShares;
    Shares m_panelShares;
};

} // namespace detail
} // namespace kyrOrvel

#endif
