#ifndef KYRORVEL_TESTS_SUPPORT_MECHANISMS_H
#define KYRORVEL_TESTS_SUPPORT_MECHANISMS_H

#include "Random.h"

#include <kyrOrvelClient/BlockMatrix>

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace support {

using Vector3 = std::array<double, 3>;

inline Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline Vector3 minus(const Vector3& a, const Vector3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline Vector3 scaled(const Vector3& a, double s)
{
    return {a[0] * s, a[1] * s, a[2] * s};
}

inline double dot(const Vector3& a, const Vector3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// A rigid body of six freedoms (linear, then angular velocity), or a point mass of three.
struct Body {
    bool rigid = true;
    Vector3 at = {};
    double mass = 1;
    Vector3 inertia = {1, 1, 1}; ///< about the world's axes

    unsigned int freedoms() const { return rigid ? 6 : 3; }
    double massOf(unsigned int freedom) const { return freedom < 3 ? mass : inertia[freedom - 3]; }
};

enum class JointKind { Distance, Line, Ball, Universal, Hinge, Slider, Weld };

/// Rows of a Jacobian on one body or two; the second is kGround for a joint with the ground.
struct Joint {
    static constexpr unsigned int kGround = 0xFFFFFFFF;
    unsigned int first = 0;
    unsigned int second = kGround;
    std::vector<std::array<std::array<double, 6>, 2>> rows;
};

struct Mechanism {
    std::vector<Body> bodies;
    std::vector<Joint> joints;
};

/// The joint of a kind at a point with an axis: relative velocities that it does not allow.
inline Joint makeJoint(const std::vector<Body>& bodies, JointKind kind, unsigned int first,
                       unsigned int second, const Vector3& point, const Vector3& axis)
{
    Joint joint;
    joint.first = first;
    joint.second = second;
    const Vector3 helper = std::abs(axis[0]) < 0.8 ? Vector3{1, 0, 0} : Vector3{0, 1, 0};
    Vector3 side = cross(axis, helper);
    side = scaled(side, 1 / std::sqrt(dot(side, side)));
    const Vector3 up = cross(axis, side);

    const auto fill = [&](unsigned int body, double sign, const Vector3& linear,
                          const Vector3& angular, std::array<double, 6>& row) {
        if (body == Joint::kGround)
            return;
        const Vector3 turn = cross(minus(point, bodies[body].at), linear);
        for (std::size_t i = 0; i < 3; ++i) {
            row[i] = sign * linear[i];
            row[3 + i] = bodies[body].rigid ? sign * (turn[i] + angular[i]) : 0;
        }
    };
    const auto add = [&](const Vector3& linear, const Vector3& angular) {
        joint.rows.emplace_back();
        fill(first, 1, linear, angular, joint.rows.back()[0]);
        fill(second, -1, linear, angular, joint.rows.back()[1]);
    };
    const Vector3 zero = {};
    const bool alongAxis = kind != JointKind::Line && kind != JointKind::Slider;
    const bool acrossAxis = kind != JointKind::Distance;
    if (alongAxis)
        add(axis, zero);
    if (acrossAxis) {
        add(side, zero);
        add(up, zero);
    }
    if (kind == JointKind::Universal || kind == JointKind::Slider || kind == JointKind::Weld)
        add(zero, axis);
    if (kind == JointKind::Hinge || kind == JointKind::Slider || kind == JointKind::Weld) {
        add(zero, side);
        add(zero, up);
    }
    return joint;
}

/// Rows in the metric of the inverse masses, kept orthonormal as they are added.
class RowSpace {
public:
    explicit RowSpace(const std::vector<Body>& bodies) : m_bodies(bodies) {}

    /// Whether a joint's rows are independent of those added, each keeping at least that share of
    /// its length beside the others.
    bool isIndependent(const Joint& joint, double share) const
    {
        RowSpace copy = *this;
        return copy.add(joint, share);
    }

    /// Adds the rows up to the first that is not.
    bool add(const Joint& joint, double share)
    {
        for (const auto& pair : joint.rows) {
            std::vector<double> row(6 * m_bodies.size(), 0);
            place(joint.first, pair[0], row);
            place(joint.second, pair[1], row);
            const double before = norm(row);
            for (int pass = 0; pass < 2; ++pass)
                for (const std::vector<double>& other : m_basis)
                    subtract(other, row);
            const double after = norm(row);
            if (!(after > share * before))
                return false;
            for (double& v : row)
                v /= after;
            m_basis.push_back(std::move(row));
        }
        return true;
    }

private:
    void place(unsigned int body, const std::array<double, 6>& values,
               std::vector<double>& row) const
    {
        if (body == Joint::kGround)
            return;
        for (unsigned int i = 0; i < m_bodies[body].freedoms(); ++i)
            row[6 * body + i] = values[i] / std::sqrt(m_bodies[body].massOf(i));
    }

    static double norm(const std::vector<double>& v)
    {
        double sum = 0;
        for (const double x : v)
            sum += x * x;
        return std::sqrt(sum);
    }

    /// By pointers: most of the time that tests of mechanisms take under sanitizers.
    static void subtract(const std::vector<double>& unit, std::vector<double>& row)
    {
        const double* const u = unit.data();
        double* const v = row.data();
        const std::size_t n = row.size();
        double product = 0;
        for (std::size_t i = 0; i < n; ++i)
            product += u[i] * v[i];
        if (product == 0) // no body in common
            return;
        for (std::size_t i = 0; i < n; ++i)
            v[i] -= product * u[i];
    }

    std::vector<Body> m_bodies;
    std::vector<std::vector<double>> m_basis;
};

/// Who may be joined with whom: pairs of bodies, or of a body and the ground.
using Links = std::vector<std::pair<unsigned int, unsigned int>>;

enum class MechanismShape { Tree, Ring, Grid, Star, Bridge };

/// Pairs to join, those first that connect everything.
inline Links linksOf(MechanismShape shape, unsigned int n, Random& random)
{
    Links links;
    const unsigned int ground = Joint::kGround;
    switch (shape) {
    case MechanismShape::Tree:
        for (unsigned int b = 1; b < n; ++b)
            links.emplace_back(b, random.integer(0, b - 1));
        break;
    case MechanismShape::Ring:
        for (unsigned int b = 0; b < n; ++b)
            links.emplace_back(b, (b + 1) % n);
        break;
    case MechanismShape::Grid:
        for (unsigned int b = 0; b < n; ++b) {
            if (b % 4 != 3 && b + 1 < n)
                links.emplace_back(b, b + 1);
            if (b + 4 < n)
                links.emplace_back(b, b + 4);
        }
        break;
    case MechanismShape::Star:
        for (unsigned int b = 1; b < n; ++b)
            links.emplace_back(0, b);
        break;
    case MechanismShape::Bridge:
        links.emplace_back(0, ground);
        for (unsigned int b = 0; b + 1 < n; ++b)
            links.emplace_back(b, b + 1);
        links.emplace_back(n - 1, ground);
        break;
    }
    if (shape != MechanismShape::Bridge && random.chance(0.5))
        links.emplace_back(random.integer(0, n - 1), ground);
    for (unsigned int extra = random.integer(0, 2); extra > 0; --extra) {
        const unsigned int a = random.integer(0, n - 1);
        const unsigned int b = random.integer(0, n - 1);
        if (a != b)
            links.emplace_back(a, b);
    }
    return links;
}

/// A direction: one of the axes, or any.
inline Vector3 direction(Random& random, bool aligned)
{
    if (aligned) {
        Vector3 axis = {};
        axis[random.integer(0, 2)] = 1;
        return axis;
    }
    for (;;) {
        const Vector3 v = {random.scalar<double>(), random.scalar<double>(),
                           random.scalar<double>()};
        const double square = dot(v, v);
        if (square > 0.01 && square < 1)
            return scaled(v, 1 / std::sqrt(square));
    }
}

inline std::vector<Body> makeBodies(Random& random, unsigned int n, bool aligned)
{
    std::vector<Body> bodies(n);
    for (unsigned int b = 0; b < n; ++b) {
        Body& body = bodies[b];
        body.rigid = random.chance(0.85);
        for (double& x : body.at)
            x = aligned ? double(random.integer(0, 3)) : 4 * random.unit();
        const auto exponent = static_cast<int>(random.integer(0, 4));
        body.mass = std::ldexp(1 + random.unit(), exponent);
        for (double& i : body.inertia)
            i = body.mass * (0.1 + random.unit());
    }
    return bodies;
}

/// A random joint of one of the kinds that the two bodies can have.
inline Joint randomJoint(Random& random, const std::vector<Body>& bodies, unsigned int first,
                         unsigned int second, bool aligned)
{
    const bool ground = second == Joint::kGround;
    const bool rigid = bodies[first].rigid && (ground || bodies[second].rigid);
    const auto kind = static_cast<JointKind>(random.integer(0, rigid ? 6 : 2));
    Vector3 point = bodies[first].at;
    if (!bodies[first].rigid) {
        // a point mass is held where it is
    } else if (!ground && !bodies[second].rigid) {
        point = bodies[second].at;
    } else {
        for (std::size_t i = 0; i < 3; ++i)
            point[i] = aligned ? point[i] + double(random.integer(0, 2)) / 2
                               : point[i] + random.scalar<double>();
    }
    return makeJoint(bodies, kind, first, second, point, direction(random, aligned));
}

/// A mechanism without redundant joints: one that would be is left out. Half of them have
/// everything aligned with the axes.
inline Mechanism randomMechanism(Random& random, double share = 1e-3)
{
    const auto shape = static_cast<MechanismShape>(random.integer(0, 4));
    const unsigned int n = random.integer(2, 20);
    const bool aligned = random.chance(0.5);
    Mechanism mechanism;
    mechanism.bodies = makeBodies(random, n, aligned);
    RowSpace space(mechanism.bodies);
    for (const auto& [first, second] : linksOf(shape, n, random)) {
        Joint joint = randomJoint(random, mechanism.bodies, first, second, aligned);
        if (!space.isIndependent(joint, share))
            continue;
        space.add(joint, share);
        mechanism.joints.push_back(std::move(joint));
    }
    return mechanism;
}

/// [M Gᵀ; G 0], bodies first.
template <class T> kyrOrvel::client::BlockMatrix<T> matrixOf(const Mechanism& mechanism)
{
    std::vector<unsigned int> sizes;
    for (const Body& body : mechanism.bodies)
        sizes.push_back(body.freedoms());
    const auto n = static_cast<unsigned int>(sizes.size());
    for (const Joint& joint : mechanism.joints)
        sizes.push_back(static_cast<unsigned int>(joint.rows.size()));
    kyrOrvel::client::BlockMatrix<T> A(sizes, n);
    for (unsigned int b = 0; b < n; ++b) {
        T* const block = A.block(b, b);
        for (unsigned int i = 0; i < sizes[b]; ++i)
            block[i * sizes[b] + i] = T(mechanism.bodies[b].massOf(i));
    }
    for (unsigned int j = 0; j < mechanism.joints.size(); ++j) {
        const Joint& joint = mechanism.joints[j];
        for (unsigned int side = 0; side < 2; ++side) {
            const unsigned int body = side == 0 ? joint.first : joint.second;
            if (body == Joint::kGround)
                continue;
            T* const block = A.block(n + j, body);
            for (std::size_t i = 0; i < joint.rows.size(); ++i)
                for (unsigned int k = 0; k < sizes[body]; ++k)
                    block[i * sizes[body] + k] += T(joint.rows[i][side][k]);
        }
    }
    return A;
}

} // namespace support

#endif
