// Every way to run the serial factorization and the solves gives the bits of the plain one on the
// systems that the paths are made for, in the orders in which the client layer takes them.

#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/FactorComparison.h"
#include "support/FactorPaths.h"
#include "support/Scalars.h"

#include <kyrOrvel/Orvel>
#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Factorization;
using kyrOrvel::client::Ordering;
using kyrOrvel::client::Scene;
using kyrOrvel::detail::SolveReading;
using support::FactorPath;

namespace {

constexpr SolveReading kReadings[] = {SolveReading::Automatic, SolveReading::Near,
                                      SolveReading::Far, SolveReading::FactorAlone};

/// A solver that has the library factor A. It may call A singular, as float is for some scenes: the
/// library has factored it all the same.
template <class T> void factorAnyway(BlockLDLT<T>& solver, const BlockMatrix<T>& A, Ordering order)
{
    solver.setFactorization(Factorization::Serial);
    solver.setOrdering(order);
    solver.compute(A);
    ASSERT_EQ(solver.data().factored, 1u) << solver.info().message;
}

/// Solves with the library's factors, whatever the client layer thinks of them.
template <class T> std::vector<T> solutionOf(OrvelData<T>& data, const std::vector<double>& b)
{
    std::vector<T> x(b.begin(), b.end());
    EXPECT_TRUE(Orvel::solve(data, x.data()));
    return x;
}

template <class T> class ScenePathBits : public support::FactorPaths<T> {
protected:
    ~ScenePathBits() override { setSolveReading(SolveReading::Automatic); }

    static void expectPlainBits(const Scene& scene)
    {
        for (const Ordering order : {Ordering::Automatic, Ordering::NestedDissection}) {
            if (order == Ordering::NestedDissection && !kyrOrvel::client::hasNestedDissection())
                continue;
            SCOPED_TRACE(int(order));
            expectPlainBits(scene, order);
        }
    }

private:
    static void expectPlainBits(const Scene& scene, Ordering order)
    {
        const BlockMatrix<T> A = support::roundedMatrix<T>(scene.matrix);
        BlockLDLT<T> plain;
        BlockLDLT<T> fast;
        setFactorPath(FactorPath::Plain);
        ASSERT_NO_FATAL_FAILURE(factorAnyway(plain, A, order));
        ASSERT_NO_FATAL_FAILURE(factorAnyway(fast, A, order));
        // What the solvers hold may be factored and solved with by anyone who knows how.
        auto& expected = const_cast<OrvelData<T>&>(plain.data());
        auto& data = const_cast<OrvelData<T>&>(fast.data());
        const std::vector<T> solution = solutionOf(expected, scene.rightHandSide);
        // NaN would equal any other.
        ASSERT_TRUE(std::all_of(solution.begin(), solution.end(),
                                [](T value) { return std::isfinite(value); }));
        data.onlyValuesChanged = 0;
        ScenePathBits::forEachPath([&] {
            Orvel::factorSerial(data);
            ASSERT_TRUE(support::sameFactors(data, expected));
            for (const SolveReading reading : kReadings) {
                SCOPED_TRACE(int(reading));
                setSolveReading(reading);
                const std::vector<T> x = solutionOf(data, scene.rightHandSide);
                ASSERT_TRUE(support::sameBits(x.data(), solution.data(), x.size()));
            }
        });
    }
};
TYPED_TEST_SUITE(ScenePathBits, support::Scalars);

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnARope)
{
    this->expectPlainBits(kyrOrvel::client::makeRope(60));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnAChain)
{
    this->expectPlainBits(kyrOrvel::client::makeChain(60));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnARopeBridge)
{
    this->expectPlainBits(kyrOrvel::client::makeRopeBridge(20));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnRagdolls)
{
    this->expectPlainBits(kyrOrvel::client::makeRagdollPile(6));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnANet)
{
    this->expectPlainBits(kyrOrvel::client::makeNet(8));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnAWall)
{
    this->expectPlainBits(kyrOrvel::client::makeWall(7, 5));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnTracks)
{
    this->expectPlainBits(kyrOrvel::client::makeTracks(20));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnAPoseGraph)
{
    this->expectPlainBits(kyrOrvel::client::makePoseGraph(100));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnALattice)
{
    this->expectPlainBits(kyrOrvel::client::makeLattice(5));
}

TYPED_TEST(ScenePathBits, EqualThePlainOnesOnAnElasticCube)
{
    this->expectPlainBits(kyrOrvel::client::makeElasticity(5));
}

} // namespace
