// Captures when memory runs out at any place: a status, and what was there stays.

#include "support/Allocations.h"
#include "support/BlockSystems.h"
#include "support/Files.h"

#include <kyrOrvelClient/Capture>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::Capture;
using kyrOrvel::client::readCapture;
using kyrOrvel::client::replay;
using kyrOrvel::client::SolverSettings;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using kyrOrvel::client::writeCapture;
using support::FailingAllocation;

namespace {

class CaptureFaults : public testing::Test {
protected:
    CaptureFaults()
        : m_path(m_folder.path("c")),
          A(support::scalarMatrix<double>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2))
    {
        A.setId(2, 1002);
        EXPECT_EQ(solver.compute(A).code, StatusCode::Singular);
    }

    support::Folder m_folder;
    std::string m_path;
    BlockMatrix<double> A; // blocks 2 and 3 are the same constraint
    BlockLDLT<double> solver;
};

/// Calls step() with its first allocation failing, then with its second, and so on, until it has no
/// more. Each failure has to come back as OutOfMemory.
template <class Step> void expectOutOfMemoryAtEveryAllocation(Step step)
{
    std::size_t failures = 0;
    for (std::size_t n = 1;; ++n) {
        StatusCode code;
        bool happened;
        {
            const FailingAllocation failing(n);
            code = step();
            happened = failing.happened();
        }
        if (!happened)
            break;
        ++failures;
        ASSERT_EQ(code, StatusCode::OutOfMemory) << "allocation " << n;
    }
    EXPECT_GT(failures, 0u);
}

TEST_F(CaptureFaults, WritingThatFailsLeavesTheOldFile)
{
    m_folder.write("c", "old");
    for (std::size_t n = 1;; ++n) {
        StatusCode code;
        bool happened;
        {
            const FailingAllocation failing(n);
            code = writeCapture(m_path, solver, A).code;
            happened = failing.happened();
        }
        if (code == StatusCode::OutOfMemory) {
            EXPECT_EQ(support::contentOf(m_path), "old") << "allocation " << n;
        }
        EXPECT_EQ(m_folder.numFiles(), 1u);
        if (!happened)
            break;
    }
    Capture capture;
    EXPECT_TRUE(readCapture(m_path, capture).ok());
}

TEST_F(CaptureFaults, ReadingThatFailsLeavesTheOldCapture)
{
    ASSERT_TRUE(writeCapture(m_path, solver, A).ok());
    Capture capture;
    capture.outcome.L = 42;
    expectOutOfMemoryAtEveryAllocation([&] {
        if (capture.outcome.L != 42)
            return StatusCode::Ok;
        const Status status = readCapture(m_path, capture);
        return status.code;
    });
    EXPECT_EQ(capture.outcome.status.code, StatusCode::Singular);
}

// The report of a singular matrix can do without some of its memory.
TEST_F(CaptureFaults, ReplayThatFailsSaysSo)
{
    ASSERT_TRUE(writeCapture(m_path, solver, A).ok());
    Capture capture;
    ASSERT_TRUE(readCapture(m_path, capture).ok());
    std::size_t failures = 0;
    for (std::size_t n = 1;; ++n) {
        kyrOrvel::client::ReplayReport report;
        bool happened;
        {
            const FailingAllocation failing(n);
            report = replay(capture);
            happened = failing.happened();
        }
        if (!happened)
            break;
        const StatusCode code = report.outcome.status.code;
        EXPECT_TRUE(report.same() || code == StatusCode::OutOfMemory) << "allocation " << n;
        failures += code == StatusCode::OutOfMemory;
    }
    EXPECT_GT(failures, 0u);
    EXPECT_TRUE(replay(capture).same());
}

TEST_F(CaptureFaults, SettingsThatFindNoMemoryStayAsTheyWere)
{
    SolverSettings<double> settings;
    settings.order.assign(100, 0);
    settings.compliances.assign(100, 0.5);
    BlockLDLT<double> other;
    expectOutOfMemoryAtEveryAllocation([&] {
        const StatusCode code = other.setSettings(settings).code;
        EXPECT_EQ(other.settings().order.empty(), code != StatusCode::Ok);
        EXPECT_EQ(other.settings().compliances.empty(), code != StatusCode::Ok);
        return code;
    });
}

TEST_F(CaptureFaults, CaptureOfAFailureThatFindsNoMemoryLeavesTheStatusOfTheStep)
{
    ASSERT_TRUE(solver.captureOnFailure(m_path).ok());
    solver.factorize(A);
    ASSERT_TRUE(solver.captureInfo().ok());
    bool captureFailed = false;
    for (std::size_t n = 1;; ++n) {
        bool happened;
        StatusCode code;
        {
            const FailingAllocation failing(n);
            code = solver.factorize(A).code;
            happened = failing.happened();
        }
        if (code == StatusCode::Singular && !solver.captureInfo().ok())
            captureFailed = true;
        EXPECT_TRUE(code == StatusCode::Singular || code == StatusCode::OutOfMemory);
        if (!happened)
            break;
        ASSERT_TRUE(solver.compute(A).code == StatusCode::Singular);
    }
    EXPECT_TRUE(captureFailed);
}

} // namespace
