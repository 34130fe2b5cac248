#ifndef KYRORVEL_TESTS_EIGEN_EIGEN_SYSTEMS_H
#define KYRORVEL_TESTS_EIGEN_EIGEN_SYSTEMS_H

// Symmetric systems as Eigen's matrices, and how well they are solved.

#include "support/BlockSystems.h"
#include "support/Random.h"

#include <kyrOrvelClient/BlockMatrix>

#include <Eigen/SparseCore>

#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

namespace eigen_systems {

using kyrOrvel::client::BlockMatrix;

constexpr int kLower = Eigen::Lower;
constexpr int kUpper = Eigen::Upper;
constexpr int kBoth = Eigen::Lower | Eigen::Upper;

template <class T> using Dense = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
template <class T> using Vector = Eigen::Matrix<T, Eigen::Dynamic, 1>;

inline std::vector<int> inOrder(std::size_t n)
{
    std::vector<int> places(n);
    std::iota(places.begin(), places.end(), 0);
    return places;
}

inline std::vector<int> shuffled(support::Random& random, std::size_t n)
{
    std::vector<int> places = inOrder(n);
    for (unsigned int i = static_cast<unsigned int>(n); i > 1; --i)
        std::swap(places[i - 1], places[random.integer(0, i - 1)]);
    return places;
}

/// A block matrix as one of Eigen's, with all values of its stored blocks.
///
/// @param triangles  kLower, kUpper or kBoth: what is stored
/// @param places     places[i]: the row that becomes of row i
template <class Matrix>
Matrix eigenMatrix(const BlockMatrix<typename Matrix::Scalar>& A, int triangles,
                   const std::vector<int>& places)
{
    using Triplet = Eigen::Triplet<typename Matrix::Scalar, typename Matrix::StorageIndex>;
    std::vector<Triplet> entries;
    const auto add = [&](int row, int column, typename Matrix::Scalar value) {
        if ((row >= column && (triangles & kLower)) || (row <= column && (triangles & kUpper)))
            entries.emplace_back(row, column, value);
    };
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const unsigned int n = A.blockSize(entry.column);
            for (unsigned int i = 0; i < A.blockSize(r); ++i)
                for (unsigned int j = 0; j < (entry.column == r ? i + 1 : n); ++j) {
                    const int row = places[A.blockOffset(r) + i];
                    const int column = places[A.blockOffset(entry.column) + j];
                    add(row, column, entry.values[i * n + j]);
                    if (row != column)
                        add(column, row, entry.values[i * n + j]);
                }
        }
    const auto n = static_cast<Eigen::Index>(A.dimension());
    Matrix result(n, n);
    result.setFromTriplets(entries.begin(), entries.end());
    return result;
}

template <class Matrix>
Matrix eigenMatrix(const BlockMatrix<typename Matrix::Scalar>& A, int triangles = kLower)
{
    return eigenMatrix<Matrix>(A, triangles, inOrder(A.dimension()));
}

/// A matrix from its lower triangle, row by row; zeros are stored.
inline Eigen::SparseMatrix<double> drawn(const std::vector<std::vector<double>>& lower)
{
    std::vector<Eigen::Triplet<double>> entries;
    for (std::size_t i = 0; i < lower.size(); ++i)
        for (std::size_t j = 0; j < lower[i].size(); ++j)
            entries.emplace_back(static_cast<int>(i), static_cast<int>(j), lower[i][j]);
    const auto n = static_cast<Eigen::Index>(lower.size());
    Eigen::SparseMatrix<double> result(n, n);
    result.setFromTriplets(entries.begin(), entries.end());
    return result;
}

/// Both triangles of a matrix that holds one.
template <class Matrix> Dense<typename Matrix::Scalar> whole(const Matrix& A, int triangle = kLower)
{
    const Dense<typename Matrix::Scalar> dense(A);
    if (triangle & kLower)
        return dense.template selfadjointView<Eigen::Lower>();
    return dense.template selfadjointView<Eigen::Upper>();
}

template <class T> Dense<T> randomDense(support::Random& random, Eigen::Index m, Eigen::Index n)
{
    return Dense<T>::NullaryExpr(m, n, [&] { return random.scalar<T>(); });
}

template <class T> Vector<T> randomVector(support::Random& random, Eigen::Index n)
{
    return randomDense<T>(random, n, 1);
}

/// |b - A·x| / (|A|·|x| + |b|) in the largest norm, of the worst column.
template <class T> T backwardError(const Dense<T>& A, const Dense<T>& x, const Dense<T>& b)
{
    const T largest = A.size() == 0 ? T(0) : A.cwiseAbs().rowwise().sum().maxCoeff();
    T worst = 0;
    for (Eigen::Index j = 0; j < b.cols(); ++j) {
        const T scale = largest * x.col(j).template lpNorm<Eigen::Infinity>() +
                        b.col(j).template lpNorm<Eigen::Infinity>();
        const T error = (b.col(j) - A * x.col(j)).template lpNorm<Eigen::Infinity>();
        if (!(error <= worst * scale))
            worst = error / scale;
    }
    return worst;
}

/// The backward error that a good solution stays below.
template <class T> constexpr T kTolerance = 1000 * std::numeric_limits<T>::epsilon();

/// A system [M Gᵀ; G 0] with no compliance: joints have a zero diagonal.
template <class T> BlockMatrix<T> saddlePoint(support::Random& random)
{
    support::KktShape shape;
    shape.bodies = random.integer(2, 12);
    shape.joints = random.integer(1, shape.bodies);
    shape.partners = random.integer(1, 2);
    return support::randomKkt<T>(random, shape);
}

} // namespace eigen_systems

#endif
