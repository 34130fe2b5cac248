// The factorization row by row (up-looking), as templates over scalar type and lanes.
//
// An element of L(r, c) receives its products in ascending order of block column k, then of p,
// whether they are fetched when (r, c) is computed or handed out when (r, k) is. Rows of a block
// are independent of each other, so they make the lanes. The row at hand is kept transposed, so
// that L(c, k) is read in place, one scalar for all lanes.

/// A(r, c) -= S(r, k)·L(c, k)ᵀ for all rows c between k and r that have column k. Size is that of k
/// where the compiler is to know it, else 0.
template <int Size, class T, class V>
[[gnu::always_inline]] inline void updateLater(const RowFactorization<T>& m, const V* scaled,
                                               unsigned int k, unsigned int size)
{
    constexpr unsigned int kLanes = sizeof(V) / sizeof(T);
    const unsigned int s = Size > 0 ? Size : size;
    // Copies, as any store of a vector might change the task for all that the compiler knows.
    const T* const* const blocks = m.L;
    const unsigned int* const sizes = m.sizes;
    const unsigned int* const workAt = m.workAt;
    T* const work = m.work;
    const ColumnEntry* entry = m.columnEntries + m.columnStart[k];
    const ColumnEntry* const end = entry + m.done[k]++;
    for (; entry != end; ++entry) {
        const T* L = blocks[entry->slot];
        T* target = work + workAt[entry->row];
        T* const targetEnd = target + std::size_t(sizes[entry->row]) * kLanes;
        for (; target != targetEnd; target += kLanes, L += s) {
            V sum = loadVector<V>(target);
            for (unsigned int q = 0; q < s; ++q)
                sum -= scaled[q] * L[q];
            storeVector(target, sum);
        }
    }
}

/// A block of any size from its columns.
template <class T, class V>
inline void storeBlock(const V* columns, unsigned int rows, unsigned int size, T* block)
{
    for (unsigned int i = 0; i < rows; ++i)
        for (unsigned int q = 0; q < size; ++q)
            block[i * size + q] = columns[q][i];
}

/// A block row of at most Lanes scalar rows.
template <class T, int Lanes> class AnyRow {
    using V = typename Vector<T, Lanes>::type;

public:
    AnyRow(const RowFactorization<T>& task, unsigned int r)
        : m(task), m_r(r), m_rows(task.sizes[r]), m_diagonal(task.rowStart[r + 1] - 1)
    {
    }

    void factor()
    {
        load();
        if (m.pivotScales)
            beginScales();
        for (unsigned int slot = m.rowStart[m_r]; slot < m_diagonal; ++slot) {
            switch (m.sizes[m.columns[slot]]) {
            case 3:
                finish<3>(slot, 3);
                break;
            case 5:
                finish<5>(slot, 5);
                break;
            case 6:
                finish<6>(slot, 6);
                break;
            default:
                finish<0>(slot, m.sizes[m.columns[slot]]);
            }
        }
        const DiagonalBlock<T> block = diagonalBlock<T>(m, m_r);
        factorDiagonal<T, Lanes>(m.work + m.workAt[m_r], m_rows, block);
        if (m.pivotScales)
            finishScales(block);
    }

private:
    /// The input's row, transposed; fill-in zero.
    void load()
    {
        T* to = m.work;
        for (unsigned int slot = m.rowStart[m_r]; slot <= m_diagonal; ++slot) {
            const unsigned int c = m.columns[slot];
            const unsigned int p = m.sizes[c];
            m.workAt[c] = static_cast<unsigned int>(to - m.work);
            const T* const from = m.input[slot];
            for (unsigned int q = 0; q < p; ++q)
                storeVector(to + q * Lanes, V{});
            for (unsigned int i = 0; from && i < m_rows; ++i)
                for (unsigned int q = 0; q < p; ++q)
                    to[q * Lanes + i] = from[i * p + q];
            to += p * Lanes;
        }
    }

    /// L(r, k) and S(r, k) from what is left of A(r, k), and what they take from the blocks to
    /// their right. Size is that of k where the compiler is to know it, else 0.
    template <int Size> void finish(unsigned int slot, unsigned int size)
    {
        const unsigned int s = Size > 0 ? Size : size;
        constexpr int kRoom = Size > 0 ? Size : int(kMaxRowBlock);
        const unsigned int k = m.columns[slot];
        V x[kRoom];
        T* const work = m.work + m.workAt[k];
        for (unsigned int q = 0; q < s; ++q)
            x[q] = loadVector<V>(work + q * Lanes);
        V scaled[kRoom];
        finishLanes<Size>(x, scaled, s, m.L[m.rowStart[k + 1] - 1], m.pivots + m.offsets[k],
                          m.reciprocals + m.offsets[k]);
        for (unsigned int q = 0; m.pivotScales && q < s; ++q)
            m_scale += magnitudesBeyond<T>(-1, x[q] * scaled[q]);
        storeBlock(x, m_rows, s, m.L[slot]);
        storeBlock(scaled, m_rows, s, m.S[slot]);
        updateDiagonal(x, m.S[slot], s);
        updateLater<Size>(m, scaled, k, s);
    }

    /// A(r, r) -= L(r, k)·S(r, k)ᵀ
    void updateDiagonal(const V* x, const T* scaled, unsigned int size) const
    {
        T* const work = m.work + m.workAt[m_r];
        for (unsigned int j = 0; j < m_rows; ++j) {
            V sum = loadVector<V>(work + j * Lanes);
            for (unsigned int p = 0; p < size; ++p)
                sum -= x[p] * scaled[j * size + p];
            storeVector(work + j * Lanes, sum);
        }
    }

    /// |A(i, i)| of the row's scalar rows.
    void beginScales()
    {
        const T* const A = m.input[m_diagonal];
        T diagonal[Lanes] = {};
        for (unsigned int i = 0; A && i < m_rows; ++i)
            diagonal[i] = A[i * (m_rows + 1)];
        m_scale = magnitudesBeyond<T>(-1, loadVector<V>(diagonal));
    }

    void finishScales(const DiagonalBlock<T>& block) const
    {
        T sums[Lanes];
        storeVector(sums, m_scale);
        for (unsigned int i = 1; i < m_rows; ++i)
            addTerms(block.L + i * m_rows, block.S + i * m_rows, i, sums[i]);
        for (unsigned int i = 0; i < m_rows; ++i)
            m.pivotScales[m.offsets[m_r] + i] = sums[i];
    }

    const RowFactorization<T>& m;
    const unsigned int m_r;
    const unsigned int m_rows;
    const unsigned int m_diagonal;
    V m_scale; ///< per scalar row: the magnitudes of its pivot's terms so far
};

