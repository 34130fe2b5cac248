#ifndef KYRORVEL_DETAIL_PANEL_PLAN_H
#define KYRORVEL_DETAIL_PANEL_PLAN_H

#include "FactorTasks.h"
#include "Workspace.h"

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace detail {

/// The panels of a factor pattern, and what each takes from which; with the arrays that the
/// factorization panel by panel works in. O(blocks) of lists; the arrays hold, per thread, one
/// panel, the square of its width twice, and a word for each block row.
template <class T> class PanelPlan {
public:
    /// @param offsets        per block: its first scalar
    /// @param columnStart    per block column: its entries, rows ascending
    /// @param panelWidth     scalar columns of a panel of several blocks, at the most
    void make(const std::vector<unsigned int>& sizes, const std::vector<unsigned int>& offsets,
              const std::vector<unsigned int>& columnStart,
              const std::vector<ColumnEntry>& columnEntries, unsigned int panelWidth);

    /// Notes where the blocks of an input go, by their rows, columns and slots of the factor.
    void takeInput(const std::vector<unsigned int>& rowStart,
                   const std::vector<unsigned int>& columns,
                   const std::vector<unsigned int>& slots);

    /// Makes arrays for that many threads.
    void makeRoomFor(unsigned int threads);

    /// Sets the members of a task that the plan owns, for one of the threads.
    void fill(PanelFactorization<T>& task, unsigned int thread);

    unsigned int numPanels() const { return static_cast<unsigned int>(m_panelStart.size()) - 1; }
    const std::vector<unsigned int>& panelOf() const { return m_panelOf; } ///< per block column

private:
    void findPanels(const std::vector<unsigned int>& sizes,
                    const std::vector<unsigned int>& columnStart,
                    const std::vector<ColumnEntry>& columnEntries, unsigned int panelWidth);
    void findSources(const std::vector<unsigned int>& columnStart,
                     const std::vector<ColumnEntry>& columnEntries);
    void makeRoom(const std::vector<unsigned int>& sizes, const std::vector<unsigned int>& offsets,
                  const std::vector<unsigned int>& columnStart,
                  const std::vector<ColumnEntry>& columnEntries);

    std::vector<unsigned int> m_panelStart;
    std::vector<unsigned int> m_panelOf; ///< per block column
    std::vector<unsigned int> m_sourceStart;
    std::vector<PanelSource> m_sources;
    std::vector<unsigned int> m_inputStart; ///< per panel
    std::vector<InputEntry> m_inputs;

    /// What a thread works in.
    struct Room {
        std::vector<unsigned int> position;
        std::vector<unsigned int> packedAt;
        std::vector<PackedRun> runs;
        Workspace<T> panel;
        Workspace<T> triangle;
        Workspace<T> packed;
        Workspace<T> gathered;
        Workspace<T> lanes;
    };
    std::vector<Room> m_rooms; ///< per thread
};

} // namespace detail
} // namespace kyrOrvel

#endif
