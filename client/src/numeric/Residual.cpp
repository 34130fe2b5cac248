#include "Residual.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace kyrOrvel {
namespace client {

template <class T> T normOf(const std::vector<T>& v)
{
    T largest = 0;
    for (const T x : v) {
        if (!std::isfinite(x))
            return std::numeric_limits<T>::quiet_NaN();
        largest = std::max(largest, std::abs(x));
    }
    if (largest == 0)
        return 0;
    // A power of two: dividing by it changes no digit.
    const T unit = std::ldexp(T(1), std::ilogb(largest));
    T sum = 0;
    for (const T x : v)
        sum += (x / unit) * (x / unit);
    return unit * std::sqrt(sum);
}

template <class T>
T backwardErrorOf(const std::vector<T>& residual, const std::vector<T>& weight,
                  const std::vector<T>& b)
{
    T error = 0;
    for (std::size_t i = 0; i < residual.size(); ++i) {
        const T magnitude = std::abs(residual[i]);
        if (magnitude == 0)
            continue;
        const T share = magnitude / (weight[i] + std::abs(b[i]));
        if (std::isnan(share)) // of infinities: nothing is known
            return share;
        error = std::max(error, share);
    }
    return error;
}

#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template T normOf(const std::vector<T>&);                                                      \
    template T backwardErrorOf(const std::vector<T>&, const std::vector<T>&, const std::vector<T>&);
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
