#include "detail/PanelPlan.h"

#include <algorithm>

namespace kyrOrvel {
namespace detail {

namespace {

/// The factorization keeps 8 rows in lanes, twice as many at the most.
constexpr std::size_t kLanes = 8;

} // namespace

template <class T>
void PanelPlan<T>::make(const std::vector<unsigned int>& sizes,
                        const std::vector<unsigned int>& offsets,
                        const std::vector<unsigned int>& columnStart,
                        const std::vector<ColumnEntry>& columnEntries, unsigned int panelWidth)
{
    findPanels(sizes, columnStart, columnEntries, panelWidth);
    findSources(columnStart, columnEntries);
    makeRoom(sizes, offsets, columnStart, columnEntries);
}

/// A column joins the one before it if that one has the same rows and itself.
template <class T>
void PanelPlan<T>::findPanels(const std::vector<unsigned int>& sizes,
                              const std::vector<unsigned int>& columnStart,
                              const std::vector<ColumnEntry>& columnEntries,
                              unsigned int panelWidth)
{
    const auto n = static_cast<unsigned int>(sizes.size());
    const auto countOf = [&](unsigned int c) { return columnStart[c + 1] - columnStart[c]; };
    m_panelStart.clear();
    m_panelOf.resize(n);
    unsigned int width = 0;
    for (unsigned int c = 0; c < n; ++c) {
        const bool joins = c > 0 && countOf(c - 1) == countOf(c) + 1 &&
                           columnEntries[columnStart[c - 1]].row == c &&
                           width + sizes[c] <= panelWidth;
        if (!joins) {
            m_panelStart.push_back(c);
            width = 0;
        }
        width += sizes[c];
        m_panelOf[c] = static_cast<unsigned int>(m_panelStart.size()) - 1;
    }
    m_panelStart.push_back(n);
}

template <class T>
void PanelPlan<T>::findSources(const std::vector<unsigned int>& columnStart,
                               const std::vector<ColumnEntry>& columnEntries)
{
    const auto numPanels = static_cast<unsigned int>(m_panelStart.size()) - 1;
    // Calls f(target, source) for all pairs, sources ascending.
    const auto forEachPair = [&](auto f) {
        for (unsigned int panel = 0; panel < numPanels; ++panel) {
            const unsigned int c = m_panelStart[panel];
            const unsigned int last = columnStart[c + 1];
            unsigned int e = columnStart[c] + (m_panelStart[panel + 1] - 1 - c);
            while (e < last) {
                const unsigned int target = m_panelOf[columnEntries[e].row];
                const unsigned int first = e;
                while (e < last && m_panelOf[columnEntries[e].row] == target)
                    ++e;
                f(target, PanelSource{panel, first, e, last});
            }
        }
    };
    m_sourceStart.assign(std::size_t(numPanels) + 2, 0);
    forEachPair([&](unsigned int target, const PanelSource&) { ++m_sourceStart[target + 2]; });
    for (unsigned int panel = 0; panel < numPanels; ++panel)
        m_sourceStart[panel + 2] += m_sourceStart[panel + 1];
    m_sources.resize(m_sourceStart[numPanels + 1]);
    forEachPair([&](unsigned int target, const PanelSource& source) {
        m_sources[m_sourceStart[target + 1]++] = source;
    });
}

template <class T>
void PanelPlan<T>::makeRoom(const std::vector<unsigned int>& sizes,
                            const std::vector<unsigned int>& offsets,
                            const std::vector<unsigned int>& columnStart,
                            const std::vector<ColumnEntry>& columnEntries)
{
    const auto numPanels = static_cast<unsigned int>(m_panelStart.size()) - 1;
    std::size_t panel = 0;
    std::size_t widest = 0; // of several columns
    std::size_t gathered = 0;
    std::size_t packed = 0;
    unsigned int columns = 0;
    const auto widthOf = [&](unsigned int p) {
        const unsigned int last = m_panelStart[p + 1] - 1;
        return std::size_t(offsets[last]) + sizes[last] - offsets[m_panelStart[p]];
    };
    for (unsigned int p = 0; p < numPanels; ++p) {
        const unsigned int first = m_panelStart[p];
        const std::size_t width = widthOf(p);
        std::size_t rows = sizes[first];
        for (unsigned int e = columnStart[first]; e < columnStart[first + 1]; ++e)
            rows += sizes[columnEntries[e].row];
        panel = std::max(panel, rows * width);
        gathered =
            std::max<std::size_t>(gathered, packedStride<T>(static_cast<unsigned int>(width)));
        if (m_panelStart[p + 1] - first > 1)
            widest = std::max(widest, width);
        columns = std::max(columns, m_panelStart[p + 1] - first);
        for (unsigned int s = m_sourceStart[p]; s < m_sourceStart[p + 1]; ++s)
            packed = std::max(packed, widthOf(m_sources[s].panel) *
                                          packedStride<T>(static_cast<unsigned int>(width)));
    }
    m_rooms.resize(1);
    Room& room = m_rooms.front();
    room.position.resize(sizes.size());
    room.packedAt.resize(std::size_t(columns) + 1);
    room.runs.resize(std::size_t(columns) + 1);
    room.panel.resize(panel + kSpareScalars);
    room.triangle.resize(widest * widest + kSpareScalars);
    room.packed.resize(packed + kSpareScalars);
    room.gathered.resize(kMostGatheredRows * gathered + kSpareScalars);
    room.lanes.resize(2 * kLanes *
                      std::max<std::size_t>(widest, *std::max_element(sizes.begin(), sizes.end())));
}

template <class T>
void PanelPlan<T>::takeInput(const std::vector<unsigned int>& rowStart,
                             const std::vector<unsigned int>& columns,
                             const std::vector<unsigned int>& slots)
{
    m_inputStart.assign(std::size_t(numPanels()) + 2, 0);
    m_inputs.resize(columns.size());
    for (const unsigned int c : columns)
        ++m_inputStart[m_panelOf[c] + 2];
    for (unsigned int panel = 0; panel < numPanels(); ++panel)
        m_inputStart[panel + 2] += m_inputStart[panel + 1];
    for (unsigned int r = 0; r + 1 < rowStart.size(); ++r)
        for (unsigned int a = rowStart[r]; a < rowStart[r + 1]; ++a)
            m_inputs[m_inputStart[m_panelOf[columns[a]] + 1]++] = {r, columns[a], slots[a]};
    const InputEntry last = m_inputs.empty() ? InputEntry{} : m_inputs.back();
    m_inputs.insert(m_inputs.end(), kInputsAhead, last);
}

template <class T> void PanelPlan<T>::makeRoomFor(unsigned int threads)
{
    while (m_rooms.size() < threads)
        m_rooms.push_back(Room(m_rooms.front()));
}

template <class T> void PanelPlan<T>::fill(PanelFactorization<T>& task, unsigned int thread)
{
    Room& room = m_rooms[thread];
    task.panelStart = m_panelStart.data();
    task.sourceStart = m_sourceStart.data();
    task.sources = m_sources.data();
    task.inputStart = m_inputStart.data();
    task.inputs = m_inputs.data();
    task.position = room.position.data();
    task.packedAt = room.packedAt.data();
    task.runs = room.runs.data();
    task.panel = room.panel.data();
    task.triangle = room.triangle.data();
    task.packed = room.packed.data();
    task.gathered = room.gathered.data();
    task.lanes = room.lanes.data();
}

template class PanelPlan<float>;
template class PanelPlan<double>;

} // namespace detail
} // namespace kyrOrvel
