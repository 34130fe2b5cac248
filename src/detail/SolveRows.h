// The steps of the solves, row by row, for block sizes that the compiler knows: constraint systems
// consist of 3, 5 and 6 almost alone. Sums stay in registers, in the same order as in the plain
// loops; so everything is inlined and unrolled for certain, as what is handed over to a function
// goes by way of memory. Included once for each instruction set, in a namespace without a name, and
// by unitSolve.

template <int N> struct Size {
    static constexpr int value = N;
};

/// Calls f(Size<n>) if n is one of the sizes with steps of their own; returns whether it is.
template <class F> [[gnu::always_inline]] inline bool withFixedSize(unsigned int n, F f)
{
    switch (n) {
    case 3:
        f(Size<3>());
        return true;
    case 5:
        f(Size<5>());
        return true;
    case 6:
        f(Size<6>());
        return true;
    default:
        return false;
    }
}

// Two ways to L·D. The bits are the same: all factorizations but the multifrontal one store the
// products of L and D.

/// As it is stored.
struct StoredProduct {
    template <class T> static T product(T stored, const T* /*pivots*/, int /*column*/)
    {
        return stored;
    }
};

/// Made of L and D on the way: the pivots of the ones on its diagonal. A solve then reads L twice,
/// but nothing else: where L and L·D do not fit into the caches near the processor, it takes 0.5 to
/// 0.8 of the time; elsewhere up to 1.1.
struct ProductOnTheWay {
    template <class T> static T product(T factor, const T* pivots, int column)
    {
        return factor * pivots[column];
    }
};

/// Lets blocks be read when it is their turn.
struct NothingAhead {
    template <class T> void operator()(const T*, std::size_t) const {}
};

/// y -= B·x, B m × n; y in registers.
template <int M, int N, class T>
[[gnu::always_inline]] inline void subtractAx(const T* B, const T* x, T (&y)[M])
{
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
#pragma GCC unroll 8
        for (int j = 0; j < N; ++j)
            y[i] -= B[i * N + j] * x[j];
}

/// y -= B·x, of any width.
template <int M, class T>
[[gnu::always_inline]] inline void subtractAx(const T* B, const T* x, T (&y)[M], unsigned int n)
{
    const bool fixed = withFixedSize(
        n, [&](auto size)
               __attribute__((always_inline)) { subtractAx<M, decltype(size)::value>(B, x, y); });
    if (!fixed)
#pragma GCC unroll 8
        for (int i = 0; i < M; ++i)
            for (unsigned int j = 0; j < n; ++j)
                y[i] -= B[static_cast<unsigned int>(i) * n + j] * x[j];
}

/// y -= (L·D)ᵀ·x, B the m × n block of L or L·D; x in registers.
///
/// @param pivots  of the block's columns
template <class Product, int M, int N, class T>
[[gnu::always_inline]] inline void subtractAtx(const T* B, const T* pivots, const T (&x)[M], T* y)
{
    T sums[N];
#pragma GCC unroll 8
    for (int j = 0; j < N; ++j)
        sums[j] = y[j];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
#pragma GCC unroll 8
        for (int j = 0; j < N; ++j)
            sums[j] -= Product::product(B[i * N + j], pivots, j) * x[i];
#pragma GCC unroll 8
    for (int j = 0; j < N; ++j)
        y[j] = sums[j];
}

/// y -= (L·D)ᵀ·x, of any width.
template <class Product, int M, class T>
[[gnu::always_inline]] inline void subtractAtx(const T* B, const T* pivots, const T (&x)[M], T* y,
                                               unsigned int n)
{
    const bool fixed = withFixedSize(
        n, [&](auto size) __attribute__((always_inline)) {
            subtractAtx<Product, M, decltype(size)::value>(B, pivots, x, y);
        });
    if (!fixed)
#pragma GCC unroll 8
        for (int i = 0; i < M; ++i)
            for (unsigned int j = 0; j < n; ++j)
                y[j] -= Product::product(B[static_cast<unsigned int>(i) * n + j], pivots, int(j)) *
                        x[i];
}

// Rows of other sizes: the plain loops again, as functions that are shared with the rest of the
// program must not be compiled for newer processors.

template <class T, class Filter>
void forwardRowOfAnySize(const SolveFactor<T>& L, unsigned int r, T* x, Filter reads)
{
    const std::size_t m = L.sizes[r];
    T* const xr = x + L.offsets[r];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.columns[slot];
        const std::size_t n = L.sizes[c];
        const T* const B = L.blocks[slot];
        const T* const xc = x + L.offsets[c];
        for (std::size_t i = 0; reads(c) && i < m; ++i)
            for (std::size_t j = 0; j < n; ++j)
                xr[i] -= B[i * n + j] * xc[j];
    }
    const T* const F = L.blocks[diagonal];
    for (std::size_t i = 1; i < m; ++i)
        for (std::size_t j = 0; j < i; ++j)
            xr[i] -= F[i * m + j] * xr[j];
}

