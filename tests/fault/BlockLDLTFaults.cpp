// The client layer when memory runs out at any place: a status, nothing lost, and all is well again
// once there is memory.

#include "support/Allocations.h"
#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Files.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/MatrixFiles>
#include <kyrOrvelClient/Pictures>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::Scene;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::FailingAllocation;

namespace {

/// Runs step() with its first allocation failing, then afresh with its second, and so on, until it
/// has no more: expects OutOfMemory each time and calls afterwards(). Returns how often it failed.
template <class Prepare, class Step, class Afterwards>
std::size_t failAtEveryAllocation(Prepare prepare, Step step, Afterwards afterwards)
{
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        prepare();
        StatusCode code;
        bool happened;
        {
            const FailingAllocation failing(n);
            code = step();
            happened = failing.happened();
        }
        EXPECT_EQ(code, happened ? StatusCode::OutOfMemory : StatusCode::Ok);
        if (!happened || testing::Test::HasFailure())
            return n - 1;
        afterwards();
    }
}

template <class T> class BlockLDLTFaults : public testing::Test {
protected:
    BlockLDLTFaults() : m_random(32), A(support::randomKkt<T>(m_random, shape()))
    {
        b = m_random.scalars<T>(A.dimension());
    }

    static support::KktShape shape()
    {
        support::KktShape shape;
        shape.partners = 2;
        return shape;
    }

    static std::vector<T> solved(BlockLDLT<T>& solver, const std::vector<T>& b)
    {
        std::vector<T> x(b.size());
        EXPECT_TRUE(solver.solve(b.data(), x.data()).ok()) << solver.info().message;
        return x;
    }

    support::Random m_random;
    BlockMatrix<T> A;
    std::vector<T> b;
};
TYPED_TEST_SUITE(BlockLDLTFaults, support::Scalars);

TYPED_TEST(BlockLDLTFaults, AnalysisThatFailsCanBeRepeated)
{
    BlockLDLT<TypeParam> fresh;
    ASSERT_TRUE(fresh.compute(this->A).ok());
    const auto expected = this->solved(fresh, this->b);
    BlockLDLT<TypeParam> solver;

    const std::size_t failures = failAtEveryAllocation(
        [&] { solver = BlockLDLT<TypeParam>(); },
        [&] { return solver.analyzePattern(this->A).code; },
        [&] {
            EXPECT_EQ(solver.info().message, "out of memory");
            EXPECT_EQ(solver.factorize(this->A).code, StatusCode::CallSequence);
            ASSERT_TRUE(solver.compute(this->A).ok()) << solver.info().message;
            const auto x = this->solved(solver, this->b);
            ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
        });

    EXPECT_GT(failures, 20u);
}

TYPED_TEST(BlockLDLTFaults, NewAnalysisOfAUsedSolverThatFailsCanBeRepeated)
{
    BlockLDLT<TypeParam> fresh;
    ASSERT_TRUE(fresh.compute(this->A).ok());
    const auto expected = this->solved(fresh, this->b);
    const BlockMatrix<TypeParam> smaller = support::scalarMatrix<TypeParam>({{2}, {1, 2}});
    BlockLDLT<TypeParam> solver;

    const std::size_t failures = failAtEveryAllocation(
        [&] {
            solver = BlockLDLT<TypeParam>();
            ASSERT_TRUE(solver.compute(smaller).ok());
        },
        [&] { return solver.analyzePattern(this->A).code; },
        [&] {
            ASSERT_TRUE(solver.compute(this->A).ok()) << solver.info().message;
            const auto x = this->solved(solver, this->b);
            ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
        });

    EXPECT_GT(failures, 20u);
}

// The first factorization allocates the factor.
TYPED_TEST(BlockLDLTFaults, FactorizationThatFailsCanBeRepeated)
{
    BlockLDLT<TypeParam> fresh;
    ASSERT_TRUE(fresh.compute(this->A).ok());
    const auto expected = this->solved(fresh, this->b);
    BlockLDLT<TypeParam> solver;

    const std::size_t failures = failAtEveryAllocation(
        [&] {
            solver = BlockLDLT<TypeParam>();
            ASSERT_TRUE(solver.analyzePattern(this->A).ok());
        },
        [&] { return solver.factorize(this->A).code; },
        [&] {
            std::vector<TypeParam> x(this->b.size(), TypeParam(3));
            EXPECT_EQ(solver.solve(this->b.data(), x.data()).code, StatusCode::CallSequence);
            EXPECT_EQ(x[0], TypeParam(3));
            ASSERT_TRUE(solver.factorize(this->A).ok()) << solver.info().message;
            x = this->solved(solver, this->b);
            ASSERT_TRUE(support::sameBits(x.data(), expected.data(), x.size()));
        });

    EXPECT_GT(failures, 5u);
}

