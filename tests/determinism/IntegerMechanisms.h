#ifndef KYRORVEL_TESTS_DETERMINISM_INTEGER_MECHANISMS_H
#define KYRORVEL_TESTS_DETERMINISM_INTEGER_MECHANISMS_H

// Small systems of the kinds that physics engines solve, made of integers and halves of integers:
// no value of theirs is rounded, in no precision and by no library.

#include "support/Systems.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace mechanisms {

using support::System;

using Vector = std::array<int, 3>;

constexpr unsigned int kGround = 0xFFFFFFFF;

/// A ball joint or contact of 3 rows, or a hinge of 5, at a point.
struct Joint {
    unsigned int first;
    unsigned int second; ///< kGround, or a body before `first`
    unsigned int numRows;
    Vector at;
};

/// A body of 6 freedoms by its place, and the joints between them, by ascending first bodies.
struct Mechanism {
    std::vector<Vector> bodies;
    std::vector<Joint> joints;
    int halvesOfCompliance = 0; ///< on the diagonals of joints; blocks without are left out
};

/// Mass and a dense inertia, both positive definite and other for each body.
template <class T> std::vector<T> massBlock(unsigned int body)
{
    const int mass = 1 + static_cast<int>(body % 3);
    std::vector<T> block(36, T(0));
    for (std::size_t i = 0; i < 3; ++i) {
        block[7 * i] = T(mass);
        for (std::size_t j = 0; j < 3; ++j)
            block[6 * (3 + i) + 3 + j] = T(i == j ? 3 * mass + static_cast<int>(i) : 1);
    }
    return block;
}

/// How a body's velocity moves the rows of a joint: the point's velocity, then the turning about
/// two axes.
template <class T> std::vector<T> jointBlock(const Joint& joint, const Vector& body, int sign)
{
    const int x = joint.at[0] - body[0];
    const int y = joint.at[1] - body[1];
    const int z = joint.at[2] - body[2];
    const int rows[5][6] = {{1, 0, 0, 0, z, -y},
                            {0, 1, 0, -z, 0, x},
                            {0, 0, 1, y, -x, 0},
                            {0, 0, 0, 1, 1, 0},
                            {0, 0, 0, 0, 1, 2}};
    std::vector<T> block;
    for (unsigned int i = 0; i < joint.numRows; ++i)
        for (const int value : rows[i])
            block.push_back(T(sign * value));
    return block;
}

/// [M Gᵀ; G -C], each joint right behind the later one of its bodies.
template <class T> System<T> systemOf(const Mechanism& mechanism)
{
    System<T> system;
    std::vector<unsigned int> rowOf;
    std::size_t next = 0;
    for (unsigned int b = 0; b < mechanism.bodies.size(); ++b) {
        const unsigned int row = system.numRows();
        rowOf.push_back(row);
        system.sizes.push_back(6);
        system.rows.push_back({row});
        system.blocks[{row, row}] = massBlock<T>(b);
        for (; next < mechanism.joints.size() && mechanism.joints[next].first == b; ++next) {
            const Joint& joint = mechanism.joints[next];
            const unsigned int r = system.numRows();
            system.sizes.push_back(joint.numRows);
            system.rows.emplace_back();
            if (joint.second != kGround) {
                const unsigned int c = rowOf[joint.second];
                system.rows[r].push_back(c);
                system.blocks[{r, c}] = jointBlock<T>(joint, mechanism.bodies[joint.second], -1);
            }
            system.rows[r].push_back(row);
            system.blocks[{r, row}] = jointBlock<T>(joint, mechanism.bodies[b], 1);
            if (mechanism.halvesOfCompliance == 0)
                continue;
            system.rows[r].push_back(r);
            std::vector<T>& diagonal = system.blocks[{r, r}];
            diagonal.assign(std::size_t(joint.numRows) * joint.numRows, T(0));
            for (std::size_t i = 0; i < joint.numRows; ++i)
                diagonal[i * (joint.numRows + 1)] = T(-mechanism.halvesOfCompliance) / 2;
        }
    }
    system.factorRows = support::eliminated(system.rows);
    return system;
}

