// The factorization row by row (up-looking), as a template over scalar type and lanes.
//
// An element of L(r, c) receives its products in ascending order of block column k, then of p,
// whether they are fetched when (r, c) is computed or handed out when (r, k) is. Rows of a block
// are independent of each other, so they make the lanes. The row at hand is kept transposed, so
// that L(c, k) is read in place, one scalar for all lanes.

/// @tparam Rows  scalar rows of the block row where the compiler is to know them, else 0
template <class T, int Lanes, int Rows> class RowFactorizer {
    using V = typename Vector<T, Lanes>::type;

public:
    RowFactorizer(const RowFactorization<T>& task, unsigned int r)
        : m(task), m_r(r), m_anySize(task.sizes[r]), m_diagonal(task.rowStart[r + 1] - 1)
    {
    }

    void run()
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
        finishDiagonal();
    }

private:
    unsigned int rows() const { return Rows > 0 ? Rows : m_anySize; }
    [[gnu::always_inline]] static V lanes(const T* block, unsigned int q)
    {
        return loadVector<V>(block + q * Lanes);
    }
    [[gnu::always_inline]] static void setLanes(T* block, unsigned int q, const V& v)
    {
        storeVector(block + q * Lanes, v);
    }

    /// The input's row, transposed; fill-in zero.
    [[gnu::always_inline]] void load()
    {
        T* to = m.work;
        for (unsigned int slot = m.rowStart[m_r]; slot <= m_diagonal; ++slot) {
            const unsigned int c = m.columns[slot];
            const unsigned int p = m.sizes[c];
            m.workAt[c] = static_cast<unsigned int>(to - m.work);
            const T* const from = m.input[slot];
            if (Rows > 0 && from)
                for (unsigned int q = 0; q < p; ++q)
                    setLanes(to, q, loadColumn<V, Rows>(from + q, p));
            else
                loadRows(from, to, p);
            to += p * Lanes;
        }
    }

    void loadRows(const T* from, T* to, unsigned int p) const
    {
        for (unsigned int q = 0; q < p; ++q)
            setLanes(to, q, V{});
        for (unsigned int i = 0; from && i < rows(); ++i)
            for (unsigned int q = 0; q < p; ++q)
                to[q * Lanes + i] = from[i * p + q];
    }

    /// L(r, k) and S(r, k) from what is left of A(r, k), and what they take from the blocks to
    /// their right. Size is that of k where the compiler is to know it, else 0.
    template <int Size> [[gnu::always_inline]] void finish(unsigned int slot, unsigned int size)
    {
        const unsigned int s = Size > 0 ? Size : size;
        constexpr int kRoom = Size > 0 ? Size : int(kMaxRowBlock);
        const unsigned int k = m.columns[slot];
        V x[kRoom];
        T* const work = m.work + m.workAt[k];
        for (unsigned int q = 0; q < s; ++q)
            x[q] = lanes(work, q);
        V scaled[kRoom];
        finishLanes<Size>(x, scaled, s, m.L[m.rowStart[k + 1] - 1], m.pivots + m.offsets[k],
                          m.reciprocals + m.offsets[k]);
        for (unsigned int q = 0; m.pivotScales && q < s; ++q)
            m_scale += magnitudesBeyond<T>(-1, x[q] * scaled[q]);
        store<Size>(x, m.L[slot], s);
        store<Size>(scaled, m.S[slot], s);
        updateDiagonal<Size>(x, m.S[slot], s);
        update<Size>(scaled, k, s);
    }

    template <int Size>
    [[gnu::always_inline]] void store(const V* x, T* block, unsigned int size) const
    {
        if constexpr (Rows > 0 && Size > 0)
            storeColumns<Rows, Size>(x, block);
        else
            for (unsigned int i = 0; i < rows(); ++i)
                for (unsigned int q = 0; q < size; ++q)
                    block[i * size + q] = x[q][i];
    }

    /// A(r, r) -= L(r, k)·S(r, k)ᵀ
    template <int Size>
    [[gnu::always_inline]] void updateDiagonal(const V* x, const T* scaled, unsigned int size) const
    {
        const unsigned int s = Size > 0 ? Size : size;
        T* const work = m.work + m.workAt[m_r];
        for (unsigned int j = 0; j < rows(); ++j) {
            V sum = lanes(work, j);
            for (unsigned int p = 0; p < s; ++p)
                sum -= x[p] * scaled[j * s + p];
            setLanes(work, j, sum);
        }
    }

    [[gnu::always_inline]] void finishDiagonal()
    {
        T* const work = m.work + m.workAt[m_r];
        const DiagonalBlock<T> block = diagonalBlock<T>(m, m_r);
        if constexpr (Rows > 0) {
            V columns[Rows];
#pragma GCC unroll 8
            for (unsigned int t = 0; t < Rows; ++t)
                columns[t] = lanes(work, t);
            m_scale = factorColumns<T>(columns, block, m.pivotScales != nullptr, m_scale);
        } else {
            factorDiagonal<T, Lanes>(work, m_anySize, block);
        }
        if (m.pivotScales)
            finishScales(block);
    }

    /// |A(i, i)| of the row's scalar rows.
    [[gnu::always_inline]] void beginScales()
    {
        const T* const A = m.input[m_diagonal];
        if constexpr (Rows > 0) {
            m_scale = A ? loadColumn<V, Rows>(A, Rows + 1) : V{};
        } else {
            T diagonal[Lanes] = {};
            for (unsigned int i = 0; A && i < m_anySize; ++i)
                diagonal[i] = A[i * (m_anySize + 1)];
            m_scale = loadVector<V>(diagonal);
        }
        m_scale = magnitudesBeyond<T>(-1, m_scale);
    }

    void finishScales(const DiagonalBlock<T>& block) const
    {
        T sums[Lanes];
        storeVector(sums, m_scale);
        if constexpr (Rows == 0)
            for (unsigned int i = 1; i < m_anySize; ++i)
                for (unsigned int q = 0; q < i; ++q) {
                    const T term = block.L[i * m_anySize + q] * block.S[i * m_anySize + q];
                    sums[i] += term < 0 ? -term : term;
                }
        T* const to = m.pivotScales + m.offsets[m_r];
        for (unsigned int i = 0; i < rows(); ++i)
            to[i] = sums[i];
    }

    /// A(r, c) -= S(r, k)·L(c, k)ᵀ for all rows c between k and r that have column k.
    template <int Size>
    [[gnu::always_inline]] void update(const V* scaled, unsigned int k, unsigned int size) const
    {
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
            T* const targetEnd = target + std::size_t(sizes[entry->row]) * Lanes;
            for (; target != targetEnd; target += Lanes, L += s) {
                V sum = loadVector<V>(target);
                for (unsigned int q = 0; q < s; ++q)
                    sum -= scaled[q] * L[q];
                storeVector(target, sum);
            }
        }
    }

    const RowFactorization<T>& m;
    const unsigned int m_r;
    const unsigned int m_anySize;
    const unsigned int m_diagonal;
    V m_scale; ///< per scalar row: the magnitudes of its pivot's terms so far
};

template <class T> void factorRows(const RowFactorization<T>& task)
{
    for (unsigned int u = 0; u < task.numUnits; ++u) {
        const unsigned int r = task.units[u];
        switch (task.sizes[r]) {
        case 3:
            RowFactorizer<T, kLanesFor<3>, 3>(task, r).run();
            break;
        case 5:
            RowFactorizer<T, kLanesFor<5>, 5>(task, r).run();
            break;
        case 6:
            RowFactorizer<T, kLanesFor<6>, 6>(task, r).run();
            break;
        case 0:
        case 1:
        case 2:
        case 4:
            RowFactorizer<T, 4, 0>(task, r).run();
            break;
        default:
            RowFactorizer<T, 8, 0>(task, r).run();
        }
    }
}