// The factorization of the bridge analyses anew on its way.
/// A mechanism in which early elimination meets a pivot that it cannot use.
BlockMatrix<double> mechanismOrderedAgain()
{
    for (unsigned int seed = 1;; ++seed) {
        support::Random random(seed);
        BlockMatrix<double> A = support::matrixOf<double>(support::randomMechanism(random));
        BlockLDLT<double> solver;
        solver.analyzePattern(A);
        solver.factorize(A);
        if (solver.analysis().orderedAgain)
            return A;
    }
}

TEST(MechanismFaults, FactorizationThatFailsInItsNewAnalysisCanBeRepeated)
{
    const BlockMatrix<double> A = mechanismOrderedAgain();
    const std::vector<double> b(A.dimension(), 1);
    BlockLDLT<double> solver;

    const std::size_t failures = failAtEveryAllocation(
        [&] {
            solver = BlockLDLT<double>();
            ASSERT_TRUE(solver.analyzePattern(A).ok());
        },
        [&] { return solver.factorize(A).code; },
        [&] {
            ASSERT_TRUE(solver.compute(A).ok()) << solver.info().message;
            std::vector<double> x(b.size());
            ASSERT_TRUE(solver.solve(b.data(), x.data()).ok());
            ASSERT_LT(support::backwardError(A, x, b), 1e-13);
        });

    EXPECT_GT(failures, 20u);
}

// A failure that is to be reported needs memory for its message.
TYPED_TEST(BlockLDLTFaults, ReportThatFindsNoMemoryIsOutOfMemory)
{
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->A).ok());
    BlockMatrix<TypeParam> other(this->A.blockSizes(), this->A.firstTrailing());
    for (std::size_t n = 1;; ++n) {
        StatusCode code;
        bool happened;
        {
            const FailingAllocation failing(n);
            code = solver.factorize(other).code;
            happened = failing.happened();
        }
        if (!happened) {
            EXPECT_EQ(code, StatusCode::PatternMismatch);
            EXPECT_GT(n, 1u);
            break;
        }
        ASSERT_EQ(code, StatusCode::OutOfMemory);
    }
}

// Naming the block by its id takes memory as well. Sorting the dependencies can do without.
TYPED_TEST(BlockLDLTFaults, ReportOfASingularMatrixThatFindsNoMemoryIsOutOfMemory)
{
    auto twice = support::scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2);
    for (unsigned int block = 0; block < 4; ++block)
        twice.setId(block, 0xFFFFFFFFFFFFFF00u + block);
    BlockLDLT<TypeParam> solver;
    const Status expected = solver.compute(twice);
    ASSERT_EQ(expected.code, StatusCode::Singular);
    unsigned int failures = 0;
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        bool happened;
        {
            const FailingAllocation failing(n);
            solver.factorize(twice);
            happened = failing.happened();
        }
        if (solver.info().code == StatusCode::OutOfMemory) {
            ++failures;
            EXPECT_EQ(solver.info().message, "out of memory");
        } else {
            EXPECT_EQ(solver.info().message, expected.message);
        }
        if (!happened)
            break;
    }
    EXPECT_GT(failures, 5u);
}

TYPED_TEST(BlockLDLTFaults, ConstraintSpaceThatFailsCanBeRepeated)
{
    const TypeParam one[6] = {1};
    const std::vector<kyrOrvel::client::JacobianRow<TypeParam>> J = {{{{0, one}}}, {{{1, one}}}};
    TypeParam W[4];
    BlockLDLT<TypeParam> solver;
    ASSERT_TRUE(solver.compute(this->A).ok());

    failAtEveryAllocation([] {}, [&] { return solver.constraintSpace(J, W).code; },
                          [&] { ASSERT_TRUE(solver.constraintSpace(J, W).ok()); });
    std::vector<TypeParam> block(36);
    failAtEveryAllocation([] {}, [&] { return solver.inverseBlock(0, 1, block.data()).code; },
                          [] {});
}

TYPED_TEST(BlockLDLTFaults, AddingABlockThatFailsChangesNothing)
{
    const TypeParam values[] = {1, 2, 3, 4};
    BlockMatrix<TypeParam> matrix;

    const std::size_t failures = failAtEveryAllocation(
        [&] {
            matrix = BlockMatrix<TypeParam>({2, 2});
        },
        [&] { return matrix.add(1, 0, values).code; },
        [&] {
            EXPECT_EQ(matrix.numBlocks(), 0u);
            EXPECT_EQ(matrix.find(1, 0), nullptr);
            ASSERT_TRUE(matrix.add(1, 0, values).ok());
            EXPECT_EQ(matrix.find(1, 0)[3], TypeParam(4));
        });

    EXPECT_GT(failures, 1u);
}