/// Links in a row, on ball joints and hinges by turns, the first one anchored.
inline Mechanism chain(unsigned int links)
{
    Mechanism mechanism;
    for (unsigned int b = 0; b < links; ++b) {
        const int x = static_cast<int>(2 * b);
        mechanism.bodies.push_back({x + 1, static_cast<int>(b % 2), 0});
        mechanism.joints.push_back({b, b == 0 ? kGround : b - 1, b % 2 == 0 ? 3u : 5u, {x, 1, -1}});
    }
    return mechanism;
}

/// Knots in a square, a joint of some compliance between neighbours, one knot anchored: joints in
/// closed loops.
inline Mechanism net(unsigned int size)
{
    Mechanism mechanism;
    mechanism.halvesOfCompliance = 1;
    for (unsigned int i = 0; i < size; ++i)
        for (unsigned int j = 0; j < size; ++j) {
            const unsigned int b = i * size + j;
            const int x = static_cast<int>(2 * i);
            const int y = static_cast<int>(2 * j);
            mechanism.bodies.push_back({x, y, static_cast<int>(b % 2)});
            if (b == 0)
                mechanism.joints.push_back({b, kGround, 3, {-1, 0, 0}});
            if (i > 0)
                mechanism.joints.push_back({b, b - size, 3, {x - 1, y, 0}});
            if (j > 0)
                mechanism.joints.push_back({b, b - 1, 3, {x, y - 1, 1}});
        }
    return mechanism;
}

/// Bricks in rows, every second one shifted by half a brick: contacts with those beside and below,
/// or with the ground.
inline Mechanism wall(unsigned int width, unsigned int height)
{
    Mechanism mechanism;
    mechanism.halvesOfCompliance = 3;
    for (unsigned int row = 0; row < height; ++row)
        for (unsigned int i = 0; i < width; ++i) {
            const unsigned int b = row * width + i;
            const int x = static_cast<int>(4 * i + 2 * (row % 2));
            const int z = static_cast<int>(2 * row);
            mechanism.bodies.push_back({x, 0, z});
            const auto touch = [&](unsigned int other, const Vector& at) {
                mechanism.joints.push_back({b, other, 3, at});
            };
            touch(row == 0 ? kGround : b - width, {x - 1, 1, z - 1});
            if (row == 0)
                touch(kGround, {x + 1, -1, z - 1});
            else if (row % 2 == 1 && i + 1 < width)
                touch(b - width + 1, {x + 1, -1, z - 1});
            else if (row % 2 == 0 && i > 0)
                touch(b - width - 1, {x - 1, -1, z - 1});
            if (i > 0)
                touch(b - 1, {x - 2, 0, z});
        }
    return mechanism;
}

/// An elastic cube: nodes of 6 coordinates, coupled to those before them along the axes.
template <class T> System<T> lattice(unsigned int size)
{
    System<T> system;
    const unsigned int distances[] = {size * size, size, 1};
    for (unsigned int node = 0; node < size * size * size; ++node) {
        system.sizes.push_back(6);
        system.rows.emplace_back();
        for (const unsigned int distance : distances) {
            if (node / distance % size == 0)
                continue;
            system.rows[node].push_back(node - distance);
            std::vector<T>& block = system.blocks[{node, node - distance}];
            for (unsigned int i = 0; i < 36; ++i)
                block.push_back(T(static_cast<int>((5 * i + node) % 7) - 3) / 2);
        }
        system.rows[node].push_back(node);
        std::vector<T>& diagonal = system.blocks[{node, node}];
        for (unsigned int i = 0; i < 36; ++i)
            diagonal.push_back(T(i % 7 == 0 ? 40 + static_cast<int>(node % 5) : 1));
    }
    system.factorRows = support::eliminated(system.rows);
    return system;
}

} // namespace mechanisms

#endif
