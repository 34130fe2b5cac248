#ifndef KYRORVEL_CLIENT_RESIDUAL_H
#define KYRORVEL_CLIENT_RESIDUAL_H

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

} // namespace client
} // namespace kyrOrvel

#endif
