#ifndef KYRORVEL_CLIENT_VALUE_SCATTER_H
#define KYRORVEL_CLIENT_VALUE_SCATTER_H

#include <kyrOrvelClient/BlockMatrix>
#include <kyrOrvelClient/Status>

#include <kyrOrvel/SkeletonMatrix>
#include <kyrOrvel/SparseMatrix>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// Copies the values of a BlockMatrix to where the solver's matrix, in elimination order, wants
/// them. Made once per pattern, linked once per matrix that has it.
template <class T> class ValueScatter {
public:
    /// Lays out `target` on the permuted pattern and remembers where each block of A goes.
    ///
    /// @param permuted  A's pattern in elimination order, all diagonal blocks included
    /// @param position  position[b]: where block b of A is eliminated
    /// @param upper     upper block-row order instead of lower
    void prepare(const BlockMatrix<T>& A, const SkeletonMatrix& permuted,
                 const std::vector<unsigned int>& order, const std::vector<unsigned int>& position,
                 bool upper, SparseMatrix<T>& target);

    /// Finds the values of A, which has the pattern it was prepared for. O(blocks), allocates
    /// nothing.
    void link(const BlockMatrix<T>& A);

    /// Copies all values of A, the matrix linked last. NotFinite, with the place, at the first
    /// infinity or NaN. Allocates nothing when all is well.
    Status run(const BlockMatrix<T>& A) const;

private:
    /// The way of a block.
    struct Move {
        const T* from; ///< null where A has no block
        T* to;
        unsigned int rows; ///< in A
        unsigned int columns;
        bool diagonal;   ///< the lower triangle counts
        bool transposed; ///< it lies above the diagonal in elimination order
    };

public:
    static constexpr std::size_t kBytesPerBlock = sizeof(Move) + sizeof(unsigned int);

private:
    /// Per slot of the target, which is written from its beginning to its end: A is read here and
    /// there, but can be asked for ahead. Some that read nothing follow.
    std::vector<Move> m_moves;
    std::vector<unsigned int> m_slots; ///< per block of A, row by row
};

} // namespace client
} // namespace kyrOrvel

#endif
