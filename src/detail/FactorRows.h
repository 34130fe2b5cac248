// The factorization row by row (up-looking), as a template over scalar type and lanes.
//
// An element of L(r, c) receives its products in ascending order of block column k, then of p,
// whether they are fetched when (r, c) is computed or handed out when (r, k) is. Rows of a block
// are independent of each other, so they make the lanes. The row at hand is kept transposed, so
// that L(c, k) is read in place, one scalar for all lanes.

template <class T, int Lanes> class RowFactorizer {
    using V = typename Vector<T, Lanes>::type;

public:
    RowFactorizer(const RowFactorization<T>& task, unsigned int r)
        : m(task), m_r(r), m_size(task.sizes[r]), m_diagonal(task.rowStart[r + 1] - 1)
    {
    }

    void run()
    {
        load();
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
        factorDiagonal<T, Lanes>(m.work + m.workAt[m_r], m_size, diagonalBlock<T>(m, m_r));
    }

private:
    static V lanes(const T* block, unsigned int q) { return loadVector<V>(block + q * Lanes); }
    static void setLanes(T* block, unsigned int q, const V& v)
    {
        storeVector(block + q * Lanes, v);
    }

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
                setLanes(to, q, V{});
            for (unsigned int i = 0; from && i < m_size; ++i)
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
            x[q] = lanes(work, q);
        const T* const F = m.L[m.rowStart[k + 1] - 1];
        for (unsigned int q = 1; q < s; ++q)
            for (unsigned int t = 0; t < q; ++t)
                x[q] -= F[q * s + t] * x[t];
        V scaled[kRoom];
        const T* const d = m.pivots + m.offsets[k];
        const T* const w = m.reciprocals + m.offsets[k];
        for (unsigned int q = 0; q < s; ++q) {
            x[q] = x[q] * w[q];
            scaled[q] = x[q] * d[q];
        }
        store<Size>(x, m.L[slot], s);
        store<Size>(scaled, m.S[slot], s);
        updateDiagonal<Size>(x, scaled, s);
        update<Size>(scaled, k, s);
    }

    template <int Size> void store(const V* x, T* block, unsigned int size) const
    {
        const unsigned int s = Size > 0 ? Size : size;
        for (unsigned int i = 0; i < m_size; ++i)
            for (unsigned int q = 0; q < s; ++q)
                block[i * s + q] = x[q][i];
    }

    /// A(r, r) -= L(r, k)·S(r, k)ᵀ
    template <int Size> void updateDiagonal(const V* x, const V* scaled, unsigned int size) const
    {
        const unsigned int s = Size > 0 ? Size : size;
        T* const work = m.work + m.workAt[m_r];
        for (unsigned int j = 0; j < m_size; ++j) {
            V sum = lanes(work, j);
            for (unsigned int p = 0; p < s; ++p)
                sum -= x[p] * scaled[p][j];
            setLanes(work, j, sum);
        }
    }

    /// A(r, c) -= S(r, k)·L(c, k)ᵀ for all rows c between k and r that have column k.
    template <int Size> void update(const V* scaled, unsigned int k, unsigned int size) const
    {
        const unsigned int s = Size > 0 ? Size : size;
        const ColumnEntry* const entries = m.columnEntries + m.columnStart[k];
        const unsigned int count = m.done[k]++;
        for (unsigned int e = 0; e < count; ++e) {
            const T* L = m.L[entries[e].slot];
            T* const work = m.work + m.workAt[entries[e].row];
            const unsigned int p = m.sizes[entries[e].row];
            for (unsigned int j = 0; j < p; ++j, L += s) {
                V sum = lanes(work, j);
                for (unsigned int q = 0; q < s; ++q)
                    sum -= scaled[q] * L[q];
                setLanes(work, j, sum);
            }
        }
    }

    const RowFactorization<T>& m;
    const unsigned int m_r;
    const unsigned int m_size;
    const unsigned int m_diagonal;
};

template <class T> void factorRows(const RowFactorization<T>& task)
{
    for (unsigned int u = 0; u < task.numUnits; ++u) {
        const unsigned int r = task.units[u];
        if (task.sizes[r] <= 4)
            RowFactorizer<T, 4>(task, r).run();
        else
            RowFactorizer<T, 8>(task, r).run();
    }
}
