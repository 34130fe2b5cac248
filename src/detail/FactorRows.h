// The factorization row by row (up-looking), as a template over scalar type and lanes. Included by
// one source for each instruction set, in a namespace of its own. No standard header with code is
// included: a function compiled for AVX-512 must not end up in programs for other processors.
//
// Same bits as the plain factorization: an element of L(r, c) receives its products in ascending
// order of block column k, then of p, whether they are fetched when (r, c) is computed or handed
// out when (r, k) is. Rows of a block are independent of each other, so they make the lanes;
// multiply and subtract stay separate. The row at hand is kept transposed, so that L(c, k) is read
// in place, one scalar for all lanes.

template <class T, int Lanes> struct Vector;
template <> struct Vector<double, 2> {
    using type __attribute__((vector_size(16), aligned(8), may_alias)) = double;
};
template <> struct Vector<float, 2> {
    using type __attribute__((vector_size(8), aligned(4), may_alias)) = float;
};
template <> struct Vector<double, 4> {
    using type __attribute__((vector_size(32), aligned(8), may_alias)) = double;
};
template <> struct Vector<double, 8> {
    using type __attribute__((vector_size(64), aligned(8), may_alias)) = double;
};
template <> struct Vector<float, 4> {
    using type __attribute__((vector_size(16), aligned(4), may_alias)) = float;
};
template <> struct Vector<float, 8> {
    using type __attribute__((vector_size(32), aligned(4), may_alias)) = float;
};

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
        finishDiagonal();
    }

private:
    V& lanes(T* block, unsigned int q) const { return *reinterpret_cast<V*>(block + q * Lanes); }

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
                lanes(to, q) = V{};
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
            lanes(work, j) = sum;
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
                lanes(work, j) = sum;
            }
        }
    }

    /// Dense L·D·Lᵀ of what is left of A(r, r), column by column: each takes its products out of
    /// all columns to its right, in the order in which the plain loops fetch them.
    void finishDiagonal() const
    {
        const unsigned int n = m_size;
        T* const work = m.work + m.workAt[m_r];
        T* const B = m.L[m_diagonal];
        T* const S = m.S[m_diagonal];
        T* const d = m.pivots + m.offsets[m_r];
        for (unsigned int t = 0; t < n; ++t) {
            const V column = lanes(work, t);
            const T pivot = column[t];
            const V x = column / pivot;
            const V scaled = x * pivot;
            for (unsigned int j = t + 1; j < n; ++j)
                lanes(work, j) -= scaled * x[j];
            d[t] = pivot;
            m.reciprocals[m.offsets[m_r] + t] = T(1) / pivot;
            B[t * n + t] = T(1);
            S[t * n + t] = pivot;
            for (unsigned int i = t + 1; i < n; ++i) {
                B[i * n + t] = x[i];
                S[i * n + t] = scaled[i];
                B[t * n + i] = T(0);
            }
        }
        // Zeros above the diagonal times the pivots: signed zeros, and NaNs of infinite pivots.
        for (unsigned int i = 0; i < n; ++i)
            for (unsigned int j = i + 1; j < n; ++j)
                S[i * n + j] = T(0) * d[j];
    }

    const RowFactorization<T>& m;
    const unsigned int m_r;
    const unsigned int m_size;
    const unsigned int m_diagonal;
};

template <class T> void factorRows(const RowFactorization<T>& task)
{
    for (unsigned int r = 0; r < task.numRows; ++r) {
        if (task.sizes[r] <= 4)
            RowFactorizer<T, 4>(task, r).run();
        else
            RowFactorizer<T, 8>(task, r).run();
    }
}

/// A row of Width scalars as a vector of 4 lanes, one of 2 and a scalar, as far as it needs them:
/// loads and stores that touch nothing beyond it.
template <class T, int Width> struct RowPart {
    static constexpr int kFours = Width / 4;
    static constexpr bool kTwo = (Width & 2) != 0;
    static constexpr bool kOne = (Width & 1) != 0;
    static constexpr int kTwoAt = 4 * kFours;
    static constexpr int kOneAt = kTwoAt + (kTwo ? 2 : 0);
    using V4 = typename Vector<T, 4>::type;
    using V2 = typename Vector<T, 2>::type;

    V4 fours[kFours > 0 ? kFours : 1];
    V2 two;
    T one;

    void load(const T* from)
    {
        for (int f = 0; f < kFours; ++f)
            fours[f] = *reinterpret_cast<const V4*>(from + 4 * f);
        if (kTwo)
            two = *reinterpret_cast<const V2*>(from + kTwoAt);
        if (kOne)
            one = from[kOneAt];
    }

    void store(T* to) const
    {
        for (int f = 0; f < kFours; ++f)
            *reinterpret_cast<V4*>(to + 4 * f) = fours[f];
        if (kTwo)
            *reinterpret_cast<V2*>(to + kTwoAt) = two;
        if (kOne)
            to[kOneAt] = one;
    }

    void subtract(const RowPart& row, T factor)
    {
        for (int f = 0; f < kFours; ++f)
            fours[f] -= row.fours[f] * factor;
        if (kTwo)
            two -= row.two * factor;
        if (kOne)
            one -= row.one * factor;
    }
};

/// The updates of one front; Width is the number of columns, Size that of the factor's block column
/// where the compiler is to know it, else 0.
template <class T, int Width, int Size>
void updateColumns(const T* S, unsigned int nb, const FrontTarget<T>* targets, unsigned int count)
{
    constexpr int kRoom = Size > 0 ? Size : int(kMaxRowBlock);
    const unsigned int s = Size > 0 ? Size : nb;
    RowPart<T, Width> transposed[kRoom];
    for (unsigned int p = 0; p < s; ++p) {
        T row[Width];
        for (int j = 0; j < Width; ++j)
            row[j] = S[static_cast<unsigned int>(j) * s + p];
        transposed[p].load(row);
    }
    for (unsigned int t = 0; t < count; ++t) {
        const T* L = targets[t].L;
        T* C = targets[t].C;
        for (unsigned int i = 0; i < targets[t].rows; ++i, L += s, C += Width) {
            RowPart<T, Width> sum;
            sum.load(C);
            for (unsigned int p = 0; p < s; ++p)
                sum.subtract(transposed[p], L[p]);
            sum.store(C);
        }
    }
}

template <class T, int Width>
void updateOfWidth(const T* S, unsigned int nb, const FrontTarget<T>* targets, unsigned int count)
{
    switch (nb) {
    case 3:
        return updateColumns<T, Width, 3>(S, nb, targets, count);
    case 5:
        return updateColumns<T, Width, 5>(S, nb, targets, count);
    case 6:
        return updateColumns<T, Width, 6>(S, nb, targets, count);
    default:
        return updateColumns<T, Width, 0>(S, nb, targets, count);
    }
}

template <class T>
void updateFront(const T* S, unsigned int na, unsigned int nb, const FrontTarget<T>* targets,
                 unsigned int count)
{
    switch (na) {
    case 1:
        return updateOfWidth<T, 1>(S, nb, targets, count);
    case 2:
        return updateOfWidth<T, 2>(S, nb, targets, count);
    case 3:
        return updateOfWidth<T, 3>(S, nb, targets, count);
    case 4:
        return updateOfWidth<T, 4>(S, nb, targets, count);
    case 5:
        return updateOfWidth<T, 5>(S, nb, targets, count);
    case 6:
        return updateOfWidth<T, 6>(S, nb, targets, count);
    case 7:
        return updateOfWidth<T, 7>(S, nb, targets, count);
    case 8:
        return updateOfWidth<T, 8>(S, nb, targets, count);
    default:
        return;
    }
}
