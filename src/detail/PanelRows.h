// Rows below a panel whose columns all have one size: some of them side by side, a lane for each
// scalar row, so that none waits for another's blocks.

/// The panel whose rows are finished.
template <class T> struct PanelAtHand {
    const PanelFactorization<T>& m;
    unsigned int first;  ///< block column
    unsigned int count;  ///< block columns
    unsigned int stride; ///< scalar columns
};

/// L and L·D of Vectors vectors of InVector block rows, M × N each in every column.
///
/// @param e     their entries
/// @param rows  in the panel: the first of their scalar rows
template <int M, int N, int InVector, int Vectors, class T>
void finishRowsInLanes(const PanelAtHand<T>& panel, const ColumnEntry* e, const T* rows)
{
    constexpr int kRows = M * InVector;
    constexpr unsigned int kLanes = kLanesFor<kRows>;
    using V = typename Vector<T, int(kLanes)>::type;
    const unsigned int stride = panel.stride;
    const unsigned int count = panel.count;
    const PanelFactorization<T>& m = panel.m;
    const T* const triangle = m.triangle;
    T* const done = m.lanes; // L·D of the columns so far, Vectors vectors for each
    const unsigned int offset = m.offsets[panel.first];
    const T* d = m.pivots + offset;
    const T* w = m.reciprocals + offset;
    constexpr unsigned int kBlockRows = InVector * Vectors;
    T* L[kBlockRows]; // blocks of a row lie side by side
    T* S[kBlockRows];
#pragma GCC unroll 4
    for (unsigned int r = 0; r < kBlockRows; ++r) {
        L[r] = m.L[e[r].slot];
        S[r] = m.S[e[r].slot];
    }
    for (unsigned int b = 0; b < count; ++b, d += N, w += N) {
        V x[Vectors][N];
#pragma GCC unroll 4
        for (unsigned int v = 0; v < Vectors; ++v)
#pragma GCC unroll 8
            for (unsigned int q = 0; q < N; ++q)
                x[v][q] = loadColumn<V, kRows>(rows + std::size_t(v * kRows) * stride + b * N + q,
                                               stride);
        const T* B = triangle + b * N;
        const T* earlier = done;
        for (unsigned int p = 0; p < b * N; ++p, B += stride, earlier += Vectors * kLanes) {
            V part[Vectors];
#pragma GCC unroll 4
            for (unsigned int v = 0; v < Vectors; ++v)
                part[v] = loadVector<V>(earlier + v * kLanes);
#pragma GCC unroll 8
            for (unsigned int q = 0; q < N; ++q)
#pragma GCC unroll 4
                for (unsigned int v = 0; v < Vectors; ++v)
                    x[v][q] -= part[v] * B[q];
        }
        const T* const F = m.L[m.rowStart[panel.first + b + 1] - 1];
        T* const to = done + std::size_t(b) * N * Vectors * kLanes;
        V scaled[Vectors][N];
#pragma GCC unroll 4
        for (unsigned int v = 0; v < Vectors; ++v) {
            finishLanes<N>(x[v], scaled[v], N, F, d, w);
#pragma GCC unroll 8
            for (unsigned int q = 0; q < N; ++q)
                storeVector(to + (q * Vectors + v) * kLanes, scaled[v][q]);
        }
#pragma GCC unroll 4
        for (unsigned int v = 0; v < Vectors; ++v) {
            storeColumns<M, N>(x[v], L[v * InVector]);
            storeColumns<M, N>(scaled[v], S[v * InVector]);
            if constexpr (InVector == 2) {
                storeColumns<M, N, M>(x[v], L[v * InVector + 1]);
                storeColumns<M, N, M>(scaled[v], S[v * InVector + 1]);
            }
        }
#pragma GCC unroll 4
        for (unsigned int r = 0; r < kBlockRows; ++r) {
            L[r] += M * N;
            S[r] += M * N;
        }
    }
}