// Files

class FileFaults : public testing::Test {
protected:
    support::Folder m_folder;
};

TEST_F(FileFaults, ReadingAMatrixThatFailsLeavesTheOldOne)
{
    const std::string path = m_folder.write(
        "a.mtx", "%%MatrixMarket matrix coordinate real symmetric\n2 2 3\n1 1 1\n2 1 2\n2 2 9\n");
    ScalarMatrix matrix;

    const std::size_t failures = failAtEveryAllocation(
        [&] {
            matrix = {3, {{2, 1, 7}}};
        },
        [&] { return kyrOrvel::client::readMatrixMarket(path, matrix).code; },
        [&] {
            EXPECT_EQ(matrix.dimension, 3u);
            ASSERT_EQ(matrix.entries.size(), 1u);
            EXPECT_EQ(matrix.entries[0].value, 7);
        });

    EXPECT_GT(failures, 2u);
    EXPECT_EQ(matrix.entries.size(), 3u);
}

TEST_F(FileFaults, ReadingBlocksThatFailsLeavesTheOldOnes)
{
    const std::string path = m_folder.write("a.blocks", "blocks 3 firstTrailing 2 1 1 1\n");
    BlockPartition partition;

    const std::size_t failures = failAtEveryAllocation(
        [&] {
            partition = {{5}, 1, {0}};
        },
        [&] { return kyrOrvel::client::readBlocks(path, 3, partition).code; },
        [&] {
            EXPECT_EQ(partition.sizes, std::vector<unsigned int>{5});
            EXPECT_EQ(partition.firstTrailing, 1u);
        });

    EXPECT_GT(failures, 2u);
    EXPECT_EQ(partition.sizes.size(), 3u);
}

TEST_F(FileFaults, ReadingAVectorThatFailsLeavesTheOldOne)
{
    const std::string path = m_folder.write("b.mtx", "1 2 3\n");
    std::vector<double> vector;

    const std::size_t failures = failAtEveryAllocation(
        [&] { vector = {8}; }, [&] { return kyrOrvel::client::readVector(path, 3, vector).code; },
        [&] { EXPECT_EQ(vector, std::vector<double>{8}); });

    EXPECT_GT(failures, 1u);
    EXPECT_EQ(vector, (std::vector<double>{1, 2, 3}));
}

TEST_F(FileFaults, WritingAVectorThatFailsLeavesNoFile)
{
    const std::string path = m_folder.path("x.mtx");
    const std::vector<double> vector = {1, 2, 3};

    const std::size_t failures = failAtEveryAllocation(
        [] {}, [&] { return kyrOrvel::client::writeVector(path, vector).code; },
        [&] { EXPECT_EQ(m_folder.numFiles(), 0u); });

    EXPECT_GT(failures, 1u);
    EXPECT_EQ(m_folder.numFiles(), 1u);
}

TEST_F(FileFaults, PictureThatFailsLeavesNoFile)
{
    const std::string path = m_folder.path("a.svg");
    const Scene scene = kyrOrvel::client::makeRopeBridge(2);
    BlockLDLT<double> solver;
    ASSERT_TRUE(solver.compute(scene.matrix).ok());

    const std::size_t failures = failAtEveryAllocation(
        [] {}, [&] { return kyrOrvel::client::writeScenePicture(path, scene, solver).code; },
        [&] { EXPECT_EQ(m_folder.numFiles(), 0u); });

    EXPECT_GT(failures, 5u);
    EXPECT_EQ(m_folder.numFiles(), 1u);
}

TEST_F(FileFaults, TimelineThatFailsLeavesNoFile)
{
    const std::string path = m_folder.path("a.svg");
    const kyrOrvel::FactorTrace::Clock::time_point now{};
    kyrOrvel::FactorTrace trace;
    trace.threads = {{{0, false, now, now + std::chrono::milliseconds(1)}}};

    const std::size_t failures = failAtEveryAllocation(
        [] {}, [&] { return kyrOrvel::client::writeTimeline(path, trace).code; },
        [&] { EXPECT_EQ(m_folder.numFiles(), 0u); });

    EXPECT_GT(failures, 3u);
    EXPECT_EQ(m_folder.numFiles(), 1u);
}

} // namespace
