// Steps on single blocks that the fast factorizations share.

/// Where a diagonal block goes.
template <class T> struct DiagonalBlock {
    T* L; ///< unit lower
    T* S; ///< L·D, the pivots on the diagonal
    T* d;
    T* w; ///< reciprocals of the pivots
    PivotBounds<T> bounds;

    T pivot(T value, unsigned int t) const
    {
        return bounds.bounds ? boundedPivot(value, bounds.bounds[t], bounds.keepSigns) : value;
    }
};

template <class T, class Task>
[[gnu::always_inline]] inline DiagonalBlock<T> diagonalBlock(const Task& task, unsigned int r)
{
    const unsigned int slot = task.rowStart[r + 1] - 1;
    const unsigned int at = task.offsets[r];
    const T* const bounds = task.bounds.bounds;
    return {task.L[slot],
            task.S[slot],
            task.pivots + at,
            task.reciprocals + at,
            {bounds ? bounds + at : bounds, task.bounds.keepSigns}};
}

/// Dense L·D·Lᵀ of an n × n block, n <= Lanes, column by column: each takes its products out of all
/// columns to its right, in the order in which the plain loops fetch them.
///
/// @param work  column t in row t, Lanes scalars each; only its lower triangle counts; destroyed
template <class T, int Lanes>
inline void factorDiagonal(T* work, unsigned int n, const DiagonalBlock<T>& block)
{
    T* const B = block.L;
    T* const S = block.S;
    T* const d = block.d;
    using V = typename Vector<T, Lanes>::type;
    for (unsigned int t = 0; t < n; ++t) {
        const V column = loadVector<V>(work + t * Lanes);
        const T pivot = block.pivot(column[t], t);
        const V x = column / pivot;
        const V scaled = x * pivot;
        for (unsigned int j = t + 1; j < n; ++j) {
            V rest = loadVector<V>(work + j * Lanes);
            rest -= scaled * x[j];
            storeVector(work + j * Lanes, rest);
        }
        d[t] = pivot;
        block.w[t] = T(1) / pivot;
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

/// As factorDiagonal, for a size that the compiler knows, the columns in registers; they are
/// destroyed.
///
/// @return scale, if withScale, with |L(i, q)²·d(q)| for all q < i added to row i
template <class T, int N, class V>
[[gnu::always_inline]] inline V factorColumns(V (&columns)[N], const DiagonalBlock<T>& block,
                                              bool withScale, V scale)
{
    V scaled[N];
#pragma GCC unroll 8
    for (unsigned int t = 0; t < N; ++t) {
        const T pivot = block.pivot(columns[t][t], t);
        const V x = columns[t] / pivot;
        scaled[t] = x * pivot;
#pragma GCC unroll 8
        for (unsigned int j = t + 1; j < N; ++j)
            columns[j] -= scaled[t] * x[j];
        if (withScale)
            scale += magnitudesBeyond<T>(int(t), x * scaled[t]);
        const V unit = unitLane<V, T>(int(t));
        columns[t] = selectBeyond<T>(int(t), x, unit);
        scaled[t] = selectBeyond<T>(int(t), scaled[t], pivot * unit); // not always zero, see above
        block.d[t] = pivot;
        block.w[t] = T(1) / pivot;
    }
    storeColumns<N, N>(columns, block.L);
    storeColumns<N, N>(scaled, block.S);
    return scale;
}

/// x = C·F⁻ᵀ·D⁻¹ and scaled = x·D for the columns of a block, C in x, a lane for each row. Size is
/// the number of columns where the compiler is to know it, else 0.
///
/// @param w  reciprocals of d
template <int Size, class T, class V>
[[gnu::always_inline]] inline void finishLanes(V* x, V* scaled, unsigned int size, const T* F,
                                               const T* d, const T* w)
{
    const unsigned int s = Size > 0 ? Size : size;
    for (unsigned int q = 1; q < s; ++q)
        for (unsigned int t = 0; t < q; ++t)
            x[q] -= F[q * s + t] * x[t];
    for (unsigned int q = 0; q < s; ++q) {
        x[q] = x[q] * w[q];
        scaled[q] = x[q] * d[q];
    }
}

constexpr unsigned int kFinishLanes = 8;

/// Some rows of a block of the panel at hand, and where L and L·D go.
template <class T> struct FinishedBlock {
    const T* C;
    unsigned int stride;
    const T* F; ///< L(c, c)
    const T* d;
    const T* w; ///< reciprocals of d
    T* L;
    T* S;
    unsigned int columns;
};

/// L = C·F⁻ᵀ·D⁻¹ and S = L·D for up to kFinishLanes rows, a lane for each. Size is the number of
/// columns where the compiler is to know it, else 0.
template <class T, int Size>
inline void finishSomeRows(const FinishedBlock<T>& block, unsigned int rows, T* work)
{
    using V = typename Vector<T, kFinishLanes>::type;
    const unsigned int n = Size > 0 ? Size : block.columns;
    for (unsigned int q = 0; q < n; ++q)
        storeVector(work + q * kFinishLanes, V{});
    for (unsigned int i = 0; i < rows; ++i)
        for (unsigned int q = 0; q < n; ++q)
            work[q * kFinishLanes + i] = block.C[std::size_t(i) * block.stride + q];
    for (unsigned int q = 1; q < n; ++q) {
        V x = loadVector<V>(work + q * kFinishLanes);
        for (unsigned int t = 0; t < q; ++t)
            x -= block.F[std::size_t(q) * n + t] * loadVector<V>(work + t * kFinishLanes);
        storeVector(work + q * kFinishLanes, x);
    }
    for (unsigned int q = 0; q < n; ++q) {
        const V x = loadVector<V>(work + q * kFinishLanes) * block.w[q];
        const V scaled = x * block.d[q];
        for (unsigned int i = 0; i < rows; ++i) {
            block.L[std::size_t(i) * n + q] = x[i];
            block.S[std::size_t(i) * n + q] = scaled[i];
        }
    }
}

/// The same for numbers of rows and columns that the compiler knows, all in registers.
template <class T, int Rows, int Size> inline void finishBlockOfSize(const FinishedBlock<T>& block)
{
    using V = typename Vector<T, kLanesFor<Rows>>::type;
    V x[Size];
    for (unsigned int q = 0; q < Size; ++q)
        x[q] = loadColumn<V, Rows>(block.C + q, block.stride);
    V scaled[Size];
    finishLanes<Size>(x, scaled, Size, block.F, block.d, block.w);
    storeColumns<Rows, Size>(x, block.L);
    storeColumns<Rows, Size>(scaled, block.S);
}

template <class T, int Size>
inline void finishColumns(const FinishedBlock<T>& block, unsigned int rows, T* work)
{
    switch (rows) {
    case 3:
        return finishBlockOfSize<T, 3, Size>(block);
    case 5:
        return finishBlockOfSize<T, 5, Size>(block);
    case 6:
        return finishBlockOfSize<T, 6, Size>(block);
    default:
        return finishSomeRows<T, Size>(block, rows, work);
    }
}

template <class T> inline void finishRows(const FinishedBlock<T>& block, unsigned int rows, T* work)
{
    switch (block.columns) {
    case 3:
        return finishColumns<T, 3>(block, rows, work);
    case 5:
        return finishColumns<T, 5>(block, rows, work);
    case 6:
        return finishColumns<T, 6>(block, rows, work);
    default:
        return finishSomeRows<T, 0>(block, rows, work);
    }
}

/// to -= from * factor for n scalars.
template <class T> inline void subtractScaled(T* to, const T* from, T factor, unsigned int n)
{
    constexpr unsigned int kLanes = kVectorBytes / sizeof(T);
    using V = typename Vector<T, int(kLanes)>::type;
    unsigned int i = 0;
    for (; i + kLanes <= n; i += kLanes)
        storeVector(to + i, loadVector<V>(to + i) - loadVector<V>(from + i) * factor);
    for (; i < n; ++i)
        to[i] -= from[i] * factor;
}

/// As factorDiagonal, for any n.
///
/// @param D     column t in row t, rows `stride` apart; destroyed
/// @param work  n scalars
template <class T>
void factorLargeDiagonal(T* D, unsigned int stride, unsigned int n, const DiagonalBlock<T>& block,
                         T* work)
{
    T* const B = block.L;
    T* const S = block.S;
    T* const d = block.d;
    for (unsigned int t = 0; t < n; ++t) {
        T* const x = D + std::size_t(t) * stride;
        const T pivot = block.pivot(x[t], t);
        for (unsigned int i = t + 1; i < n; ++i) {
            x[i] = x[i] / pivot;
            work[i] = x[i] * pivot;
        }
        for (unsigned int j = t + 1; j < n; ++j)
            subtractScaled(D + std::size_t(j) * stride + j, work + j, x[j], n - j);
        d[t] = pivot;
        block.w[t] = T(1) / pivot;
        B[std::size_t(t) * n + t] = T(1);
        S[std::size_t(t) * n + t] = pivot;
        for (unsigned int i = t + 1; i < n; ++i) {
            B[std::size_t(i) * n + t] = x[i];
            S[std::size_t(i) * n + t] = work[i];
            B[std::size_t(t) * n + i] = T(0);
        }
    }
    for (unsigned int i = 0; i < n; ++i)
        for (unsigned int j = i + 1; j < n; ++j)
            S[std::size_t(i) * n + j] = T(0) * d[j];
}
