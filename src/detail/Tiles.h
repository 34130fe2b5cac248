// Tiles of C -= S·B, S as it lies in the blocks of one factor row or of two that have the same
// height, B dense with rows in the order of the products. Two low ones share B's loads, and keep
// the adders busy: those take three or four cycles for a sum, a row of which may be one vector
// alone.

template <class T> struct Tile {
    const T* const* S[2];      ///< per factor row: blocks side by side, row-major without gaps
    const unsigned int* sizes; ///< their columns
    unsigned int count;
    unsigned int row; ///< of S, that C starts at
    const T* B;       ///< a row for each column of S
    unsigned int strideB;
    T* C[2]; ///< per factor row
    unsigned int strideC;
};

/// Takes the products of one column of S with one row of B from the sums, and moves on along S, s
/// scalars to a row.
template <class T, int Count, int Rows, int Width>
[[gnu::always_inline]] inline void subtractProducts(PaddedRow<T, Width> (&sums)[Count][Rows],
                                                    const T* (&S)[Count], unsigned int s,
                                                    const T* B)
{
    PaddedRow<T, Width> part;
    part.load(B);
#pragma GCC unroll 2
    for (unsigned int f = 0; f < Count; ++f) {
        const typename PaddedRow<T, Width>::Scalars factors(S[f]);
#pragma GCC unroll 8
        for (unsigned int i = 0; i < Rows; ++i)
            sums[f][i].subtract(part, factors, std::size_t(i) * s);
        ++S[f];
    }
}

/// Rows × Width sums for each of some factor rows, of at least one block. They stay in registers:
/// loops are unrolled for certain, none of them is skipped, and nothing of the tile is read again
/// behind a store.
template <class T, int Count, int Rows, int Width> void subtractTile(const Tile<T>& tile)
{
    // Of more sums, three products at once would leave no registers for what they read.
    constexpr bool kUnrolled =
        kVectorBytes < 64 || Count * Rows * Width * int(sizeof(T)) <= 12 * kVectorBytes;
    T* const C[2] = {tile.C[0], tile.C[1]};
    const std::size_t strideC = tile.strideC;
    PaddedRow<T, Width> sums[Count][Rows];
#pragma GCC unroll 2
    for (unsigned int f = 0; f < Count; ++f)
#pragma GCC unroll 8
        for (std::size_t i = 0; i < Rows; ++i)
            sums[f][i].load(C[f] + i * strideC);
    const T* B = tile.B;
    const std::size_t strideB = tile.strideB;
    const unsigned int count = tile.count;
    unsigned int b = 0;
    do {
        const unsigned int s = tile.sizes[b];
        const T* S[Count];
#pragma GCC unroll 2
        for (unsigned int f = 0; f < Count; ++f)
            S[f] = tile.S[f][b] + std::size_t(tile.row) * s;
        if (kUnrolled && s == 3) { // what a loop takes would show beside so little
#pragma GCC unroll 3
            for (unsigned int q = 0; q < 3; ++q, B += strideB)
                subtractProducts<T>(sums, S, 3, B);
        } else {
            for (unsigned int q = 0; q < s; ++q, B += strideB)
                subtractProducts<T>(sums, S, s, B);
        }
    } while (++b < count);
#pragma GCC unroll 2
    for (unsigned int f = 0; f < Count; ++f)
#pragma GCC unroll 8
        for (std::size_t i = 0; i < Rows; ++i)
            sums[f][i].store(C[f] + i * strideC);
}

/// As many tiles of Width columns as there are. The tile moves along: it is not copied, for a load
/// of several members at once would wait for the stores of single ones.
template <class T, int Count, int Rows, unsigned int Width>
inline void subtractWideTiles(Tile<T>& tile, unsigned int& columns)
{
    for (; columns >= Width; columns -= Width) {
        subtractTile<T, Count, Rows, int(Width)>(tile);
        tile.B += Width;
        tile.C[0] += Width;
        tile.C[1] += Width;
    }
}

template <class T, int Count, int Rows>
void subtractTileColumns(Tile<T>& tile, unsigned int columns)
{
    constexpr unsigned int kWide = 64 / sizeof(T);
    // With registers of 64 bytes, four to a row take 24 of 32 and load least for each product:
    // lattices of 12 and elastic cubes of 24 gain a twentieth over two to a row. With fewer
    // registers half of the rows fill them.
    if constexpr (kVectorBytes == 64)
        subtractWideTiles<T, Count, Rows, 4 * kWide>(tile, columns);
    if constexpr (kVectorBytes == 64 || Count * Rows <= kTileRows / 2)
        subtractWideTiles<T, Count, Rows, 2 * kWide>(tile, columns);
    subtractWideTiles<T, Count, Rows, kWide>(tile, columns);
    if constexpr (kWide > 8)
        subtractWideTiles<T, Count, Rows, 8>(tile, columns);
    switch (columns) {
    case 1:
        return subtractTile<T, Count, Rows, 1>(tile);
    case 2:
        return subtractTile<T, Count, Rows, 2>(tile);
    case 3:
        return subtractTile<T, Count, Rows, 3>(tile);
    case 4:
        return subtractTile<T, Count, Rows, 4>(tile);
    case 5:
        return subtractTile<T, Count, Rows, 5>(tile);
    case 6:
        return subtractTile<T, Count, Rows, 6>(tile);
    case 7:
        return subtractTile<T, Count, Rows, 7>(tile);
    default:
        return;
    }
}

/// A tile of `rows` rows, 1 to Most.
template <class T, int Count, int Most>
inline void subtractTileRows(Tile<T>& tile, unsigned int rows, unsigned int columns)
{
    if constexpr (Most == 1) {
        subtractTileColumns<T, Count, 1>(tile, columns);
    } else {
        if (rows == Most)
            subtractTileColumns<T, Count, Most>(tile, columns);
        else
            subtractTileRows<T, Count, Most - 1>(tile, rows, columns);
    }
}
