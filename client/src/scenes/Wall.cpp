#include <kyrOrvelClient/Scenes>

#include "RigidBodies.h"

#include <algorithm>

namespace kyrOrvel {
namespace client {

namespace {

constexpr double kTimeStep = 1.0 / 60; // s
constexpr double kLength = 0.25;       // m, from the middle of one mortar joint to the next
constexpr double kDepth = 0.115;       // m
constexpr double kHeight = 0.075;      // m, likewise
constexpr double kMortar = 0.01;       // m
constexpr double kMass = 3.5;          // kg
constexpr double kCompliance = 1e-4;   // of contacts, in units of the joints' diagonal

constexpr Vector3 kUp = {0, 1, 0};
constexpr Vector3 kSideways = {1, 0, 0};

/// A wall by halves of bricks: half p of row y is one of 2·width, counted from the left. Every
/// second row is shifted by one of them and has half a brick at either end.
class Wall {
public:
    explicit Wall(unsigned int width) : m_width(width) {}

    unsigned int numBricks(unsigned int y) const { return m_width + y % 2; }

    /// The brick that half p of row y belongs to.
    unsigned int brickAt(unsigned int y, unsigned int p) const
    {
        return y * m_width + y / 2 + (p + y % 2) / 2;
    }

    /// The halves of brick i of row y: the first, and the one behind the last.
    unsigned int begin(unsigned int y, unsigned int i) const
    {
        return std::max(2 * i, y % 2) - y % 2;
    }
    unsigned int end(unsigned int y, unsigned int i) const
    {
        return std::min(2 * (i + 1) - y % 2, 2 * m_width);
    }

private:
    unsigned int m_width;
};

double alongWall(double halves)
{
    return halves * (kLength / 2);
}

void addBricks(RigidBodies& bodies, const Wall& wall, unsigned int y)
{
    const double middle = kHeight * (y + 0.5);
    for (unsigned int i = 0; i < wall.numBricks(y); ++i) {
        const unsigned int begin = wall.begin(y, i);
        const unsigned int end = wall.end(y, i);
        bodies.addBox({alongWall(begin) + kMortar / 2, middle, 0},
                      {alongWall(end) - kMortar / 2, middle, 0}, kDepth, kHeight - kMortar,
                      kMass * (end - begin) / 2);
    }
}

} // namespace

Scene makeWall(unsigned int width, unsigned int height)
{
    width = std::max(width, 1u);
    height = std::max(height, 1u);
    const Wall wall(width);
    RigidBodies bodies;
    for (unsigned int y = 0; y < height; ++y) {
        addBricks(bodies, wall, y);
        for (unsigned int p = 0; p < 2 * width; ++p) {
            const unsigned int below = y == 0 ? RigidBodies::kGround : wall.brickAt(y - 1, p);
            bodies.addContact(wall.brickAt(y, p), below, {alongWall(p + 0.5), kHeight * y, 0}, kUp,
                              kCompliance);
        }
        for (unsigned int i = 1; i < wall.numBricks(y); ++i) {
            const unsigned int p = wall.begin(y, i);
            bodies.addContact(wall.brickAt(y, p), wall.brickAt(y, p - 1),
                              {alongWall(p), kHeight * (y + 0.5), 0}, kSideways, kCompliance);
        }
    }
    return bodies.makeScene(kTimeStep);
}

} // namespace client
} // namespace kyrOrvel
