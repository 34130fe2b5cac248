// Executions that fail, and executions that nobody waits for.

#include "Tasks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <stdexcept>
#include <thread>

using kyr::Callback;
using kyr::ThreadTask;
using threads::Barrier;
using threads::calling;
using threads::callingIndex;
using threads::HeldTask;
using threads::Indices;
using threads::kNothing;
using threads::upTo;

namespace {

TEST(ThreadTask, ExceptionOfAWorkerComesHome)
{
    std::atomic<unsigned int> others{0};
    const HeldTask task(3, [&others] {
        if (callingIndex() == 1)
            throw std::runtime_error("out of luck");
        ++others;
    });

    try {
        task->execute(true);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "out of luck");
    }

    EXPECT_EQ(others, 2u) << "execute has to wait for the others all the same";
}

TEST(ThreadTask, OneOfSeveralExceptionsComesHome)
{
    const HeldTask task(4, [] { throw callingIndex(); });

    try {
        task->execute(true);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const unsigned int index) {
        EXPECT_LT(index, 4u);
    }
}

TEST(ThreadTask, LaterExecutionsWorkAfterAnException)
{
    bool fails = true;
    Indices indices;
    const HeldTask task(3, [&] {
        if (fails)
            throw std::runtime_error("out of luck");
        indices.note();
    });
    EXPECT_THROW(task->execute(true), std::runtime_error);
    fails = false;

    task->execute(true);
    HeldTask(2, [] {})->execute(true);

    EXPECT_EQ(indices.sorted(), upTo(3));
    EXPECT_EQ(task->referenceCount(), 1);
}

// Without waiting

/// Says when it is deleted.
class WatchedTask : public ThreadTask {
public:
    WatchedTask(const Callback& second, std::atomic<bool>& deleted)
        : ThreadTask("watched", kNothing, second), m_deleted(deleted)
    {
    }
    ~WatchedTask() override { m_deleted = true; }

private:
    std::atomic<bool>& m_deleted;
};

TEST(ThreadTask, ExecuteWithoutWaitingReturnsWhileTheWorkersRun)
{
    // The workers cannot end before the executing thread has come back and joins them.
    Barrier barrier(3);
    Indices indices;
    std::atomic<bool> deleted{false};
    auto* const task = new WatchedTask(calling([&] {
                                           indices.note();
                                           barrier.arriveAndWait();
                                       }),
                                       deleted);
    task->ref();
    task->setNumThreads(2);

    task->execute(false);
    EXPECT_EQ(task->referenceCount(), 2) << "a running task keeps itself";
    task->unref();
    barrier.arriveAndWait();
    while (!deleted)
        std::this_thread::yield();

    EXPECT_EQ(indices.sorted(), upTo(2));
}

TEST(ThreadTask, NumberOfThreadsMayChangeWhileNobodyWaits)
{
    for (int round = 0; round < 100; ++round) {
        Indices indices;
        const HeldTask task(3, [&indices] { indices.note(); });

        task->execute(false);
        task->setNumThreads(2); // of the next execution
        while (task->referenceCount() != 1)
            std::this_thread::yield();

        ASSERT_EQ(indices.sorted(), upTo(3)) << "round " << round;
    }
}

TEST(ThreadTaskDeathTest, ExceptionThatNobodyWaitsForEndsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto throwUnnoticed = [] {
        const HeldTask task(2, [] { throw std::runtime_error("out of luck"); });
        task->execute(false);
        for (;;)
            std::this_thread::yield();
    };

    EXPECT_EXIT(throwUnnoticed(), testing::KilledBySignal(SIGABRT), "terminate");
}

TEST(ThreadTask, TaskDroppedWhileItRunsEndsAfterItsWork)
{
    Barrier barrier(2);
    std::atomic<bool> deleted{false};
    bool deletedAtWork = true;
    auto* const task = new WatchedTask(calling([&] {
                                           barrier.arriveAndWait();
                                           deletedAtWork = deleted;
                                       }),
                                       deleted);
    task->ref();
    task->execute(false);

    task->unref();
    EXPECT_FALSE(deleted);
    barrier.arriveAndWait();
    while (!deleted)
        std::this_thread::yield();

    EXPECT_FALSE(deletedAtWork);
}

} // namespace
