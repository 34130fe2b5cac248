#ifndef KYRORVEL_TESTS_SUPPORT_REDUNDANT_MECHANISMS_H
#define KYRORVEL_TESTS_SUPPORT_REDUNDANT_MECHANISMS_H

#include "Mechanisms.h"

#include <utility>

namespace support {

/// A joint that is already there, or some of its rows times -2.
inline Joint repeatedJoint(Random& random, const Mechanism& mechanism)
{
    const auto last = static_cast<unsigned int>(mechanism.joints.size()) - 1;
    Joint joint = mechanism.joints[random.integer(0, last)];
    if (random.chance(0.5))
        return joint;
    joint.rows.resize(random.integer(1, static_cast<unsigned int>(joint.rows.size())));
    for (auto& pair : joint.rows)
        for (auto& side : pair)
            for (double& v : side)
                v *= -2;
    return joint;
}

/// Tries joints between any bodies until one closes a loop once too often, aligned with the axes so
/// that it is redundant up to rounding and not nearly.
inline bool findOverClosingJoint(Random& random, const Mechanism& mechanism, double apart,
                                 Joint& joint)
{
    RowSpace space(mechanism.bodies);
    for (const Joint& other : mechanism.joints)
        space.add(other, 0);
    const auto last = static_cast<unsigned int>(mechanism.bodies.size()) - 1;
    for (int attempt = 0; attempt < 50; ++attempt) {
        const unsigned int first = random.integer(0, last);
        const unsigned int second = random.chance(0.3) ? Joint::kGround : random.integer(0, last);
        if (first == second)
            continue;
        joint = randomJoint(random, mechanism.bodies, first, second, true);
        if (!space.isIndependent(joint, apart) && !space.isIndependent(joint, 1e-12))
            return true;
    }
    return false;
}

/// A random mechanism with one joint too many, at any place among the joints; without bodies if
/// none was found.
inline Mechanism redundantMechanism(Random& random)
{
    constexpr double kApart = 1e-3;
    Mechanism mechanism = randomMechanism(random, kApart);
    if (mechanism.joints.empty())
        return {};
    Joint extra = repeatedJoint(random, mechanism);
    if (random.chance(0.4) && !findOverClosingJoint(random, mechanism, kApart, extra))
        return {};
    const auto n = static_cast<unsigned int>(mechanism.joints.size());
    mechanism.joints.insert(mechanism.joints.begin() + random.integer(0, n), std::move(extra));
    return mechanism;
}

/// Whether all joints are clearly independent.
inline bool isIndependent(const Mechanism& mechanism, double share)
{
    RowSpace space(mechanism.bodies);
    for (const Joint& joint : mechanism.joints)
        if (!space.add(joint, share))
            return false;
    return true;
}

} // namespace support

#endif
