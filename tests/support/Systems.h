#ifndef KYRORVEL_TESTS_SUPPORT_SYSTEMS_H
#define KYRORVEL_TESTS_SUPPORT_SYSTEMS_H

#include "Patterns.h"
#include "Random.h"

#include <kyrOrvel/Orvel>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace support {

using Sizes = std::vector<unsigned int>;

/// Dense row-major blocks by (block row, block column).
template <class T> using BlockMap = std::map<std::pair<unsigned int, unsigned int>, std::vector<T>>;

/// A symmetric block system, by its lower triangle.
template <class T> struct System {
    Sizes sizes;        ///< scalar size of each block row
    Rows rows;          ///< columns of the blocks of A in each row, ascending
    Rows factorRows;    ///< columns of the blocks of L in each row, ascending, the diagonal last
    BlockMap<T> blocks; ///< the values of the blocks in `rows`

    unsigned int numRows() const { return static_cast<unsigned int>(sizes.size()); }
    unsigned int dimension() const { return offsetOf(numRows()); }
    unsigned int offsetOf(unsigned int r) const
    {
        unsigned int sum = 0;
        for (unsigned int i = 0; i < r; ++i)
            sum += sizes[i];
        return sum;
    }
};

/// The pattern of L by elimination on a dense table: eliminating k couples every two of the rows
/// that k is coupled to.
inline Rows eliminated(const Rows& rows)
{
    const std::size_t n = rows.size();
    std::vector<std::vector<bool>> coupled(n, std::vector<bool>(n, false));
    for (std::size_t r = 0; r < n; ++r) {
        coupled[r][r] = true;
        for (const unsigned int c : rows[r])
            coupled[r][c] = true;
    }
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t r = k + 1; r < n; ++r)
            for (std::size_t c = k + 1; c < r; ++c)
                if (coupled[r][k] && coupled[c][k])
                    coupled[r][c] = true;
    Rows filled(n);
    for (unsigned int r = 0; r < n; ++r)
        for (unsigned int c = 0; c <= r; ++c)
            if (coupled[r][c])
                filled[r].push_back(c);
    return filled;
}

/// The elimination tree: the parent of c is the first row below the diagonal in column c of L.
inline std::vector<unsigned int> parentsOf(const Rows& factorRows)
{
    std::vector<unsigned int> parents(factorRows.size());
    for (unsigned int c = 0; c < parents.size(); ++c) {
        parents[c] = c;
        for (unsigned int r = c + 1; r < parents.size() && parents[c] == c; ++r)
            if (std::find(factorRows[r].begin(), factorRows[r].end(), c) != factorRows[r].end())
                parents[c] = r;
    }
    return parents;
}

/// Fills a matrix in lower block-row order.
template <class T>
void fillMatrix(kyrOrvel::SparseMatrix<T>& matrix, const Sizes& sizes, const Rows& rows,
                const BlockMap<T>& blocks)
{
    std::size_t numBlocks = 0;
    std::size_t numValues = 0;
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r]) {
            ++numBlocks;
            numValues += std::size_t(sizes[r]) * sizes[c];
        }
    matrix.clear();
    matrix.setSize(sizes.size(), 0, numBlocks, numValues);
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r]) {
            T* const values = matrix.aquireBlock(r, c, sizes[r], sizes[c], 0);
            const std::vector<T>& block = blocks.at({r, c});
            std::copy(block.begin(), block.end(), values);
        }
}

/// Sets the factor pattern and the parents of the elimination tree.
template <class T> void setFactorPattern(kyrOrvel::OrvelData<T>& data, const Rows& factorRows)
{
    data.factorRowStart.assign(1, 0);
    data.factorColumns.clear();
    for (const auto& row : factorRows) {
        data.factorColumns.insert(data.factorColumns.end(), row.begin(), row.end());
        data.factorRowStart.push_back(static_cast<unsigned int>(data.factorColumns.size()));
    }
    kyrOrvel::EliminationTree& tree = data.eliminationTree;
    tree.releaseMemory();
    tree.allocateMemory(static_cast<unsigned int>(factorRows.size()));
    tree.numNodes = static_cast<unsigned int>(factorRows.size());
    const std::vector<unsigned int> parents = parentsOf(factorRows);
    std::copy(parents.begin(), parents.end(), tree.parent);
}

