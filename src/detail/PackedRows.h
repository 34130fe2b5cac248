// Block rows of a finished panel as dense columns, from which tiles take their products. S of such
// a row is at hand then, so that the terms of its pivots are added here as well.

/// L(r, K)ᵀ of a block row of N scalars, whose blocks lie side by side.
template <int N, class T>
void packRowOf(const PanelFactorization<T>& m, ColumnEntry entry, unsigned int first,
               unsigned int count, T* to, unsigned int stride)
{
    using V = typename Vector<T, kLanesFor<N>>::type;
    const T* L = m.L[entry.slot];
    const T* S = m.S[entry.slot];
    T* const scales = m.pivotScales ? m.pivotScales + m.offsets[entry.row] : nullptr;
    V scale = scales ? loadColumn<V, N>(scales, 1) : V{};
    for (unsigned int b = 0; b < count; ++b) {
        const unsigned int s = m.sizes[first + b];
        for (unsigned int q = 0; q < s; ++q, to += stride) {
            const V column = loadColumn<V, N>(L + q, s);
#pragma GCC unroll 8
            for (unsigned int j = 0; j < N; ++j)
                to[j] = column[j];
            if (scales)
                scale += magnitudesBeyond<T>(-1, column * loadColumn<V, N>(S + q, s));
        }
        L += N * s;
        S += N * s;
    }
    if (scales)
#pragma GCC unroll 8
        for (unsigned int i = 0; i < N; ++i)
            scales[i] = scale[i];
}

/// The same for a row of any size.
template <class T>
void packAnyRow(const PanelFactorization<T>& m, ColumnEntry entry, unsigned int first,
                unsigned int count, T* to, unsigned int stride)
{
    const unsigned int n = m.sizes[entry.row];
    for (unsigned int b = 0; b < count; ++b) {
        const T* const from = m.L[entry.slot + b];
        const unsigned int s = m.sizes[first + b];
        for (unsigned int q = 0; q < s; ++q, to += stride)
            for (unsigned int j = 0; j < n; ++j)
                to[j] = from[j * s + q];
    }
    if (m.pivotScales)
        addRowTerms(m, entry.row, entry.slot, first, count);
}

/// L(r, K)ᵀ for the panel of block columns [first, first + count), rows `stride` apart.
template <class T>
inline void packBlockRow(const PanelFactorization<T>& m, ColumnEntry entry, unsigned int first,
                         unsigned int count, T* to, unsigned int stride)
{
    switch (m.sizes[entry.row]) {
    case 3:
        return packRowOf<3>(m, entry, first, count, to, stride);
    case 5:
        return packRowOf<5>(m, entry, first, count, to, stride);
    case 6:
        return packRowOf<6>(m, entry, first, count, to, stride);
    default:
        return packAnyRow(m, entry, first, count, to, stride);
    }
}
