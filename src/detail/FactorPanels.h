// The factorization panel by panel (left-looking), as a template over scalar type. A panel is one
// or more block columns of one supernode: neighbours that have the same rows below. The panel at
// hand is a dense array, a row for each of its scalar rows. It takes the products of all finished
// panels in ascending order, many columns at a time, then those of its own columns, block by block.
//
// Blocks on the diagonal are kept transposed in the panel: the products for L(c, c), which are
// L(i, q)·S(j, q) for i >= j, then come out of the same tiles as those for the blocks below.

template <class T> class PanelFactorizer {
    /// Scalar columns that take the products of a panel's earlier columns at once.
    static constexpr unsigned int kGroupWidth = 24;

    // Runs of columns that are this short on average are gathered, so that tiles are wide, unless
    // products are so few that the copies would show.
    static constexpr unsigned int kShortRun = 16;
    static constexpr unsigned int kLeastProducts = 72;

public:
    explicit PanelFactorizer(const PanelFactorization<T>& task) : m(task) {}

    void run()
    {
        for (unsigned int u = 0; u < m.numUnits; ++u) {
            const unsigned int panel = m.units[u];
            enter(panel);
            load(panel);
            for (unsigned int s = m.sourceStart[panel]; s < m.sourceStart[panel + 1]; ++s) {
                if (m.finished)
                    waitUntilSet(m.finished[m.sources[s].panel]);
                subtract(m.sources[s]);
            }
            for (unsigned int c = m_first; c < m_end; ++c) {
                const unsigned int slot = m.rowStart[c + 1] - 1 - (c - m_first);
                finishRow(c, slot);
                finishDiagonal(c);
                if (m.pivotScales)
                    addOwnTerms(m, c, slot, m_first);
            }
            finishBelow();
            if (m.finished)
                __atomic_store_n(m.finished + panel, 1, __ATOMIC_RELEASE);
        }
    }

private:
    T* rowOf(unsigned int r) const { return m.panel + std::size_t(m.position[r]) * m_width; }
    unsigned int columnOf(unsigned int c) const { return m.offsets[c] - m.offsets[m_first]; }

    void enter(unsigned int panel)
    {
        m_first = m.panelStart[panel];
        m_end = m.panelStart[panel + 1];
        m_width = m.offsets[m_end - 1] + m.sizes[m_end - 1] - m.offsets[m_first];
        m_below = m.columnStart[m_first] + (m_end - 1 - m_first);
        m_lastEntry = m.columnStart[m_first + 1];
    }

    /// The input on the panel's rows; fill-in zero.
    void load(unsigned int panel)
    {
        unsigned int rows = 0;
        for (unsigned int c = m_first; c < m_end; ++c) {
            m.position[c] = rows;
            rows += m.sizes[c];
        }
        for (unsigned int e = m_below; e < m_lastEntry; ++e) {
            const ColumnEntry entry = m.columnEntries[e];
            // Of the rows' slots, which are all over these arrays: nets of 100 gain a twentieth.
            __builtin_prefetch(m.L + entry.slot);
            __builtin_prefetch(m.S + entry.slot);
            m.position[entry.row] = rows;
            rows += m.sizes[entry.row];
        }
        const std::size_t count = std::size_t(rows) * m_width;
        for (std::size_t v = 0; v < count; ++v)
            m.panel[v] = T(0);
        for (unsigned int i = 0; m.pivotScales && i < m_width; ++i)
            m.pivotScales[m.offsets[m_first] + i] = T(0);
        for (unsigned int i = m.inputStart[panel]; i < m.inputStart[panel + 1]; ++i) {
            const InputEntry entry = m.inputs[i];
            prefetchInput(m.inputs + i);
            if (entry.row == entry.column)
                loadTransposed(entry.row, m.input[entry.slot]);
            else
                loadBlock(entry, m.input[entry.slot]);
        }
    }

    /// What lies some entries ahead, and pointers to what lies twice as far: the input is in the
    /// order of rows, and a panel's is all over it. Nets of 100 gain a fourteenth.
    void prefetchInput(const InputEntry* entry) const
    {
        __builtin_prefetch(m.input + entry[kInputsAhead].slot);
        const auto* const block =
            reinterpret_cast<const char*>(m.input[entry[kInputsAhead / 2].slot]);
        for (unsigned int b = 0; b < 256; b += 64)
            __builtin_prefetch(block + b);
    }

    void loadBlock(InputEntry entry, const T* from)
    {
        T* const to = rowOf(entry.row) + columnOf(entry.column);
        const unsigned int p = m.sizes[entry.column];
        for (unsigned int i = 0; i < m.sizes[entry.row]; ++i)
            for (unsigned int q = 0; q < p; ++q)
                to[std::size_t(i) * m_width + q] = *from++;
    }

    void loadTransposed(unsigned int c, const T* from)
    {
        T* const to = rowOf(c) + columnOf(c);
        const unsigned int n = m.sizes[c];
        for (unsigned int i = 0; m.pivotScales && i < n; ++i)
            addMagnitude(m.pivotScales[m.offsets[c] + i], from[i * (n + 1)]);
        for (unsigned int i = 0; i < n; ++i)
            for (unsigned int q = 0; q < n; ++q)
                to[std::size_t(q) * m_width + i] = *from++;
    }

    /// The products of a finished panel K: A(r, c) -= S(r, K)·L(c, K)ᵀ for all its rows.
    void subtract(const PanelSource& source)
    {
        const unsigned int first = m.panelStart[source.panel];
        const unsigned int count = m.panelStart[source.panel + 1] - first;
        const unsigned int columns = pack(source, first, count);
        const unsigned int stride = packedStride<T>(columns);
        const ColumnEntry* const entries = m.columnEntries;
        unsigned int e = source.first;
        for (; e < source.end; ++e) // rows of the panel itself end with their diagonal block
            subtractRows<1>(entries + e, first, count, m.packedAt[e - source.first + 1], stride);
        while (e < source.last) {
            const bool pair = e + 1 < source.last &&
                              m.sizes[entries[e].row] == m.sizes[entries[e + 1].row] &&
                              2 * m.sizes[entries[e].row] <= kTileRows;
            if (pair)
                subtractRows<2>(entries + e, first, count, columns, stride);
            else
                subtractRows<1>(entries + e, first, count, columns, stride);
            e += pair ? 2 : 1;
        }
    }

    /// Copies L(c, K)ᵀ for the columns c of the panel at hand, one after the other, and notes where
    /// each starts. Returns how many scalar columns there are; rows are packedStride of that apart.
    unsigned int pack(const PanelSource& source, unsigned int first, unsigned int count)
    {
        unsigned int columns = 0;
        for (unsigned int e = source.first; e < source.end; ++e) {
            m.packedAt[e - source.first] = columns;
            columns += m.sizes[m.columnEntries[e].row];
        }
        m.packedAt[source.end - source.first] = columns;
        findRuns(source, first, count);
        const unsigned int stride = packedStride<T>(columns);
        for (unsigned int e = source.first; e < source.end; ++e) {
            const ColumnEntry entry = m.columnEntries[e];
            packBlockRow(m, entry, first, count, m.packed + m.packedAt[e - source.first], stride);
        }
        return columns;
    }

    /// Finds the runs of packed columns, and whether they are to be gathered.
    void findRuns(const PanelSource& source, unsigned int first, unsigned int count)
    {
        unsigned int runs = 0;
        unsigned int next = 0; // row that would go on with the run
        for (unsigned int e = source.first; e < source.end; ++e) {
            const unsigned int c = m.columnEntries[e].row;
            const unsigned int from = m.packedAt[e - source.first];
            if (runs == 0 || c != next)
                m.runs[runs++] = {from, from, columnOf(c)};
            m.runs[runs - 1].to = m.packedAt[e - source.first + 1];
            next = c + 1;
        }
        const unsigned int columns = m.runs[runs - 1].to;
        m.runs[runs] = {columns, columns, 0};
        const unsigned int last = first + count - 1;
        const unsigned int products = m.offsets[last] + m.sizes[last] - m.offsets[first];
        m_gather = runs > 1 && products >= kLeastProducts && columns < kShortRun * runs;
    }

    /// The share of one block row, or two, for the first `end` packed columns.
    template <int Count>
    void subtractRows(const ColumnEntry* entry, unsigned int first, unsigned int count,
                      unsigned int end, unsigned int stride)
    {
        const unsigned int rows = m.sizes[entry->row];
        if (m_gather && Count * rows <= kMostGatheredRows)
            return subtractGathered<Count>(entry, first, count, end, stride);
        T* row[2];
        Tile<T> tile = beginTile<Count>(entry, first, count, stride, row);
        tile.strideC = m_width;
        for (const PackedRun* run = m.runs; run->from < end; ++run) {
            const unsigned int to = run->to < end ? run->to : end;
            subtractTiles<Count>(tile, rows, m.packed + run->from, row[0] + run->at,
                                 row[1] + run->at, to - run->from);
        }
    }

    template <int Count>
    [[gnu::noinline]] void subtractGathered(const ColumnEntry* entry, unsigned int first,
                                            unsigned int count, unsigned int end,
                                            unsigned int stride)
    {
        const unsigned int rows = m.sizes[entry->row];
        T* row[2];
        Tile<T> tile = beginTile<Count>(entry, first, count, stride, row);
        tile.strideC = packedStride<T>(end);
        T* const gathered = m.gathered;
        const std::size_t half = std::size_t(rows) * tile.strideC;
        for (std::size_t f = 0; f < Count; ++f)
            copyRuns<true>(row[f], gathered + f * half, rows, tile.strideC, end);
        subtractTiles<Count>(tile, rows, m.packed, gathered, gathered + half, end);
        for (std::size_t f = 0; f < Count; ++f)
            copyRuns<false>(row[f], gathered + f * half, rows, tile.strideC, end);
    }

    template <int Count>
    [[gnu::always_inline]] Tile<T> beginTile(const ColumnEntry* entry, unsigned int first,
                                             unsigned int count, unsigned int stride,
                                             T* (&row)[2]) const
    {
        Tile<T> tile;
        for (int f = 0; f < 2; ++f) {
            const ColumnEntry of = entry[Count == 2 ? f : 0];
            tile.S[f] = m.S + of.slot;
            row[f] = rowOf(of.row);
        }
        tile.sizes = m.sizes + first;
        tile.count = count;
        tile.strideB = stride;
        return tile;
    }

    /// Copies the first `end` packed columns of some rows of the panel to a dense array, or back.
    template <bool Gather>
    void copyRuns(T* panel, T* dense, unsigned int rows, unsigned int stride,
                  unsigned int end) const
    {
        for (unsigned int i = 0; i < rows; ++i, panel += m_width, dense += stride)
            for (const PackedRun* run = m.runs; run->from < end; ++run) {
                const unsigned int to = run->to < end ? run->to : end;
                T* const there = panel + run->at - run->from;
                const T* const source = Gather ? there : dense;
                T* const target = Gather ? dense : there;
                for (unsigned int j = run->from; j < to; ++j)
                    target[j] = source[j];
            }
    }

    /// C -= S·B for `rows` rows of each factor row, some at a time.
    template <int Count>
    [[gnu::always_inline]] static void subtractTiles(Tile<T>& tile, unsigned int rows, const T* B,
                                                     T* C0, T* C1, unsigned int columns)
    {
        constexpr unsigned int kRows = kTileRows / Count;
        for (unsigned int i = 0; tile.count > 0 && i < rows; i += kRows) {
            tile.row = i;
            tile.B = B;
            tile.C[0] = C0 + std::size_t(i) * tile.strideC;
            tile.C[1] = C1 + std::size_t(i) * tile.strideC;
            subtractTileRows<T, Count, int(kRows)>(tile, rows - i < kRows ? rows - i : kRows,
                                                   columns);
        }
    }

    /// The rows below the panel: some side by side where they have one height, and the panel's
    /// columns one size.
    void finishBelow()
    {
        unsigned int c = m_first;
        while (c < m_end && m.sizes[c] == m.sizes[m_first])
            ++c;
        const unsigned int size = c == m_end ? m.sizes[m_first] : 0;
        for (unsigned int e = m_below; e < m_lastEntry;) {
            const unsigned int height = m.sizes[m.columnEntries[e].row];
            unsigned int end = e + 1;
            while (end < m_lastEntry && m.sizes[m.columnEntries[end].row] == height)
                ++end;
            if (size == 3 && height == 3)
                finishSideBySide<3, 3>(e, end);
            else if (size == 6 && height == 3)
                finishSideBySide<3, 6>(e, end);
            else if (size == 6 && height == 6)
                finishSideBySide<6, 6>(e, end);
            else if (size == 3 && height == 6)
                finishSideBySide<6, 3>(e, end);
            else
                for (unsigned int r = e; r < end; ++r)
                    finishRow(m.columnEntries[r].row, m.columnEntries[r].slot);
            e = end;
        }
    }

    template <int M, int N> void finishSideBySide(unsigned int e, unsigned int end)
    {
        constexpr unsigned int kInVector = M == 3 ? 2 : 1;
        const PanelAtHand<T> panel = {m, m_first, m_end - m_first, m_width};
        const ColumnEntry* const entries = m.columnEntries;
        if constexpr (kVectorBytes == 64)
            for (; e + 2 * kInVector <= end; e += 2 * kInVector)
                finishRowsInLanes<M, N, kInVector, 2>(panel, entries + e, rowOf(entries[e].row));
        for (; e + kInVector <= end; e += kInVector)
            finishRowsInLanes<M, N, kInVector, 1>(panel, entries + e, rowOf(entries[e].row));
        for (; e < end; ++e)
            finishRowsInLanes<M, N, 1, 1>(panel, entries + e, rowOf(entries[e].row));
    }

    /// The blocks of row r: each takes the products of the panel's columns before it, then becomes
    /// a block of L and one of L·D. Some columns at a time take those of all before them together.
    void finishRow(unsigned int r, unsigned int slot)
    {
        const unsigned int end = r < m_end ? r : m_end;
        for (unsigned int c = m_first; c < end;) {
            const unsigned int group = c;
            const unsigned int at = columnOf(group);
            unsigned int width = 0;
            do
                width += m.sizes[c++];
            while (c < end && width + m.sizes[c] <= kGroupWidth);
            subtractOwn(r, slot, m_first, group, at, width);
            for (unsigned int b = group; b < c; ++b) {
                subtractOwn(r, slot, group, b, columnOf(b), m.sizes[b]);
                finishBlock(r, b, slot + (b - m_first));
                if (r < m_end)
                    copyTransposed(m.L[slot + (b - m_first)], r, b);
            }
        }
        if (r < m_end)
            subtractOwn(r, slot, m_first, r, columnOf(r), m.sizes[r]);
    }

    /// What `width` columns of row r, from scalar column `at` on, take from the panel's own columns
    /// [from, to).
    void subtractOwn(unsigned int r, unsigned int slot, unsigned int from, unsigned int to,
                     unsigned int at, unsigned int width)
    {
        const T* const B = m.triangle + std::size_t(columnOf(from)) * m_width + at;
        Tile<T> tile;
        tile.S[0] = tile.S[1] = m.S + slot + (from - m_first);
        tile.sizes = m.sizes + from;
        tile.count = to - from;
        tile.strideB = m_width;
        tile.strideC = m_width;
        T* const C = rowOf(r) + at;
        subtractTiles<1>(tile, m.sizes[r], B, C, C, width);
    }

    /// L(r, c)ᵀ into the triangle from which later rows take their products.
    void copyTransposed(const T* from, unsigned int r, unsigned int c)
    {
        T* const to = m.triangle + std::size_t(columnOf(c)) * m_width + columnOf(r);
        for (unsigned int i = 0; i < m.sizes[r]; ++i)
            for (unsigned int q = 0; q < m.sizes[c]; ++q)
                to[std::size_t(q) * m_width + i] = *from++;
    }

    void finishBlock(unsigned int r, unsigned int c, unsigned int slot)
    {
        const unsigned int rows = m.sizes[r];
        const unsigned int n = m.sizes[c];
        const unsigned int offset = m.offsets[c];
        FinishedBlock<T> block = {rowOf(r) + columnOf(c),
                                  m_width,
                                  m.L[m.rowStart[c + 1] - 1],
                                  m.pivots + offset,
                                  m.reciprocals + offset,
                                  m.L[slot],
                                  m.S[slot],
                                  n};
        for (unsigned int i = 0; i < rows; i += kFinishLanes) {
            finishRows(block, rows - i < kFinishLanes ? rows - i : kFinishLanes, m.lanes);
            block.C += std::size_t(kFinishLanes) * m_width;
            block.L += std::size_t(kFinishLanes) * n;
            block.S += std::size_t(kFinishLanes) * n;
        }
    }

    void finishDiagonal(unsigned int c)
    {
        const unsigned int n = m.sizes[c];
        T* const D = rowOf(c) + columnOf(c);
        if (n > kFinishLanes) {
            factorLargeDiagonal(D, m_width, n, diagonalBlock<T>(m, c), m.lanes);
            return;
        }
        const DiagonalBlock<T> block = diagonalBlock<T>(m, c);
        switch (n) {
        case 3:
            return factorDiagonalOfSize<3>(D, block);
        case 5:
            return factorDiagonalOfSize<5>(D, block);
        case 6:
            return factorDiagonalOfSize<6>(D, block);
        default:
            break;
        }
        for (unsigned int t = 0; t < n; ++t)
            for (unsigned int i = 0; i < n; ++i)
                m.lanes[t * kFinishLanes + i] = D[std::size_t(t) * m_width + i];
        factorDiagonal<T, kFinishLanes>(m.lanes, n, block);
    }

    /// @param D  column t in row t
    template <int N> void factorDiagonalOfSize(const T* D, const DiagonalBlock<T>& block) const
    {
        using V = typename Vector<T, kLanesFor<N>>::type;
        V columns[N];
#pragma GCC unroll 8
        for (unsigned int t = 0; t < N; ++t)
            columns[t] = loadColumn<V, N>(D + std::size_t(t) * m_width, 1);
        factorColumns<T>(columns, block, false, V{});
    }

    const PanelFactorization<T>& m;
    unsigned int m_first = 0;     ///< block column
    unsigned int m_end = 0;       ///< block column
    unsigned int m_width = 0;     ///< scalar columns
    unsigned int m_below = 0;     ///< column entry: the first row below the panel
    unsigned int m_lastEntry = 0; ///< column entry: one after the last
    bool m_gather = false;        ///< whether the runs of the source at hand are gathered
};

template <class T> void factorPanels(const PanelFactorization<T>& task)
{
    PanelFactorizer<T>(task).run();
}
