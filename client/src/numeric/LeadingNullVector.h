#ifndef KYRORVEL_CLIENT_LEADING_NULL_VECTOR_H
#define KYRORVEL_CLIENT_LEADING_NULL_VECTOR_H

#include <kyrOrvel/Orvel>

#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// The vector w, with 1 at a pivot's place p and zeros after it, for which A·w up to p is zero
/// except for the pivot: A(:p, :p)·w = d(p)·e(p). If the pivot is zero, w is the dependency: row p
/// is minus the sum of w(q) times row q.
///
/// One back-solve: Lᵀ·w = e(p) with the rows of L up to p. It touches the descendants of p's block
/// in the elimination tree only. The rows of L up to p have to be sound; those after it are not
/// looked at.
template <class T> class LeadingNullVector {
public:
    void reserve(std::size_t dimension, unsigned int blocks);

    /// Computes w for row i of block row r. O(scalars of L in the rows of the descendants).
    void compute(const OrvelData<T>& data, unsigned int r, unsigned int i);

    /// The block rows in which w may be nonzero, descending.
    const std::vector<unsigned int>& rows() const { return m_rows; }

    T operator[](std::size_t scalar) const { return m_w[scalar]; }

    /// |w|ᵀ·|L|·|D|·|Lᵀ|·|w|: times the machine epsilon, what rounding may have changed in the
    /// pivot (Higham 2002, Accuracy and Stability of Numerical Algorithms, section 11.1).
    T magnitude(const OrvelData<T>& data) const;

    /// Scalars of L that the last computation read.
    std::size_t cost() const { return m_cost; }

private:
    void clear(const SparseMatrix<T>& L);
    void take(const SparseMatrix<T>& L, unsigned int r, unsigned int m);

    std::vector<T> m_w;
    std::vector<T> m_u; ///< |Lᵀ|·|w|
    std::vector<unsigned char> m_marked;
    std::vector<unsigned int> m_rows;
    unsigned int m_first = 0; ///< no block row before it is marked
    unsigned int m_block = 0;
    unsigned int m_row = 0;
    std::size_t m_cost = 0;
};

} // namespace client
} // namespace kyrOrvel

#endif