/// Hands the whole system over and clears `factored`.
template <class T> void load(const System<T>& system, kyrOrvel::OrvelData<T>& data)
{
    fillMatrix(data.matrix, system.sizes, system.rows, system.blocks);
    setFactorPattern(data, system.factorRows);
    data.factored = 0;
}

template <class T> std::unique_ptr<kyrOrvel::OrvelData<T>> makeData(const System<T>& system)
{
    auto data = std::make_unique<kyrOrvel::OrvelData<T>>();
    load(system, *data);
    return data;
}

/// A system of 1 × 1 blocks from the values of its lower triangle, row by row, each row ending at
/// the diagonal; `coupling` draws which of them are blocks of A. L is on the eliminated pattern.
template <class T>
System<T> scalarSystem(std::initializer_list<const char*> coupling,
                       const std::vector<std::vector<T>>& lower)
{
    System<T> system;
    system.sizes.assign(lower.size(), 1);
    system.rows = drawnRows(coupling);
    system.factorRows = eliminated(system.rows);
    for (unsigned int r = 0; r < lower.size(); ++r)
        for (const unsigned int c : system.rows[r])
            system.blocks[{r, c}] = {lower[r][c]};
    return system;
}

// Random systems

inline Sizes randomSizes(Random& random, unsigned int n, unsigned int smallest,
                         unsigned int largest)
{
    Sizes sizes(n);
    for (unsigned int& size : sizes)
        size = random.integer(smallest, largest);
    return sizes;
}

/// Every diagonal entry, and each other entry of the lower triangle with the given probability.
inline Rows randomRows(Random& random, unsigned int n, double density)
{
    Rows rows(n);
    for (unsigned int r = 0; r < n; ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (random.chance(density))
                rows[r].push_back(c);
        rows[r].push_back(r);
    }
    return rows;
}

/// Each row keeps each of its off-diagonal entries with the given probability.
inline Rows randomSubset(Random& random, const Rows& rows, double kept)
{
    Rows subset(rows.size());
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r])
            if (c == r || random.chance(kept))
                subset[r].push_back(c);
    return subset;
}

/// Values for every block of `rows`, each scalar from draw().
template <class T, class Draw>
BlockMap<T> drawBlocks(const Sizes& sizes, const Rows& rows, Draw draw)
{
    BlockMap<T> blocks;
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r]) {
            std::vector<T>& block = blocks[{r, c}];
            block.resize(std::size_t(sizes[r]) * sizes[c]);
            for (T& value : block)
                value = draw();
        }
    return blocks;
}

/// Adds to the diagonal what makes every scalar row of A dominant: more than the dimension, since
/// every other value is below 1. The rows of the blocks marked negative get it with a minus.
template <class T> void makeDominant(System<T>& system, const std::vector<bool>& negative)
{
    const T weight = static_cast<T>(system.dimension() + 1);
    for (unsigned int r = 0; r < system.numRows(); ++r) {
        std::vector<T>& block = system.blocks.at({r, r});
        for (unsigned int i = 0; i < system.sizes[r]; ++i) {
            T& value = block[std::size_t(i) * system.sizes[r] + i];
            value = negative[r] ? value - weight : value + weight;
        }
    }
}

/// Random couplings, values below 1 in magnitude off the diagonal, dominant rows; symmetric
/// positive definite in its lower triangle.
template <class T>
System<T> dominantSystem(Random& random, unsigned int n, double density, unsigned int smallest,
                         unsigned int largest)
{
    System<T> system;
    system.sizes = randomSizes(random, n, smallest, largest);
    system.rows = randomRows(random, n, density);
    system.factorRows = eliminated(system.rows);
    system.blocks = drawBlocks<T>(system.sizes, system.rows, [&] { return random.scalar<T>(); });
    makeDominant(system, std::vector<bool>(n, false));
    return system;
}

/// As dominantSystem, the last third of the block rows with negative pivots: it factors without
/// pivoting in every order.
template <class T>
System<T> quasiDefiniteSystem(Random& random, unsigned int n, double density, unsigned int smallest,
                              unsigned int largest)
{
    System<T> system;
    system.sizes = randomSizes(random, n, smallest, largest);
    system.rows = randomRows(random, n, density);
    system.factorRows = eliminated(system.rows);
    system.blocks = drawBlocks<T>(system.sizes, system.rows, [&] { return random.scalar<T>(); });
    std::vector<bool> negative(n, false);
    for (unsigned int r = n - n / 3; r < n; ++r)
        negative[r] = true;
    makeDominant(system, negative);
    return system;
}

} // namespace support

#endif
