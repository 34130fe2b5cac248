// Blocks to and from lanes: a column of a row-major block becomes a vector, a lane for each row,
// and back. By way of registers alone: a vector load that follows scalar stores to its place waits
// until these have left the processor's buffers, which takes longer than the arithmetic on a small
// block.

/// Whether the compiler takes vectors apart by numbers of lanes: clang, and GCC from 12 on.
#if defined(__has_builtin)
#if __has_builtin(__builtin_shufflevector)
constexpr bool kHasShuffles = true;
#else
constexpr bool kHasShuffles = false;
#endif
#else
constexpr bool kHasShuffles = false;
#endif

/// Row I of a column of M rows, the first of which do not count, or zero.
template <int First, int M, int I, class T>
[[gnu::always_inline]] inline T rowOrZero(const T* column, unsigned int stride)
{
    return I >= First && I < M ? column[static_cast<unsigned int>(I) * stride] : T(0);
}

/// Columns in a register of lanes: rows At and up.
template <class V> struct ColumnLanes {
    static constexpr int kLanes = int(sizeof(V) / sizeof(V{}[0]));
    static_assert(kLanes == 2 || kLanes == 4 || kLanes == 8, "no such vectors are used");

    template <int First, int M, int At, class T>
    [[gnu::always_inline]] static V load(const T* c, unsigned int stride)
    {
        if constexpr (kLanes == 2)
            return V{rowOrZero<First, M, At>(c, stride), rowOrZero<First, M, At + 1>(c, stride)};
        else if constexpr (kLanes == 4)
            return V{rowOrZero<First, M, At>(c, stride), rowOrZero<First, M, At + 1>(c, stride),
                     rowOrZero<First, M, At + 2>(c, stride),
                     rowOrZero<First, M, At + 3>(c, stride)};
        else
            return V{
                rowOrZero<First, M, At>(c, stride),     rowOrZero<First, M, At + 1>(c, stride),
                rowOrZero<First, M, At + 2>(c, stride), rowOrZero<First, M, At + 3>(c, stride),
                rowOrZero<First, M, At + 4>(c, stride), rowOrZero<First, M, At + 5>(c, stride),
                rowOrZero<First, M, At + 6>(c, stride), rowOrZero<First, M, At + 7>(c, stride)};
    }

    /// Two columns that are neighbours in a block, from row First on.
    template <int First, int M, int At, class T>
    [[gnu::always_inline]] static void storePair(const V& a, const V& b, T* to, unsigned int stride)
    {
        if constexpr (kLanes == 2)
            storeRows<First, M, At>(__builtin_shufflevector(a, b, 0, 2),
                                    __builtin_shufflevector(a, b, 1, 3), to, stride);
        else if constexpr (kLanes == 4)
            storeRows<First, M, At>(__builtin_shufflevector(a, b, 0, 4, 2, 6),
                                    __builtin_shufflevector(a, b, 1, 5, 3, 7), to, stride);
        else
            storeRows<First, M, At>(__builtin_shufflevector(a, b, 0, 8, 2, 10, 4, 12, 6, 14),
                                    __builtin_shufflevector(a, b, 1, 9, 3, 11, 5, 13, 7, 15), to,
                                    stride);
    }

private:
    /// The pairs of even and of odd rows, from I on.
    template <int First, int M, int At, int I = 0, class T>
    [[gnu::always_inline]] static void storeRows(const V& even, const V& odd, T* to,
                                                 unsigned int stride)
    {
        if constexpr (At + I >= First && At + I < M)
            storeVector(to + unsigned(At + I - First) * stride,
                        __builtin_shufflevector(even, even, I, I + 1));
        if constexpr (At + I + 1 >= First && At + I + 1 < M)
            storeVector(to + unsigned(At + I + 1 - First) * stride,
                        __builtin_shufflevector(odd, odd, I, I + 1));
        if constexpr (I + 2 < kLanes)
            storeRows<First, M, At, I + 2>(even, odd, to, stride);
    }
};

template <class T, int Lanes> struct ColumnLanes<SeveralVectors<T, Lanes>> {
    using V = SeveralVectors<T, Lanes>;
    using Part = ColumnLanes<typename V::Part>;

    template <int First, int M, int P>
    [[gnu::always_inline]] static V load(const T* column, unsigned int stride)
    {
        V v;
        loadParts<First, M, P>(v, column, stride);
        return v;
    }

    template <int First, int M, int P>
    [[gnu::always_inline]] static void storePair(const V& a, const V& b, T* to, unsigned int stride)
    {
        Part::template storePair<First, M, P * V::kPart>(a.parts[P], b.parts[P], to, stride);
        if constexpr (P + 1 < V::kParts)
            storePair<First, M, P + 1>(a, b, to, stride);
    }

private:
    template <int First, int M, int P>
    [[gnu::always_inline]] static void loadParts(V& v, const T* column, unsigned int stride)
    {
        v.parts[P] = Part::template load<First, M, P * V::kPart>(column, stride);
        if constexpr (P + 1 < V::kParts)
            loadParts<First, M, P + 1>(v, column, stride);
    }
};

/// A column of M rows, `stride` apart; lanes beyond them are zero.
template <class V, int M, class T>
[[gnu::always_inline]] inline V loadColumn(const T* column, unsigned int stride)
{
    return ColumnLanes<V>::template load<0, M, 0>(column, stride);
}

/// The columns of the lower triangle of an N × N block; lanes above it are zero.
template <int N, int Column = 0, class V, class T>
[[gnu::always_inline]] inline void loadLowerTriangle(const T* block, V (&columns)[N])
{
    columns[Column] = ColumnLanes<V>::template load<Column, N, 0>(block + Column, N);
    if constexpr (Column + 1 < N)
        loadLowerTriangle<N, Column + 1>(block, columns);
}

/// An M × N block from its columns, which begin in lane First.
template <int M, int N, int First = 0, class V, class T>
[[gnu::always_inline]] inline void storeColumns(const V* columns, T* block)
{
    constexpr unsigned int kPaired = kHasShuffles ? N / 2 * 2 : 0;
    if constexpr (kHasShuffles) {
#pragma GCC unroll 8
        for (unsigned int q = 0; q < kPaired; q += 2)
            ColumnLanes<V>::template storePair<First, First + M, 0>(columns[q], columns[q + 1],
                                                                    block + q, N);
    }
#pragma GCC unroll 8
    for (unsigned int q = kPaired; q < N; ++q)
#pragma GCC unroll 8
        for (unsigned int i = 0; i < M; ++i)
            block[i * N + q] = columns[q][First + i];
}
