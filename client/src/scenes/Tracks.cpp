#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kRadius = 0.4;        // m, of the ends of a track
constexpr double kGauge = 2.6;         // m between the tracks
constexpr double kShoeWidth = 0.5;     // m
constexpr double kShoeHeight = 0.04;   // m
constexpr double kShoeMass = 15;       // kg
constexpr double kWheelWidth = 0.4;    // m
constexpr double kWheelMass = 150;     // kg
constexpr double kHullWidth = 2;       // m
constexpr double kHullHeight = 0.8;    // m
constexpr double kHullMass = 20000;    // kg

constexpr unsigned int kEndShoes = 8; // around either end
constexpr unsigned int kWheels = 7;   // a side, those in the ends included

// Of steel, and of the rubber on it. On the diagonal they stand over the time step squared.
constexpr double kHingeCompliance = 1e-9 / (kTimeStep * kTimeStep);   // 1e-9 m/N and rad/(N·m)
constexpr double kContactCompliance = 1e-8 / (kTimeStep * kTimeStep); // 1e-8 m/N

constexpr Vector3 kAcross = {0, 0, 1};
constexpr Vector3 kUp = {0, 1, 0};

/// The pins of a track in order, seen from the side: along the ground, up around the front end,
/// back along the top, down around the rear end. Shoe i lies between pins i and i + 1.
struct TrackShape {
    unsigned int bottomShoes;
    double span; ///< from the axle of the rear end to that of the front end
    std::vector<Vector3> pins;
};

TrackShape shapeOf(unsigned int shoes)
{
    const double cosine = std::sqrt((1 + std::sqrt(0.5)) / 2); // of an eighth of a half-turn
    const double sine = std::sqrt((1 - std::sqrt(0.5)) / 2);
    const double shoeLength = 2 * kRadius * std::sqrt((1 - cosine) / 2);

    TrackShape shape;
    shape.bottomShoes = (shoes - 2 * kEndShoes) / 2;
    shape.span = shoeLength * shape.bottomShoes;
    const unsigned int topShoes = shoes - 2 * kEndShoes - shape.bottomShoes;
    for (unsigned int i = 0; i < shape.bottomShoes; ++i)
        shape.pins.push_back({shoeLength * i, 0, 0});
    double x = 0;
    double y = -1;
    const auto addEnd = [&](double centre) {
        for (unsigned int i = 0; i < kEndShoes; ++i) {
            shape.pins.push_back({centre + kRadius * x, kRadius + kRadius * y, 0});
            const double turned = cosine * x - sine * y;
            y = sine * x + cosine * y;
            x = turned;
        }
    };
    addEnd(shape.span);
    for (unsigned int i = 0; i < topShoes; ++i)
        shape.pins.push_back({shape.span * (topShoes - i) / topShoes, 2 * kRadius, 0});
    addEnd(0);
    return shape;
}

Vector3 at(const Vector3& p, double z)
{
    return {p[0], p[1], z};
}

/// Adds the shoes and the hinges that close them to a loop; returns the first shoe.
unsigned int addShoes(RigidBodies& bodies, const TrackShape& shape, double z)
{
    const auto shoes = static_cast<unsigned int>(shape.pins.size());
    unsigned int first = 0;
    for (unsigned int i = 0; i < shoes; ++i) {
        const unsigned int shoe =
            bodies.addBox(at(shape.pins[i], z), at(shape.pins[(i + 1) % shoes], z), kShoeWidth,
                          kShoeHeight, kShoeMass);
        if (i == 0)
            first = shoe;
        else
            bodies.addHinge(shoe, shoe - 1, at(shape.pins[i], z), kAcross, kHingeCompliance);
    }
    bodies.addHinge(first, first + shoes - 1, at(shape.pins[0], z), kAcross, kHingeCompliance);
    return first;
}

/// Adds a wheel and its hinge to the hull; returns it.
unsigned int addWheel(RigidBodies& bodies, unsigned int hull, double x, double z)
{
    const unsigned int wheel =
        bodies.addRod({x, kRadius, z - kWheelWidth / 2}, {x, kRadius, z + kWheelWidth / 2},
                      kRadius - kShoeHeight / 2, kWheelMass);
    bodies.addHinge(wheel, hull, {x, kRadius, z}, kAcross);
    return wheel;
}

/// The wheel in an end touches every shoe around it in the middle.
void addEndContacts(RigidBodies& bodies, const TrackShape& shape, unsigned int firstShoe,
                    unsigned int begin, unsigned int wheel, double x, double z)
{
    const auto shoes = static_cast<unsigned int>(shape.pins.size());
    for (unsigned int i = begin; i < begin + kEndShoes; ++i) {
        const Vector3 middle = halfway(shape.pins[i], shape.pins[(i + 1) % shoes]);
        const Vector3 inward = unit(difference({x, kRadius, 0}, middle));
        const Vector3 point = at(sum(middle, multiple(kShoeHeight / 2, inward)), z);
        bodies.addContact(wheel, firstShoe + i, point, inward, kContactCompliance);
    }
}

void addTrack(RigidBodies& bodies, const TrackShape& shape, unsigned int hull, double z)
{
    const unsigned int first = addShoes(bodies, shape, z);
    const auto shoes = static_cast<unsigned int>(shape.pins.size());
    for (unsigned int w = 0; w < kWheels; ++w) {
        const double x = shape.span * w / (kWheels - 1);
        const unsigned int wheel = addWheel(bodies, hull, x, z);
        if (w == 0) {
            addEndContacts(bodies, shape, first, shoes - kEndShoes, wheel, x, z);
        } else if (w == kWheels - 1) {
            addEndContacts(bodies, shape, first, shape.bottomShoes, wheel, x, z);
        } else {
            const unsigned int under = first + shape.bottomShoes * w / (kWheels - 1);
            bodies.addContact(wheel, under, {x, kShoeHeight / 2, z}, kUp, kContactCompliance);
        }
    }
    for (unsigned int i = 0; i < shape.bottomShoes; ++i) {
        const Vector3 middle = halfway(shape.pins[i], shape.pins[i + 1]);
        bodies.addContact(first + i, RigidBodies::kGround, {middle[0], -kShoeHeight / 2, z}, kUp,
                          kContactCompliance);
    }
}

} // namespace

Scene makeTracks(unsigned int shoes)
{
    const TrackShape shape = shapeOf(std::max(shoes, 20u));
    RigidBodies bodies;
    const double middle = 2 * kRadius + kHullHeight / 2;
    const unsigned int hull =
        bodies.addBox({-kRadius, middle, 0}, {shape.span + kRadius, middle, 0}, kHullWidth,
                      kHullHeight, kHullMass);
    addTrack(bodies, shape, hull, -kGauge / 2);
    addTrack(bodies, shape, hull, kGauge / 2);
    return bodies.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
