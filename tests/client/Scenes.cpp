// What all scenes have in common: they are solved, at their smallest sizes too, and are the same
// everywhere.

#include "support/BlockSystems.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Scene;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::statusName;

namespace {

/// A kind of scene, by one size.
struct Kind {
    const char* name;
    std::function<Scene(unsigned int)> make;
    unsigned int smallest; ///< size; below it the scene is that of the smallest
    std::vector<unsigned int> sizes;
    unsigned int hashedSize;
    std::uint64_t hash; ///< of that size
    bool definite;      ///< positive definite, without trailing blocks
};

Scene squareWall(unsigned int size)
{
    return kyrOrvel::client::makeWall(size, size);
}

const Kind kKinds[] = {
    {"RopeBridge", kyrOrvel::client::makeRopeBridge, 2, {3, 20}, 17, 0xe1cee5f66d4efa28u, false},
    {"Rope", kyrOrvel::client::makeRope, 1, {2, 3, 60}, 23, 0x5858725c00a22a58u, false},
    {"Chain", kyrOrvel::client::makeChain, 1, {2, 3, 4, 5, 60}, 23, 0x4df35b515b9b8527u, false},
    {"Net", kyrOrvel::client::makeNet, 2, {3, 9}, 9, 0xa86f6e9880444892u, false},
    {"RagdollPile", kyrOrvel::client::makeRagdollPile, 1, {2, 9}, 13, 0x517d2d7a9aa6b4feu, false},
    {"Wall", squareWall, 1, {2, 3, 4, 9}, 7, 0xe630589c765596b0u, false},
    {"Tracks", kyrOrvel::client::makeTracks, 20, {21, 22, 80}, 80, 0xd64ccdc0d5f61964u, false},
    {"PoseGraph",
     kyrOrvel::client::makePoseGraph,
     1,
     {2, 3, 4, 5, 17, 150},
     200,
     0x0cc950515683ed02u,
     true},
    {"Elasticity", kyrOrvel::client::makeElasticity, 2, {3, 4, 7}, 5, 0x1b177e2766d8f15au, true},
    {"Lattice", kyrOrvel::client::makeLattice, 1, {2, 5}, 5, 0xc371512a5c30d395u, true},
};

void PrintTo(const Kind& kind, std::ostream* out)
{
    *out << kind.name;
}

class Scenes : public testing::TestWithParam<Kind> {};

/// FNV-1a, 64 bits, over the bits of numbers, lowest byte first.
class Hash {
public:
    void add(double value)
    {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        for (int i = 0; i < 8; ++i) {
            m_value ^= (bits >> (8 * i)) & 0xFF;
            m_value *= 0x100000001B3u;
        }
    }
    std::uint64_t value() const { return m_value; }

private:
    std::uint64_t m_value = 0xCBF29CE484222325u;
};

/// Of all that a scene holds.
std::uint64_t hashOf(const Scene& scene)
{
    Hash hash;
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            hash.add(entry.column);
            for (unsigned int e = 0; e < A.blockSize(r) * A.blockSize(entry.column); ++e)
                hash.add(entry.values[e]);
        }
    for (const double value : scene.rightHandSide)
        hash.add(value);
    for (const auto& body : scene.bodies)
        for (const auto& end : body)
            for (const double value : end)
                hash.add(value);
    for (const auto& anchor : scene.anchors)
        for (const double value : anchor)
            hash.add(value);
    return hash.value();
}

TEST_P(Scenes, AreSolvedWithASmallResidual)
{
    std::vector<unsigned int> sizes = GetParam().sizes;
    sizes.push_back(GetParam().smallest);
    for (const unsigned int size : sizes) {
        SCOPED_TRACE(size);
        const Scene scene = GetParam().make(size);
        BlockLDLT<double> solver;
        EXPECT_EQ(statusName(solver.compute(scene.matrix).code), statusName(StatusCode::Ok))
            << solver.info().message;
        std::vector<double> x(scene.matrix.dimension());

        ASSERT_TRUE(solver.solve(scene.rightHandSide.data(), x.data()).ok());

        EXPECT_LT(support::relativeResidual(scene.matrix, x, scene.rightHandSide), 1e-12);
    }
}

TEST_P(Scenes, BelowTheSmallestSizeAreTheSmallest)
{
    const std::uint64_t smallest = hashOf(GetParam().make(GetParam().smallest));

    EXPECT_NE(hashOf(GetParam().make(GetParam().smallest + 1)), smallest);
    for (unsigned int size = 0; size < GetParam().smallest; ++size)
        EXPECT_EQ(hashOf(GetParam().make(size)), smallest) << size;
}

// The inertia of the factor: no negative pivot without trailing blocks, one for every row of a
// joint with them.
TEST_P(Scenes, HaveTheInertiaOfTheirKind)
{
    const Scene scene = GetParam().make(GetParam().sizes.back());
    const BlockMatrix<double>& A = scene.matrix;
    EXPECT_EQ(A.firstTrailing() == A.numBlockRows(), GetParam().definite);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;

    const std::size_t ordinary =
        A.firstTrailing() == A.numBlockRows() ? A.dimension() : A.blockOffset(A.firstTrailing());
    EXPECT_EQ(solver.statistics().positivePivots, ordinary);
    EXPECT_EQ(solver.statistics().negativePivots, A.dimension() - ordinary);
}

TEST_P(Scenes, HaveSymmetricDiagonalBlocks)
{
    const Scene scene = GetParam().make(GetParam().sizes.back());
    const BlockMatrix<double>& A = scene.matrix;
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        const double* const block = A.find(r, r);
        const unsigned int m = A.blockSize(r);
        for (unsigned int i = 0; block && i < m; ++i)
            for (unsigned int j = 0; j < i; ++j)
                ASSERT_EQ(block[i * m + j], block[j * m + i]) << "block " << r;
    }
}

// Pictures draw what is there.
TEST_P(Scenes, HaveBodiesAndAnchorsOfFiniteSize)
{
    const Scene scene = GetParam().make(GetParam().sizes.back());
    for (const auto& body : scene.bodies)
        EXPECT_NE(body[0], body[1]);
    EXPECT_EQ(scene.anchors.empty(), scene.bodies.empty());
    if (!GetParam().definite) {
        EXPECT_EQ(scene.bodies.size(), scene.matrix.firstTrailing());
    }
}

// The same for every compiler, flag and machine: recorded benchmarks and reports build on them.
TEST_P(Scenes, AreTheSameEverywhere)
{
    const std::uint64_t hash = hashOf(GetParam().make(GetParam().hashedSize));
    EXPECT_EQ(hash, GetParam().hash) << std::hex << std::showbase << hash << "u";
}

INSTANTIATE_TEST_SUITE_P(, Scenes, testing::ValuesIn(kKinds),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

} // namespace
