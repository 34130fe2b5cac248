#ifndef KYRORVEL_CLIENT_FACTOR_STRUCTURE_H
#define KYRORVEL_CLIENT_FACTOR_STRUCTURE_H

#include <kyrOrvel/EliminationTree>
#include <kyrOrvel/SkeletonMatrix>

#include <cstdint>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Counts of a factor, in 64 bits.
struct FactorCounts {
    std::uint64_t blocks = 0;     ///< blocks of L
    std::uint64_t scalars = 0;    ///< scalars in them, diagonal blocks full
    std::uint64_t operations = 0; ///< multiply-subtract pairs to compute them
    bool complete = true;         ///< false: there are more blocks than were to be counted
};

/// The block structure of the factor of a permuted pattern, from its elimination tree.
///
/// Row r of L is the row subtree of r: the tree paths from every column of A's row r up to r
/// (Liu 1986; Davis 2006, section 4). The walk stops where an earlier path of the same row has
/// been, so the time is proportional to the number of blocks in L.
class FactorStructure {
public:
    /// @param pattern     lower triangle by rows, diagonal last, in elimination order
    /// @param tree        its elimination tree; must live as long as this object
    /// @param blockSizes  scalar sizes in elimination order
    /// @param maxBlocks   where to stop counting; an object with more is of no further use
    FactorStructure(const SkeletonMatrix& pattern, const EliminationTree& tree,
                    const std::vector<unsigned int>& blockSizes,
                    std::uint64_t maxBlocks = UINT64_MAX);

    const FactorCounts& counts() const { return m_counts; }

    /// Fills both patterns; counts().blocks must fit 32 bits. Rows: columns ascending, the diagonal
    /// last. Columns: list k names k, then every row r > k with a block L(r, k), ascending.
    void fill(std::vector<unsigned int>& rowStart, std::vector<unsigned int>& rowColumns,
              SkeletonMatrix& columns) const;

private:
    template <class F> bool forEachBelowDiagonal(F f) const;

    const SkeletonMatrix& m_pattern;
    const EliminationTree& m_tree;
    std::vector<std::uint64_t> m_columnCounts; ///< blocks below the diagonal
    FactorCounts m_counts;
};

} // namespace client
} // namespace kyrOrvel

#endif
