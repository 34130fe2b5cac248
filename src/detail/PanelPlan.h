#ifndef KYRORVEL_DETAIL_PANEL_PLAN_H
#define KYRORVEL_DETAIL_PANEL_PLAN_H

#include "FactorTasks.h"

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace detail {

/// The panels of a factor pattern, and what each takes from which; with the arrays that the
/// factorization panel by panel works in. O(blocks) of lists; the arrays hold one panel, and the
/// square of its width twice.
template <class T> class PanelPlan {
public:
    /// @param offsets        per block: its first scalar
    /// @param columnStart    per block column: its entries, rows ascending
    void make(const std::vector<unsigned int>& sizes, const std::vector<unsigned int>& offsets,
              const std::vector<unsigned int>& columnStart,
              const std::vector<ColumnEntry>& columnEntries);

    /// Sets the members of a task that the plan owns.
    void fill(PanelFactorization<T>& task);

private:
    void findPanels(const std::vector<unsigned int>& sizes,
                    const std::vector<unsigned int>& columnStart,
                    const std::vector<ColumnEntry>& columnEntries);
    void findSources(const std::vector<unsigned int>& columnStart,
                     const std::vector<ColumnEntry>& columnEntries);
    void makeRoom(const std::vector<unsigned int>& sizes, const std::vector<unsigned int>& offsets,
                  const std::vector<unsigned int>& columnStart,
                  const std::vector<ColumnEntry>& columnEntries);

    std::vector<unsigned int> m_panelStart;
    std::vector<unsigned int> m_panelOf; ///< per block column
    std::vector<unsigned int> m_sourceStart;
    std::vector<PanelSource> m_sources;
    std::vector<unsigned int> m_position;
    std::vector<unsigned int> m_packedAt;
    std::vector<T> m_panel;
    std::vector<T> m_triangle;
    std::vector<T> m_packed;
    std::vector<T> m_lanes;
};

} // namespace detail
} // namespace kyrOrvel

#endif
