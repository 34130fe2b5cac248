#include "detail/FactorPlan.h"

#include "detail/FactorPath.h"
#include "detail/FactorStorage.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace kyrOrvel {
namespace detail {

namespace {

// Rows are faster than panels up to some products per scalar of L, over the square of the blocks'
// size: rows of larger blocks fill their lanes better. Panels gain from the shorter scalars of
// float, rows hardly do. Measured on nets, lattices, elastic cubes, heaps, walls, where it tells
// within a few percent.
template <class T> constexpr double kFewProducts = sizeof(T) == sizeof(double) ? 3.4 : 2.8;

// Rows need what lies far behind them again and again. In a factor larger than the caches they take
// 1.06 (a net of 70 knots a side) to 1.75 times (a pose graph of 8000) as long as panels.
constexpr double kFewBeyondCaches = 2.6;
constexpr std::size_t kCaches = std::size_t(10) << 20; ///< bytes of L

/// Scalar columns of a panel. Wider ones move less data per product, until they no longer fit into
/// the cache of a core; they are also fewer, for threads to share. In factors of hundreds of
/// megabytes the first counts for more: a lattice of 20³ gains an eighth, an elastic cube of 24³ a
/// fourteenth.
constexpr unsigned int kPanelWidth = 96;
constexpr unsigned int kWidePanel = 144;
constexpr std::size_t kLargeFactor = std::size_t(1) << 24; ///< scalars of L

// What a row and a block cost beside the products, in multiply-subtracts.
constexpr double kWorkPerRow = 300;
constexpr double kWorkPerBlock = 100;

/// What each thread does of the panels above the subtrees: two side by side, but they wait for each
/// other.
constexpr double kPanelsAbove = 0.6;

} // namespace

template <class T> bool FactorPlan<T>::prepare(const OrvelData<T>& data)
{
    if (isVouchedFor(data))
        return true;
    m_isCurrent = false;
    if (!m_known || !isSamePattern(data)) {
        m_known = false; // should an allocation fail
        m_usable = takePattern(data);
        m_known = true;
    }
    return m_usable && takeInput(data.matrix);
}

/// Whether nothing but values has changed since the factors were laid out last.
template <class T> bool FactorPlan<T>::isVouchedFor(const OrvelData<T>& data) const
{
    return m_isCurrent && data.onlyValuesChanged;
}

template <class T> bool FactorPlan<T>::isSamePattern(const OrvelData<T>& data) const
{
    return data.matrix.numBlockRows == m_numRows && data.factorRowStart == m_rowStart &&
           data.factorColumns == m_columns &&
           std::equal(m_sizes.begin(), m_sizes.end(), data.matrix.blockSizes);
}

/// Copies the pattern; false if it is none for these paths.
template <class T> bool FactorPlan<T>::takePattern(const OrvelData<T>& data)
{
    const unsigned int n = data.matrix.numBlockRows;
    m_numRows = n;
    m_rowStart = data.factorRowStart;
    m_columns = data.factorColumns;
    m_hasPanels = false;
    m_rowShares.threads = 0;
    m_panelShares.threads = 0;
    m_sizes.assign(data.matrix.blockSizes, data.matrix.blockSizes + n);
    if (n == 0 || m_rowStart.size() != std::size_t(n) + 1 || m_rowStart[0] != 0 ||
        m_rowStart[n] != m_columns.size())
        return false;
    m_largest = *std::max_element(m_sizes.begin(), m_sizes.end());
    m_bytesAt.resize(m_columns.size());
    m_numValues = 0;
    m_longest = 0;
    for (unsigned int r = 0; r < n; ++r) {
        if (m_rowStart[r + 1] <= m_rowStart[r] || m_columns[m_rowStart[r + 1] - 1] != r)
            return false;
        std::size_t length = 0;
        for (unsigned int slot = m_rowStart[r]; slot < m_rowStart[r + 1]; ++slot) {
            if (slot > m_rowStart[r] && m_columns[slot] <= m_columns[slot - 1])
                return false;
            m_bytesAt[slot] = m_numValues * sizeof(T);
            m_numValues += std::size_t(m_sizes[r]) * m_sizes[m_columns[slot]];
            length += m_sizes[m_columns[slot]];
        }
        m_longest = std::max(m_longest, length);
    }
    takeColumns();
    if (!isClosed())
        return false;
    countProducts();
    std::size_t dimension = 0;
    for (const unsigned int size : m_sizes)
        dimension += size;
    m_inputRowStart.clear();
    m_reciprocals.resize(dimension);
    return true;
}

template <class T> void FactorPlan<T>::takeColumns()
{
    m_columnStart.assign(std::size_t(m_numRows) + 1, 0);
    m_columnEntries.resize(m_columns.size() - m_numRows);
    for (unsigned int r = 0; r < m_numRows; ++r)
        for (unsigned int slot = m_rowStart[r]; slot + 1 < m_rowStart[r + 1]; ++slot)
            ++m_columnStart[m_columns[slot] + 1];
    for (unsigned int c = 0; c < m_numRows; ++c)
        m_columnStart[c + 1] += m_columnStart[c];
    m_done.assign(m_columnStart.begin(), m_columnStart.end() - 1);
    for (unsigned int r = 0; r < m_numRows; ++r)
        for (unsigned int slot = m_rowStart[r]; slot + 1 < m_rowStart[r + 1]; ++slot)
            m_columnEntries[m_done[m_columns[slot]]++] = {r, slot};
}

/// Whether the rows of every column, but for the first, are rows of the column that the first one
/// names. Then the rows that two columns share are in the pattern of either row.
template <class T> bool FactorPlan<T>::isClosed() const
{
    for (unsigned int k = 0; k < m_numRows; ++k) {
        if (m_columnStart[k] == m_columnStart[k + 1])
            continue;
        const unsigned int parent = m_columnEntries[m_columnStart[k]].row;
        unsigned int p = m_columnStart[parent];
        for (unsigned int e = m_columnStart[k] + 1; e < m_columnStart[k + 1]; ++e) {
            const unsigned int row = m_columnEntries[e].row;
            while (p < m_columnStart[parent + 1] && m_columnEntries[p].row < row)
                ++p;
            if (p == m_columnStart[parent + 1] || m_columnEntries[p].row != row)
                return false;
        }
    }
    return true;
}

template <class T> void FactorPlan<T>::countProducts()
{
    m_products = 0;
    for (unsigned int k = 0; k < m_numRows; ++k) {
        double below = 0;
        for (unsigned int e = m_columnStart[k]; e < m_columnStart[k + 1]; ++e)
            below += m_sizes[m_columnEntries[e].row];
        m_products += m_sizes[k] * below * below / 2;
    }
}

/// Finds the input's block for every slot; false if the input has a block that the pattern lacks,
/// or one that two rows hold, as behind gaps of several rows without blocks.
template <class T> bool FactorPlan<T>::takeInput(const SparseMatrix<T>& A)
{
    const bool known = !m_inputRowStart.empty() &&
                       std::equal(m_inputRowStart.begin(), m_inputRowStart.end(), A.rowStart) &&
                       std::equal(m_inputColumns.begin(), m_inputColumns.end(), A.blockColumns);
    if (!known && !findInputSlots(A))
        return false;
    const std::size_t blocks = m_inputSlots.size();
    for (std::size_t a = 0; a < blocks; ++a)
        m_input[m_inputSlots[a]] = A.blockData[a];
    return true;
}

template <class T> bool FactorPlan<T>::findInputSlots(const SparseMatrix<T>& A)
{
    m_inputRowStart.clear(); // unless all of it is found
    m_hasPanelInput = false;
    m_inputSlots.clear();
    m_input.assign(m_columns.size(), nullptr);
    for (unsigned int r = 0; r < m_numRows; ++r) {
        if (A.rowStart[r] < A.rowStart[r + 1] && A.rowStart[r] != m_inputSlots.size())
            return false;
        unsigned int slot = m_rowStart[r];
        for (unsigned int a = A.rowStart[r]; a < A.rowStart[r + 1]; ++a) {
            while (slot < m_rowStart[r + 1] && m_columns[slot] != A.blockColumns[a])
                ++slot;
            if (slot == m_rowStart[r + 1])
                return false;
            m_inputSlots.push_back(slot++);
        }
    }
    m_inputColumns.assign(A.blockColumns, A.blockColumns + m_inputSlots.size());
    m_inputRowStart.assign(A.rowStart, A.rowStart + m_numRows + 1);
    return true;
}

template <class T> void FactorPlan<T>::layOutFactors(OrvelData<T>& data)
{
    if (isVouchedFor(data))
        return;
    if (!isLaidOut(data.factor) || !isLaidOut(data.scaledFactor)) {
        sizeFactors(data);
        for (unsigned int r = 0; r < m_numRows; ++r)
            acquireFactorRow(data, r, [](unsigned int, T*) {});
    }
    for (SparseMatrix<T>* matrix : {&data.factor, &data.scaledFactor}) {
        std::fill(matrix->values + m_numValues, matrix->values + matrix->valueCapacity, T(0));
        matrix->sizeHint = data.matrix.sizeHint;
    }
    std::fill_n(data.factor.blockTags, m_columns.size(), 0u);
    std::fill_n(data.scaledFactor.blockTags, m_columns.size(), 1u);
    m_isCurrent = true;
}

template <class T> bool FactorPlan<T>::isLaidOut(const SparseMatrix<T>& factor) const
{
    if (factor.numBlockRows != m_numRows || factor.numBlocks != m_columns.size() ||
        factor.valueCapacity < m_numValues + kValueSlack ||
        !std::equal(m_rowStart.begin(), m_rowStart.end(), factor.rowStart) ||
        !std::equal(m_columns.begin(), m_columns.end(), factor.blockColumns) ||
        !std::equal(m_sizes.begin(), m_sizes.end(), factor.blockSizes))
        return false;
    unsigned int offset = 0;
    for (unsigned int r = 0; r < m_numRows; ++r) {
        if (factor.blockOffsets[r] != offset)
            return false;
        offset += m_sizes[r];
    }
    if (factor.blockSizes[m_numRows] != offset)
        return false;
    const auto values = reinterpret_cast<std::uintptr_t>(factor.values);
    const T* const* const blocks = factor.blockData;
    const std::size_t* const bytesAt = m_bytesAt.data();
    const std::size_t count = m_bytesAt.size();
    std::uintptr_t moved = 0; // any of them: vectors tell that sooner than ways out
    for (std::size_t slot = 0; slot < count; ++slot)
        moved |= reinterpret_cast<std::uintptr_t>(blocks[slot]) - values - bytesAt[slot];
    return moved == 0;
}

template <class T> bool FactorPlan<T>::goesByRows() const
{
    const FactorSchedule schedule = factorSchedule();
    if (m_largest > kMaxRowBlock)
        return false;
    if (schedule != FactorSchedule::Automatic)
        return schedule == FactorSchedule::Rows;
    const double meanSize = static_cast<double>(m_reciprocals.size()) / m_numRows;
    const double values = static_cast<double>(m_numValues);
    const double few = m_numValues * sizeof(T) > kCaches ? kFewBeyondCaches : kFewProducts<T>;
    return m_products <= few * values * meanSize * meanSize;
}

template <class T> void FactorPlan<T>::beginRows(unsigned int threads)
{
    if (m_rowRooms.size() < threads)
        m_rowRooms.resize(threads);
    for (RowRoom& room : m_rowRooms) {
        room.workAt.resize(m_numRows);
        room.work.resize(m_longest * kMaxRowBlock);
    }
    std::fill(m_done.begin(), m_done.end(), 0u);
    countUnits(m_numRows);
}

template <class T> void FactorPlan<T>::beginPanels(unsigned int threads)
{
    if (!m_hasPanels) {
        std::vector<unsigned int> offsets(m_numRows);
        for (unsigned int r = 1; r < m_numRows; ++r)
            offsets[r] = offsets[r - 1] + m_sizes[r - 1];
        const bool wide =
            m_numValues >= kLargeFactor || factorSchedule() == FactorSchedule::WidePanels;
        m_panels.make(m_sizes, offsets, m_columnStart, m_columnEntries,
                      wide ? kWidePanel : kPanelWidth);
        m_hasPanels = true;
        m_hasPanelInput = false;
    }
    if (!m_hasPanelInput)
        m_panels.takeInput(m_inputRowStart, m_inputColumns, m_inputSlots);
    m_hasPanelInput = true;
    m_panels.makeRoomFor(threads);
    if (threads > 1)
        m_finished.assign(m_panels.numPanels(), 0);
    countUnits(m_panels.numPanels());
}

template <class T> void FactorPlan<T>::countUnits(unsigned int count)
{
    if (m_units.size() == count)
        return;
    m_units.resize(count);
    std::iota(m_units.begin(), m_units.end(), 0u);
}

template <class T>
RowFactorization<T> FactorPlan<T>::rowTask(const OrvelData<T>& data, unsigned int thread)
{
    RowFactorization<T> task;
    takeCommon(data, task);
    task.columns = m_columns.data();
    task.done = m_done.data();
    task.workAt = m_rowRooms[thread].workAt.data();
    task.work = m_rowRooms[thread].work.data();
    return task;
}

template <class T>
PanelFactorization<T> FactorPlan<T>::panelTask(const OrvelData<T>& data, unsigned int thread)
{
    PanelFactorization<T> task;
    takeCommon(data, task);
    m_panels.fill(task, thread);
    task.finished = m_finished.data();
    return task;
}

template <class T> void FactorPlan<T>::takeCommon(const OrvelData<T>& data, FactorTask<T>& task)
{
    task.units = m_units.data();
    task.numUnits = static_cast<unsigned int>(m_units.size());
    task.rowStart = m_rowStart.data();
    task.sizes = m_sizes.data();
    task.offsets = data.factor.blockOffsets;
    task.input = m_input.data();
    task.L = data.factor.blockData;
    task.S = data.scaledFactor.blockData;
    task.pivots = data.pivots.data;
    task.reciprocals = m_reciprocals.data();
    task.bounds = {data.pivotBounds, data.pivotsKeepSigns != 0};
    task.pivotScales = data.pivotScales;
    task.columnStart = m_columnStart.data();
    task.columnEntries = m_columnEntries.data();
}

/// Rows do their share of a column's products when they meet it: with all rows before them there.
template <class T> const WorkShares& FactorPlan<T>::rowShares(unsigned int threads)
{
    if (m_rowShares.threads == threads)
        return m_rowShares.shares;
    std::vector<unsigned int> parent(m_numRows);
    std::vector<double> work(m_numRows, kWorkPerRow);
    for (unsigned int k = 0; k < m_numRows; ++k) {
        const unsigned int first = m_columnStart[k];
        parent[k] = first < m_columnStart[k + 1] ? m_columnEntries[first].row : k;
        double before = m_sizes[k];
        for (unsigned int e = first; e < m_columnStart[k + 1]; ++e) {
            const double size = m_sizes[m_columnEntries[e].row];
            before += size;
            work[m_columnEntries[e].row] += kWorkPerBlock + m_sizes[k] * size * before;
        }
    }
    m_rowShares.threads = 0; // should an allocation fail
    m_rowShares.shares = shareWork(parent, work, threads, 1);
    m_rowShares.threads = threads;
    return m_rowShares.shares;
}

/// Panels take a column's products for their rows and all below.
template <class T> const WorkShares& FactorPlan<T>::panelShares(unsigned int threads)
{
    if (m_panelShares.threads == threads)
        return m_panelShares.shares;
    const std::vector<unsigned int>& panelOf = m_panels.panelOf();
    std::vector<unsigned int> parent(m_panels.numPanels());
    std::vector<double> work(m_panels.numPanels(), 0);
    for (unsigned int k = 0; k < m_numRows; ++k) {
        const unsigned int panel = panelOf[k];
        work[panel] += kWorkPerRow;
        parent[panel] = panel; // unless its last column has a row below
        double below = 0;
        for (unsigned int e = m_columnStart[k + 1]; e-- > m_columnStart[k];) {
            const double size = m_sizes[m_columnEntries[e].row];
            const unsigned int target = panelOf[m_columnEntries[e].row];
            below += size;
            work[target] += m_sizes[k] * size * below;
            work[panel] += kWorkPerBlock + m_sizes[k] * m_sizes[k] * size;
            parent[panel] = target;
        }
    }
    m_panelShares.threads = 0;
    m_panelShares.shares = shareWork(parent, work, threads, kPanelsAbove);
    m_panelShares.threads = threads;
    return m_panelShares.shares;
}

template class FactorPlan<float>;
template class FactorPlan<double>;

} // namespace detail
} // namespace kyrOrvel
