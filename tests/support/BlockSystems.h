#ifndef KYRORVEL_TESTS_SUPPORT_BLOCK_SYSTEMS_H
#define KYRORVEL_TESTS_SUPPORT_BLOCK_SYSTEMS_H

// Systems in a user's own numbering, for the client layer, and a dense reference for them.

#include "Forests.h"
#include "Patterns.h"
#include "Random.h"

#include <kyrOrvelClient/BlockMatrix>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <utility>
#include <vector>

namespace support {

/// The matrix in another precision.
template <class T>
kyrOrvel::client::BlockMatrix<T> roundedMatrix(const kyrOrvel::client::BlockMatrix<double>& A)
{
    kyrOrvel::client::BlockMatrix<T> rounded(A.blockSizes(), A.firstTrailing());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            T* const block = rounded.block(r, entry.column);
            const std::size_t count = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            std::transform(entry.values, entry.values + count, block,
                           [](double value) { return static_cast<T>(value); });
        }
    return rounded;
}

/// The whole matrix as a table, in the widest arithmetic there is.
using Dense = std::vector<std::vector<long double>>;

/// Both triangles, taken from the lower one alone.
template <class T> Dense denseOf(const kyrOrvel::client::BlockMatrix<T>& A)
{
    Dense dense(A.dimension(), std::vector<long double>(A.dimension(), 0));
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (unsigned int c = 0; c <= r; ++c) {
            const T* const block = A.find(r, c);
            if (!block)
                continue;
            for (unsigned int i = 0; i < A.blockSize(r); ++i)
                for (unsigned int j = 0; j < (r == c ? i + 1 : A.blockSize(c)); ++j) {
                    const std::size_t p = A.blockOffset(r) + i;
                    const std::size_t q = A.blockOffset(c) + j;
                    dense[p][q] = dense[q][p] =
                        static_cast<long double>(block[i * A.blockSize(c) + j]);
                }
        }
    return dense;
}

template <class T> std::vector<long double> multiply(const Dense& A, const std::vector<T>& x)
{
    std::vector<long double> y(A.size(), 0);
    for (std::size_t i = 0; i < A.size(); ++i)
        for (std::size_t j = 0; j < A.size(); ++j)
            y[i] += A[i][j] * static_cast<long double>(x[j]);
    return y;
}

/// Solves by Gaussian elimination with partial pivoting.
inline std::vector<long double> denseSolve(Dense A, std::vector<long double> b)
{
    const std::size_t n = b.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t best = k;
        for (std::size_t i = k + 1; i < n; ++i)
            if (std::abs(A[i][k]) > std::abs(A[best][k]))
                best = i;
        std::swap(A[k], A[best]);
        std::swap(b[k], b[best]);
        for (std::size_t i = k + 1; i < n; ++i) {
            const long double factor = A[i][k] / A[k][k];
            for (std::size_t j = k; j < n; ++j)
                A[i][j] -= factor * A[k][j];
            b[i] -= factor * b[k];
        }
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t j = i + 1; j < n; ++j)
            b[i] -= A[i][j] * b[j];
        b[i] /= A[i][i];
    }
    return b;
}

/// |b - A·x| / (|A|·|x| + |b|) in the largest norm: how much A and b would have to change for x to
/// be exact.
template <class T>
double backwardError(const kyrOrvel::client::BlockMatrix<T>& A, const std::vector<T>& x,
                     const std::vector<T>& b)
{
    const Dense dense = denseOf(A);
    const std::vector<long double> product = multiply(dense, x);
    long double residual = 0;
    long double rowSum = 0;
    long double largestX = 0;
    long double largestB = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        const auto bi = static_cast<long double>(b[i]);
        long double sum = 0;
        for (const long double a : dense[i])
            sum += std::abs(a);
        rowSum = std::max(rowSum, sum);
        residual = std::max(residual, std::abs(bi - product[i]));
        largestX = std::max(largestX, std::abs(static_cast<long double>(x[i])));
        largestB = std::max(largestB, std::abs(bi));
        if (!std::isfinite(x[i]))
            return std::numeric_limits<double>::infinity();
    }
    return residual == 0 ? 0 : static_cast<double>(residual / (rowSum * largestX + largestB));
}

/// |b - A·x| / |b| in the 2-norm.
template <class T>
double relativeResidual(const kyrOrvel::client::BlockMatrix<T>& A, const std::vector<T>& x,
                        const std::vector<T>& b)
{
    const std::vector<long double> product = multiply(denseOf(A), x);
    long double residual = 0;
    long double whole = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        const auto bi = static_cast<long double>(b[i]);
        residual += (bi - product[i]) * (bi - product[i]);
        whole += bi * bi;
    }
    return residual == 0 ? 0 : static_cast<double>(std::sqrt(residual / whole));
}

/// The stored blocks of each row.
template <class T> Rows rowsOf(const kyrOrvel::client::BlockMatrix<T>& A)
{
    Rows rows(A.numBlockRows());
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            rows[r].push_back(entry.column);
    return rows;
}

/// A matrix with the drawn blocks, all zero: enough for an analysis.
inline kyrOrvel::client::BlockMatrix<double> drawnMatrix(std::initializer_list<const char*> drawing,
                                                         unsigned int firstTrailing,
                                                         std::vector<unsigned int> sizes = {})
{
    const Rows rows = drawnRows(drawing);
    if (sizes.empty())
        sizes.assign(rows.size(), 1);
    kyrOrvel::client::BlockMatrix<double> A(sizes, firstTrailing);
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r])
            A.block(r, c);
    return A;
}

