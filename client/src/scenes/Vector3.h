#ifndef KYRORVEL_CLIENT_VECTOR3_H
#define KYRORVEL_CLIENT_VECTOR3_H

#include <array>
#include <cmath>

namespace kyrOrvel {
namespace client {

using Vector3 = std::array<double, 3>;

inline Vector3 sum(const Vector3& a, const Vector3& b)
{
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

inline Vector3 difference(const Vector3& a, const Vector3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline Vector3 multiple(double factor, const Vector3& a)
{
    return {factor * a[0], factor * a[1], factor * a[2]};
}

inline Vector3 halfway(const Vector3& a, const Vector3& b)
{
    return {(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2};
}

inline Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline double length(const Vector3& a)
{
    return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
}

/// The direction of a vector that is not zero.
inline Vector3 unit(const Vector3& a)
{
    const double n = length(a);
    return {a[0] / n, a[1] / n, a[2] / n};
}

} // namespace client
} // namespace kyrOrvel

#endif
