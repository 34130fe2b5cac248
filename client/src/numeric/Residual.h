#ifndef KYRORVEL_CLIENT_RESIDUAL_H
#define KYRORVEL_CLIENT_RESIDUAL_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace kyrOrvel {
namespace client {

/// The 2-norm, without overflow or underflow on the way; NaN if an element is not finite.
template <class T> T normOf(const std::vector<T>& v);

/// The componentwise backward error of a solution: the largest |r(i)| / (|A|·|x| + |b|)(i) (Oettli,
/// Prager 1964 Numer. Math. 6 405-409). 0 / 0 counts as 0.
///
/// @param residual  b - A·x
/// @param weight    |A|·|x|
template <class T>
T backwardErrorOf(const std::vector<T>& residual, const std::vector<T>& weight,
                  const std::vector<T>& b);

/// y = |A|·|x| for a symmetric matrix given by the blocks of its lower triangle.
///
/// @param forEach  calls f(row, column, m, n, block) for every block: m × n, row-major, with its
///                 first scalar row and column; of a diagonal block the lower triangle counts
template <class T, class ForEach>
void multiplyMagnitudes(ForEach forEach, const std::vector<T>& x, std::vector<T>& y)
{
    std::fill(y.begin(), y.end(), T(0));
    forEach([&](std::size_t row, std::size_t column, std::size_t m, std::size_t n, const T* block) {
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < (row == column ? i + 1 : n); ++j) {
                const T a = std::abs(block[i * n + j]);
                y[row + i] += a * std::abs(x[column + j]);
                if (row + i != column + j)
                    y[column + j] += a * std::abs(x[row + i]);
            }
    });
}

} // namespace client
} // namespace kyrOrvel

#endif
