// Tiles of C -= S·B, S as it lies in the blocks of a factor row, B dense with rows in the order of
// the products.

template <class T> struct Tile {
    const T* const* S;         ///< blocks side by side, row-major without gaps
    const unsigned int* sizes; ///< their columns
    unsigned int count;
    unsigned int row; ///< of S, that C starts at
    const T* B;       ///< a row for each column of S
    unsigned int strideB;
    T* C;
    unsigned int strideC;
};

/// Rows × Width sums, of at least one block. They stay in registers: loops are unrolled for
/// certain, none of them is skipped, and nothing of the tile is read again behind a store.
template <class T, int Rows, int Width> void subtractTile(const Tile<T>& tile)
{
    T* const C = tile.C;
    const std::size_t strideC = tile.strideC;
    PaddedRow<T, Width> sums[Rows];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Rows; ++i)
        sums[i].load(C + i * strideC);
    const T* B = tile.B;
    const std::size_t strideB = tile.strideB;
    const unsigned int count = tile.count;
    unsigned int b = 0;
    do {
        const unsigned int s = tile.sizes[b];
        const T* S = tile.S[b] + std::size_t(tile.row) * s;
        for (unsigned int q = 0; q < s; ++q, ++S, B += strideB) {
            PaddedRow<T, Width> part;
            part.load(B);
#pragma GCC unroll 8
            for (unsigned int i = 0; i < Rows; ++i)
                sums[i].subtract(part, S[i * s]);
        }
    } while (++b < count);
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Rows; ++i)
        sums[i].store(C + i * strideC);
}

/// As many tiles of Width columns as there are.
template <class T, int Rows, unsigned int Width>
inline void subtractWideTiles(Tile<T>& tile, unsigned int& columns)
{
    for (; columns >= Width; columns -= Width, tile.B += Width, tile.C += Width)
        subtractTile<T, Rows, int(Width)>(tile);
}

template <class T, int Rows> void subtractTileColumns(Tile<T> tile, unsigned int columns)
{
    constexpr unsigned int kWide = 64 / sizeof(T);
    if constexpr (2 * Rows <= kTileRows)
        subtractWideTiles<T, Rows, 2 * kWide>(tile, columns);
    subtractWideTiles<T, Rows, kWide>(tile, columns);
    if constexpr (kWide > 8)
        subtractWideTiles<T, Rows, 8>(tile, columns);
    switch (columns) {
    case 1:
        return subtractTile<T, Rows, 1>(tile);
    case 2:
        return subtractTile<T, Rows, 2>(tile);
    case 3:
        return subtractTile<T, Rows, 3>(tile);
    case 4:
        return subtractTile<T, Rows, 4>(tile);
    case 5:
        return subtractTile<T, Rows, 5>(tile);
    case 6:
        return subtractTile<T, Rows, 6>(tile);
    case 7:
        return subtractTile<T, Rows, 7>(tile);
    default:
        return;
    }
}

/// A tile of `rows` rows, 1 to Most.
template <class T, int Most>
inline void subtractTileRows(const Tile<T>& tile, unsigned int rows, unsigned int columns)
{
    if constexpr (Most == 1) {
        subtractTileColumns<T, 1>(tile, columns);
    } else {
        if (rows == Most)
            subtractTileColumns<T, Most>(tile, columns);
        else
            subtractTileRows<T, Most - 1>(tile, rows, columns);
    }
}