/// A block row of a size that the compiler knows. All is inlined, so that the diagonal block stays
/// in registers until its end: on chains half of the time is that from one row to the next.
template <class T, int Rows> struct KnownRow {
    static constexpr unsigned int kLanes = kLanesFor<Rows>;
    using V = typename Vector<T, int(kLanes)>::type;

    V diagonal[Rows]; ///< columns of A(r, r), less what has been taken
    V scale;          ///< per scalar row: the magnitudes of its pivot's terms so far

    /// @param task  what m is a copy of
    [[gnu::always_inline]] void factor(const RowFactorization<T>& m,
                                       const RowFactorization<T>& task, unsigned int r)
    {
        const unsigned int first = m.rowStart[r];
        const unsigned int last = m.rowStart[r + 1] - 1;
        load(m, first, last);
        for (unsigned int slot = first; slot < last; ++slot) {
            // Nothing changes the first block before it is finished.
            const T* const unchanged = slot == first ? m.input[slot] : nullptr;
            switch (m.sizes[m.columns[slot]]) {
            case 3:
                finish<3>(m, slot, unchanged);
                break;
            case 5:
                finish<5>(m, slot, unchanged);
                break;
            case 6:
                finish<6>(m, slot, unchanged);
                break;
            default:
                finishAny(task, slot, unchanged);
            }
        }
        finishDiagonal(m, r);
    }

private:
    /// The input's row, transposed; fill-in zero. A first block that is not fill-in is left where
    /// it is.
    [[gnu::always_inline]] void load(const RowFactorization<T>& m, unsigned int first,
                                     unsigned int last)
    {
        unsigned int at = 0;
        for (unsigned int slot = first; slot < last; ++slot) {
            const T* const from = m.input[slot];
            if (slot == first && from)
                continue;
            const unsigned int c = m.columns[slot];
            const unsigned int size = m.sizes[c];
            m.workAt[c] = at;
            T* const to = m.work + at;
            at += size * kLanes;
            if (!from) {
                for (unsigned int q = 0; q < size; ++q)
                    storeVector(to + q * kLanes, V{});
                continue;
            }
            switch (size) {
            case 3:
                copyColumns<3>(from, to);
                break;
            case 6:
                copyColumns<6>(from, to);
                break;
            default:
                for (unsigned int q = 0; q < size; ++q)
                    storeVector(to + q * kLanes, loadColumn<V, Rows>(from + q, size));
            }
        }
        const T* const A = m.input[last];
        if (A)
            loadLowerTriangle(A, diagonal);
        else
#pragma GCC unroll 8
            for (unsigned int t = 0; t < Rows; ++t)
                diagonal[t] = V{};
        if (m.pivotScales)
            scale = magnitudesBeyond<T>(-1, A ? loadColumn<V, Rows>(A, Rows + 1) : V{});
    }

    template <int Size> [[gnu::always_inline]] static void copyColumns(const T* from, T* to)
    {
#pragma GCC unroll 8
        for (unsigned int q = 0; q < Size; ++q)
            storeVector(to + q * kLanes, loadColumn<V, Rows>(from + q, Size));
    }

    /// L(r, k) and S(r, k) from what is left of A(r, k), and what they take from the blocks to
    /// their right.
    ///
    /// @param unchanged  A(r, k) where that is left of it, or null
    template <int Size>
    [[gnu::always_inline]] void finish(const RowFactorization<T>& m, unsigned int slot,
                                       const T* unchanged)
    {
        const unsigned int k = m.columns[slot];
        V x[Size];
        if (unchanged) {
#pragma GCC unroll 8
            for (unsigned int q = 0; q < Size; ++q)
                x[q] = loadColumn<V, Rows>(unchanged + q, Size);
        } else {
            const T* const from = m.work + m.workAt[k];
#pragma GCC unroll 8
            for (unsigned int q = 0; q < Size; ++q)
                x[q] = loadVector<V>(from + q * kLanes);
        }
        V scaled[Size];
        finishLanes<Size>(x, scaled, Size, m.L[m.rowStart[k + 1] - 1], m.pivots + m.offsets[k],
                          m.reciprocals + m.offsets[k]);
        if (m.pivotScales)
#pragma GCC unroll 8
            for (unsigned int q = 0; q < Size; ++q)
                scale += magnitudesBeyond<T>(-1, x[q] * scaled[q]);
        storeColumns<Rows, Size>(x, m.L[slot]);
        T* const S = m.S[slot];
        storeColumns<Rows, Size>(scaled, S);
#pragma GCC unroll 8
        for (unsigned int j = 0; j < Rows; ++j)
#pragma GCC unroll 8
            for (unsigned int p = 0; p < Size; ++p)
                diagonal[j] -= x[p] * S[j * Size + p];
        updateLater<Size>(m, scaled, k, Size);
    }

    /// The same for a column of any size. The row is handed over as a copy: its address is not to
    /// be known elsewhere.
    [[gnu::always_inline]] void finishAny(const RowFactorization<T>& task, unsigned int slot,
                                          const T* unchanged)
    {
        V copy[Rows + 1];
#pragma GCC unroll 8
        for (unsigned int t = 0; t < Rows; ++t)
            copy[t] = diagonal[t];
        copy[Rows] = scale;
        finishAnyOf(task, slot, unchanged, copy, copy[Rows]);
#pragma GCC unroll 8
        for (unsigned int t = 0; t < Rows; ++t)
            diagonal[t] = copy[t];
        scale = copy[Rows];
    }

    [[gnu::noinline]] static void finishAnyOf(const RowFactorization<T>& m, unsigned int slot,
                                              const T* unchanged, V* diagonal, V& scale)
    {
        const unsigned int k = m.columns[slot];
        const unsigned int size = m.sizes[k];
        V x[kMaxRowBlock];
        for (unsigned int q = 0; q < size; ++q)
            x[q] = unchanged ? loadColumn<V, Rows>(unchanged + q, size)
                             : loadVector<V>(m.work + m.workAt[k] + q * kLanes);
        V scaled[kMaxRowBlock];
        finishLanes<0>(x, scaled, size, m.L[m.rowStart[k + 1] - 1], m.pivots + m.offsets[k],
                       m.reciprocals + m.offsets[k]);
        for (unsigned int q = 0; m.pivotScales && q < size; ++q)
            scale += magnitudesBeyond<T>(-1, x[q] * scaled[q]);
        T* const S = m.S[slot];
        storeBlock(x, Rows, size, m.L[slot]);
        storeBlock(scaled, Rows, size, S);
        for (unsigned int j = 0; j < Rows; ++j)
            for (unsigned int p = 0; p < size; ++p)
                diagonal[j] -= x[p] * S[j * size + p];
        updateLater<0>(m, scaled, k, size);
    }

    [[gnu::always_inline]] void finishDiagonal(const RowFactorization<T>& m, unsigned int r)
    {
        const bool withScale = m.pivotScales != nullptr;
        scale = factorColumns<T>(diagonal, diagonalBlock<T>(m, r), withScale, scale);
        if (withScale)
#pragma GCC unroll 8
            for (unsigned int i = 0; i < Rows; ++i)
                m.pivotScales[m.offsets[r] + i] = scale[i];
    }
};

template <class T> void factorRows(const RowFactorization<T>& task)
{
    const RowFactorization<T> m = task; // no store of a vector can change this one
    for (unsigned int u = 0; u < m.numUnits; ++u) {
        const unsigned int r = m.units[u];
        switch (m.sizes[r]) {
        case 3:
            KnownRow<T, 3>().factor(m, task, r);
            break;
        case 5:
            KnownRow<T, 5>().factor(m, task, r);
            break;
        case 6:
            KnownRow<T, 6>().factor(m, task, r);
            break;
        case 0:
        case 1:
        case 2:
        case 4:
            AnyRow<T, 4>(task, r).factor();
            break;
        default:
            AnyRow<T, 8>(task, r).factor();
        }
    }
}