template <int M, class T, class Filter, class Ahead>
[[gnu::always_inline]] inline void forwardRowOfSize(const SolveFactor<T>& L, unsigned int r, T* x,
                                                    Filter reads, Ahead ahead)
{
    T* const xr = x + L.offsets[r];
    T y[M];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        y[i] = xr[i];
    const unsigned int diagonal = L.rowStart[r + 1] - 1;
    for (unsigned int slot = L.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = L.columns[slot];
        ahead(L.blocks[slot], M * std::size_t(L.sizes[c]));
        if (reads(c))
            subtractAx<M>(L.blocks[slot], x + L.offsets[c], y, L.sizes[c]);
    }
    const T* const F = L.blocks[diagonal];
#pragma GCC unroll 8
    for (int i = 1; i < M; ++i)
#pragma GCC unroll 8
        for (int j = 0; j < i; ++j)
            y[i] -= F[i * M + j] * y[j];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        xr[i] = y[i];
}

/// x_r := L(r, r)⁻¹ · (x_r - Σ over the row's columns c of L(r, c)·x_c). Columns for which
/// `reads(c)` is false are left out: their x is known to be zero. `ahead(block, scalars)` is told
/// of blocks that are about to be read.
template <class T, class Filter, class Ahead>
[[gnu::always_inline]] inline void forwardRow(const SolveFactor<T>& L, unsigned int r, T* x,
                                              Filter reads, Ahead ahead)
{
    const bool fixed = withFixedSize(
        L.sizes[r], [&](auto size) __attribute__((always_inline)) {
            forwardRowOfSize<decltype(size)::value>(L, r, x, reads, ahead);
        });
    if (!fixed)
        forwardRowOfAnySize(L, r, x, reads);
}

template <class Product, class T, class Visitor>
void backwardRowOfAnySize(const SolveFactor<T>& S, const T* pivots, unsigned int r, T* x,
                          Visitor writes)
{
    const std::size_t m = S.sizes[r];
    T* const xr = x + S.offsets[r];
    const T* const d = pivots + S.offsets[r];
    const unsigned int diagonal = S.rowStart[r + 1] - 1;
    const T* const F = S.blocks[diagonal];
    for (std::size_t i = m; i-- > 0;) {
        xr[i] = xr[i] / Product::product(F[i * m + i], d, int(i));
        for (std::size_t j = 0; j < i; ++j)
            xr[j] -= xr[i] * Product::product(F[i * m + j], d, int(j));
    }
    for (unsigned int slot = S.rowStart[r]; slot < diagonal; ++slot) {
        const unsigned int c = S.columns[slot];
        writes(c);
        const std::size_t n = S.sizes[c];
        const T* const B = S.blocks[slot];
        const T* const dc = pivots + S.offsets[c];
        T* const xc = x + S.offsets[c];
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < n; ++j)
                xc[j] -= Product::product(B[i * n + j], dc, int(j)) * xr[i];
    }
}

template <class Product, int M, class T, class Visitor, class Ahead>
[[gnu::always_inline]] inline void backwardRowOfSize(const SolveFactor<T>& S, const T* pivots,
                                                     unsigned int r, T* x, Visitor writes,
                                                     Ahead ahead)
{
    T* const xr = x + S.offsets[r];
    T y[M];
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        y[i] = xr[i];
    const unsigned int diagonal = S.rowStart[r + 1] - 1;
    const T* const F = S.blocks[diagonal];
    const T* const d = pivots + S.offsets[r];
#pragma GCC unroll 8
    for (int done = 0; done < M; ++done) {
        const int i = M - 1 - done;
        y[i] = y[i] / Product::product(F[i * M + i], d, i);
#pragma GCC unroll 8
        for (int j = 0; j < i; ++j)
            y[j] -= y[i] * Product::product(F[i * M + j], d, j);
    }
#pragma GCC unroll 8
    for (int i = 0; i < M; ++i)
        xr[i] = y[i];
    // The last first: the row before this one waits for it. Walls and nets take 0.96 to 0.98 of the
    // time. Columns of a row differ, so that every x_c still receives its terms row by row.
    for (unsigned int slot = diagonal; slot-- > S.rowStart[r];) {
        const unsigned int c = S.columns[slot];
        ahead(S.blocks[slot], M * std::size_t(S.sizes[c]));
        writes(c);
        subtractAtx<Product, M>(S.blocks[slot], pivots + S.offsets[c], y, x + S.offsets[c],
                                S.sizes[c]);
    }
}

/// Finishes x_r with the diagonal block of L·D, which divides by the pivots, and scatters it into
/// the earlier rows. `writes(c)` is told of every row c before it is changed, `ahead` as in
/// forwardRow.
///
/// @param S       L·D, or L where Product makes the products on the way
/// @param pivots  D; x will do where the products are stored
template <class Product, class T, class Visitor, class Ahead>
[[gnu::always_inline]] inline void backwardRow(const SolveFactor<T>& S, const T* pivots,
                                               unsigned int r, T* x, Visitor writes, Ahead ahead)
{
    const bool fixed = withFixedSize(
        S.sizes[r], [&](auto size) __attribute__((always_inline)) {
            backwardRowOfSize<Product, decltype(size)::value>(S, pivots, r, x, writes, ahead);
        });
    if (!fixed)
        backwardRowOfAnySize<Product>(S, pivots, r, x, writes);
}
