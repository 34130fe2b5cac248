#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kRadius = 0.07;       // m
constexpr double kCompliance = 1e-4;   // of contacts, in units of the joints' diagonal

/// A limb, from end to end in m with the ragdoll lying on its back, and the limb that it hangs on.
struct Limb {
    Vector3 from;
    Vector3 to;
    double mass; // kg
    unsigned int parent;
};

constexpr unsigned int kLimbs = 11;

const Limb kRagdoll[kLimbs] = {
    {{0, 0, 0}, {0, 0, 0.3}, 12, 0},          // pelvis
    {{0, 0.02, 0.3}, {0, 0.05, 0.8}, 25, 0},  // chest
    {{0, 0.05, 0.8}, {0, 0.1, 1.05}, 5, 1},   // head
    {{0.2, 0.05, 0.75}, {0.5, 0, 0.7}, 3, 1}, // arms
    {{0.5, 0, 0.7}, {0.8, 0.05, 0.6}, 2, 3},
    {{-0.2, 0.05, 0.75}, {-0.5, 0, 0.7}, 3, 1},
    {{-0.5, 0, 0.7}, {-0.8, 0.05, 0.6}, 2, 5},
    {{0.1, 0, 0}, {0.15, 0.1, -0.45}, 8, 0}, // legs
    {{0.15, 0.1, -0.45}, {0.2, 0, -0.9}, 4, 7},
    {{-0.1, 0, 0}, {-0.15, 0.1, -0.45}, 8, 0},
    {{-0.15, 0.1, -0.45}, {-0.2, 0, -0.9}, 4, 9},
};

/// Ragdolls lie in layers of four by rows, each layer shifted against the one below.
Vector3 placeOf(unsigned int ragdoll)
{
    const unsigned int layer = ragdoll / 4;
    const unsigned int inLayer = ragdoll % 4;
    return {0.6 * inLayer + 0.25 * (layer % 3), 0.3 * layer, 0.4 * (layer % 2) + 0.15 * inLayer};
}

/// Adds the limbs and their joints; returns the first body.
unsigned int addRagdoll(RigidBodies& bodies, const Vector3& place)
{
    unsigned int first = 0;
    for (unsigned int i = 0; i < kLimbs; ++i) {
        const Limb& limb = kRagdoll[i];
        const unsigned int body =
            bodies.addRod(sum(limb.from, place), sum(limb.to, place), kRadius, limb.mass);
        if (i == 0)
            first = body;
        else
            bodies.addBallJoint(body, first + limb.parent, sum(limb.from, place));
    }
    return first;
}

} // namespace

Scene makeRagdollPile(unsigned int ragdolls)
{
    ragdolls = std::max(ragdolls, 1u);
    RigidBodies bodies;
    for (unsigned int i = 0; i < ragdolls; ++i) {
        const Vector3 place = placeOf(i);
        const unsigned int first = addRagdoll(bodies, place);
        // Every limb but the head rests on a limb of the layer below, or on the ground.
        for (unsigned int limb = 0; limb < kLimbs; ++limb) {
            if (limb == 2)
                continue;
            const Vector3 contact = sum(sum(kRagdoll[limb].to, place), {0, -kRadius, 0});
            const unsigned int below =
                i < 4 ? RigidBodies::kGround : first - 4 * kLimbs + (limb * 5 + i) % kLimbs;
            bodies.addBallJoint(first + limb, below, contact, kCompliance);
        }
        // Neighbours in a layer touch with their arms.
        if (i % 4 != 0)
            bodies.addBallJoint(first + 6, first - kLimbs + 4, sum(kRagdoll[6].to, place),
                                kCompliance);
    }
    return bodies.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
