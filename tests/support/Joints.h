#ifndef KYRORVEL_TESTS_SUPPORT_JOINTS_H
#define KYRORVEL_TESTS_SUPPORT_JOINTS_H

// The bodies and joints of a scene, and how they move.

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace support {

using Vector = std::array<double, 3>;
using Matrix = kyrOrvel::client::BlockMatrix<double>;

inline Vector centreOf(const kyrOrvel::client::Scene& scene, unsigned int body)
{
    const auto& ends = scene.bodies[body];
    return {(ends[0][0] + ends[1][0]) / 2, (ends[0][1] + ends[1][1]) / 2,
            (ends[0][2] + ends[1][2]) / 2};
}

/// The velocity (linear, angular) of a body that turns about an axis through a point.
inline std::array<double, 6> turning(const Vector& axis, const Vector& about, const Vector& centre)
{
    const Vector r = {centre[0] - about[0], centre[1] - about[1], centre[2] - about[2]};
    return {axis[1] * r[2] - axis[2] * r[1],
            axis[2] * r[0] - axis[0] * r[2],
            axis[0] * r[1] - axis[1] * r[0],
            axis[0],
            axis[1],
            axis[2]};
}

/// The bodies of a joint, first to last.
inline std::vector<unsigned int> bodiesOf(const Matrix& A, unsigned int joint)
{
    std::vector<unsigned int> bodies;
    for (const auto& entry : A.row(joint))
        if (entry.column < A.firstTrailing())
            bodies.push_back(entry.column);
    return bodies;
}

/// The velocity of a joint's rows when one of its bodies moves.
inline std::vector<double> rowVelocity(const Matrix& A, unsigned int joint, unsigned int body,
                                       const std::array<double, 6>& velocity)
{
    std::vector<double> result(A.blockSize(joint));
    const double* const block = A.find(joint, body);
    for (std::size_t i = 0; i < result.size(); ++i)
        for (std::size_t j = 0; j < 6; ++j)
            result[i] += block[6 * i + j] * velocity[j];
    return result;
}

inline double largest(const std::vector<double>& values)
{
    double result = 0;
    for (const double value : values)
        result = std::max(result, std::abs(value));
    return result;
}

/// The rows of each joint.
inline std::vector<unsigned int> jointSizes(const Matrix& A)
{
    return {A.blockSizes().begin() + A.firstTrailing(), A.blockSizes().end()};
}

/// Joints of so many rows on so many bodies: on one where the other is the ground.
inline std::size_t countJoints(const Matrix& A, unsigned int rows, std::size_t bodies)
{
    std::size_t count = 0;
    for (unsigned int j = A.firstTrailing(); j < A.numBlockRows(); ++j)
        count += A.blockSize(j) == rows && bodiesOf(A, j).size() == bodies;
    return count;
}

/// What stands, negative, on the diagonal of a joint, the same in all of its rows; 0 without one.
inline double complianceOf(const Matrix& A, unsigned int joint)
{
    const double* const block = A.find(joint, joint);
    if (!block)
        return 0;
    const unsigned int m = A.blockSize(joint);
    for (unsigned int i = 0; i < m; ++i)
        for (unsigned int j = 0; j < m; ++j)
            EXPECT_EQ(block[i * m + j], i == j ? block[0] : 0);
    return -block[0];
}

inline std::vector<double> solve(const kyrOrvel::client::Scene& scene)
{
    std::vector<double> x(scene.matrix.dimension());
    kyrOrvel::client::BlockLDLT<double> solver;
    EXPECT_TRUE(solver.compute(scene.matrix).ok()) << solver.info().message;
    EXPECT_TRUE(solver.solve(scene.rightHandSide.data(), x.data()).ok());
    return x;
}

} // namespace support

#endif