/// A matrix of 1 × 1 blocks from its lower triangle, row by row; zeros are not stored.
template <class T>
kyrOrvel::client::BlockMatrix<T> scalarMatrix(const std::vector<std::vector<T>>& lower,
                                              unsigned int firstTrailing = kyrOrvel::kNone)
{
    kyrOrvel::client::BlockMatrix<T> A(std::vector<unsigned int>(lower.size(), 1), firstTrailing);
    for (unsigned int r = 0; r < lower.size(); ++r)
        for (unsigned int c = 0; c < lower[r].size(); ++c)
            if (lower[r][c] != T(0))
                *A.block(r, c) = lower[r][c];
    return A;
}

/// An SPD diagonal block: random values below 1 and a dominant diagonal, all times `mass`.
template <class T> void writeMass(Random& random, T* block, unsigned int m, T mass)
{
    for (unsigned int i = 0; i < m; ++i) {
        for (unsigned int j = 0; j < i; ++j)
            block[i * m + j] = block[j * m + i] = random.scalar<T>() * mass;
        block[i * m + i] = T(m) * mass;
    }
}

/// Random couplings, symmetric positive definite, no trailing blocks.
template <class T>
kyrOrvel::client::BlockMatrix<T> randomSpd(Random& random, unsigned int n, double density,
                                           unsigned int smallest, unsigned int largest)
{
    std::vector<unsigned int> sizes(n);
    for (unsigned int& size : sizes)
        size = random.integer(smallest, largest);
    kyrOrvel::client::BlockMatrix<T> A(sizes);
    for (unsigned int r = 0; r < n; ++r) {
        for (unsigned int c = 0; c < r; ++c)
            if (random.chance(density)) {
                T* const block = A.block(r, c);
                for (std::size_t i = 0; i < std::size_t(sizes[r]) * sizes[c]; ++i)
                    block[i] = random.scalar<T>();
            }
        T* const block = A.block(r, r);
        writeMass<T>(random, block, sizes[r], 1);
        for (unsigned int i = 0; i < sizes[r]; ++i)
            block[i * sizes[r] + i] += static_cast<T>(A.dimension());
    }
    return A;
}

/// How randomKkt draws.
struct KktShape {
    unsigned int bodies = 8;
    unsigned int joints = 6; ///< at most as many as bodies: each holds a body of its own
    unsigned int largestBody = 6;
    double compliance = 0;     ///< joints with a diagonal block of -compliance·I, if not 0
    double lightestMass = 1;   ///< masses are drawn between this and 1, all magnitudes alike
    unsigned int partners = 1; ///< other bodies of a joint, at the most
};

/// [M Gᵀ; G -C], bodies first. G has full rank: the rows of joint j are independent on a body that
/// no other joint calls its own, and its other bodies come earlier in a random order.
template <class T> kyrOrvel::client::BlockMatrix<T> randomKkt(Random& random, const KktShape& shape)
{
    std::vector<unsigned int> sizes(shape.bodies);
    for (unsigned int& size : sizes)
        size = random.integer(1, shape.largestBody);
    const Words own = randomOrder(random, shape.bodies);
    for (unsigned int j = 0; j < shape.joints; ++j)
        sizes.push_back(random.integer(1, sizes[own[j]]));
    kyrOrvel::client::BlockMatrix<T> A(sizes, shape.bodies);
    for (unsigned int b = 0; b < shape.bodies; ++b) {
        const double mass = std::pow(shape.lightestMass, random.unit());
        writeMass<T>(random, A.block(b, b), sizes[b], static_cast<T>(mass));
    }
    for (unsigned int j = 0; j < shape.joints; ++j) {
        const unsigned int r = shape.bodies + j;
        const auto scatter = [&](unsigned int body) {
            T* const block = A.block(r, body);
            for (std::size_t i = 0; i < std::size_t(sizes[r]) * sizes[body]; ++i)
                block[i] = random.scalar<T>() / 4;
            return block;
        };
        T* const held = scatter(own[j]);
        for (unsigned int i = 0; i < sizes[r]; ++i)
            held[i * sizes[own[j]] + i] += 1;
        for (unsigned int p = 0; j > 0 && p < shape.partners; ++p)
            scatter(own[random.integer(0, j - 1)]);
        if (shape.compliance != 0)
            for (unsigned int i = 0; i < sizes[r]; ++i)
                A.block(r, r)[i * sizes[r] + i] = static_cast<T>(-shape.compliance);
    }
    return A;
}

/// A copy with the same blocks, added in a random order.
template <class T>
kyrOrvel::client::BlockMatrix<T> shuffledCopy(Random& random,
                                              const kyrOrvel::client::BlockMatrix<T>& A)
{
    std::vector<std::pair<unsigned int, unsigned int>> places;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r))
            places.emplace_back(r, entry.column);
    kyrOrvel::client::BlockMatrix<T> copy(A.blockSizes(), A.firstTrailing());
    for (const unsigned int k : randomOrder(random, static_cast<unsigned int>(places.size()))) {
        const auto [r, c] = places[k];
        const T* const from = A.find(r, c);
        std::copy_n(from, std::size_t(A.blockSize(r)) * A.blockSize(c), copy.block(r, c));
    }
    return copy;
}

} // namespace support

#endif
