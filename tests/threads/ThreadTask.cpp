#include "Tasks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cfenv>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

using kyr::Callback;
using kyr::Thread;
using kyr::ThreadTask;
using threads::Barrier;
using threads::calling;
using threads::callingIndex;
using threads::HeldTask;
using threads::Indices;
using threads::kNothing;
using threads::upTo;

namespace {

TEST(Thread, FirstOfTheListStandsForTheMainThread)
{
    ASSERT_FALSE(Thread::s_threads.empty());
    ASSERT_NE(Thread::s_threads.front(), nullptr);
    EXPECT_EQ(Thread::s_threads.front()->getIndex(), 0u);
}

TEST(ThreadTask, KeepsItsName)
{
    const HeldTask task(1, kNothing, kNothing);
    auto* const other = new ThreadTask("MultiFront factor", kNothing, kNothing);
    other->ref();

    EXPECT_EQ(task->getName(), "held");
    EXPECT_EQ(other->getName(), "MultiFront factor");
    other->unref();
}

class ThreadTaskCounts : public testing::TestWithParam<unsigned int> {};

// More workers than any machine has cores are among them.
INSTANTIATE_TEST_SUITE_P(Threads, ThreadTaskCounts, testing::Values(1u, 2u, 3u, 4u, 7u, 16u, 64u),
                         testing::PrintToStringParamName());

TEST_P(ThreadTaskCounts, SecondCallbackRunsOnceOnEachWorker)
{
    Indices indices;
    const HeldTask task(GetParam(), [&indices] { indices.note(); });

    task->execute(true);

    EXPECT_EQ(indices.sorted(), upTo(GetParam()));
}

/// A thread's rounding mode for as long as it lives.
class Rounding {
public:
    explicit Rounding(int mode) { std::fesetround(mode); }
    ~Rounding() { std::fesetround(FE_TONEAREST); }
    Rounding(const Rounding&) = delete;
    Rounding& operator=(const Rounding&) = delete;
};

// Workers are reused by threads of any mode, and results must not tell who started them.
TEST_P(ThreadTaskCounts, WorkersComputeInTheModeOfTheExecutingThread)
{
    for (const int mode : {FE_UPWARD, FE_TONEAREST, FE_TOWARDZERO}) {
        const Rounding rounding(mode);
        std::atomic<unsigned int> alike{0};
        const HeldTask task(GetParam(), [&] { alike += std::fegetround() == mode; });

        task->execute(true);

        EXPECT_EQ(alike, GetParam()) << "mode " << mode;
    }
}

TEST_P(ThreadTaskCounts, WorkersRunAtTheSameTimeOnThreadsOfTheirOwn)
{
    Barrier barrier(GetParam());
    std::mutex mutex;
    std::set<std::thread::id> threads;
    const HeldTask task(GetParam(), [&] {
        barrier.arriveAndWait();
        const std::lock_guard<std::mutex> lock(mutex);
        threads.insert(std::this_thread::get_id());
    });

    task->execute(true);

    EXPECT_EQ(threads.size(), GetParam());
    EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
}

TEST(ThreadTask, ZeroThreadsCountAsOne)
{
    Indices indices;
    const HeldTask task(0, [&indices] { indices.note(); });

    task->execute(true);

    EXPECT_EQ(indices.sorted(), upTo(1));
}

TEST(ThreadTask, OneThreadWithoutBeingTold)
{
    Indices indices;
    auto* const task = new ThreadTask("untold", kNothing, calling([&indices] { indices.note(); }));
    task->ref();

    task->execute(true);

    EXPECT_EQ(indices.sorted(), upTo(1));
    task->unref();
}

TEST(ThreadTask, NumberOfThreadsCanChangeBetweenExecutions)
{
    for (const unsigned int n : {3u, 1u, 5u, 2u}) {
        Indices indices;
        const HeldTask task(7, [&indices] { indices.note(); });
        task->setNumThreads(n);

        task->execute(true);

        EXPECT_EQ(indices.sorted(), upTo(n));
    }
}

TEST(ThreadTask, ExecuteReturnsAfterTheLastWorker)
{
    for (int round = 0; round < 100; ++round) {
        std::atomic<unsigned int> finished{0};
        const HeldTask task(4, [&finished] {
            for (unsigned int i = 0; i < 50 * callingIndex(); ++i)
                std::this_thread::yield();
            ++finished;
        });

        task->execute(true);

        ASSERT_EQ(finished, 4u) << "round " << round;
    }
}

TEST(ThreadTask, WhatWorkersWroteIsThereAfterwards)
{
    std::vector<int> values(8, 0); // plain: execute alone orders the accesses
    const HeldTask task(8, [&values] { values[callingIndex()] += 1; });

    for (int round = 1; round <= 20; ++round) {
        task->execute(true);
        EXPECT_EQ(values, std::vector<int>(8, round));
    }
}

TEST(ThreadTask, FirstCallbackRunsOnceOnTheExecutingThreadBeforeTheWorkers)
{
    std::vector<std::thread::id> first;
    std::atomic<unsigned int> late{0};
    const HeldTask task(3, calling([&first] { first.push_back(std::this_thread::get_id()); }),
                        calling([&] { late += first.size() != 1; }));

    task->execute(true);

    EXPECT_EQ(first, std::vector<std::thread::id>{std::this_thread::get_id()});
    EXPECT_EQ(late, 0u);
}

TEST(ThreadTask, EmptyCallbacksAreNotCalled)
{
    const HeldTask task(3, kNothing, kNothing);

    EXPECT_NO_THROW(task->execute(true));
    EXPECT_NO_THROW(task->execute(false));
    EXPECT_EQ(task->referenceCount(), 1);
}

TEST(ThreadTask, DisabledCallbacksAreNotCalled)
{
    std::atomic<unsigned int> calls{0};
    const Callback disabled{false, [&calls] { ++calls; }};
    const HeldTask task(3, disabled, disabled);

    task->execute(true);
    task->execute(false);

    EXPECT_EQ(calls, 0u);
    EXPECT_EQ(task->referenceCount(), 1);
}

TEST(ThreadTask, DisabledFirstCallbackLeavesTheSecond)
{
    std::atomic<unsigned int> first{0};
    std::atomic<unsigned int> second{0};
    const HeldTask task(3, Callback{false, [&first] { ++first; }},
                        calling([&second] { ++second; }));

    task->execute(true);

    EXPECT_EQ(first, 0u);
    EXPECT_EQ(second, 3u);
}

/// Counts the threads that a test's work ran on, and those of them that ended.
struct ThreadCount {
    static std::atomic<unsigned int> begun;
    static std::atomic<unsigned int> ended;
    ThreadCount() { ++begun; }
    ~ThreadCount() { ++ended; }
    void touch() const {}
};
std::atomic<unsigned int> ThreadCount::begun{0};
std::atomic<unsigned int> ThreadCount::ended{0};

TEST(ThreadTask, WorkersAreReusedFromTaskToTask)
{
    const auto work = [] {
        thread_local const ThreadCount count;
        count.touch();
    };

    for (int i = 0; i < 100; ++i)
        HeldTask(3, work)->execute(true);

    EXPECT_EQ(ThreadCount::begun, 3u);
    EXPECT_EQ(ThreadCount::ended, 0u);
}

TEST(ThreadTask, IndexIsThatOfTheExecutionAndNotOfTheWorker)
{
    // The workers of the large execution are the ones the small ones get.
    for (const unsigned int n : {8u, 2u, 5u, 1u, 8u}) {
        Indices indices;
        const HeldTask task(n, [&indices] { indices.note(); });
        task->execute(true);
        EXPECT_EQ(indices.sorted(), upTo(n));
    }
}

TEST(ThreadTask, ThousandsOfExecutionsLoseNothing)
{
    std::vector<unsigned int> calls(2, 0);
    const HeldTask task(2, [&calls] { ++calls[callingIndex()]; });

    for (int i = 0; i < 4000; ++i)
        task->execute(true);

    EXPECT_EQ(calls, std::vector<unsigned int>(2, 4000));
}

TEST(ThreadTask, TwoClientsExecuteAtTheSameTime)
{
    // Neither execution ends before the workers of both have met.
    Barrier meeting(6);
    Indices ofOne;
    Indices ofTwo;
    const HeldTask one(3, [&] {
        meeting.arriveAndWait();
        ofOne.note();
    });
    const HeldTask two(3, [&] {
        meeting.arriveAndWait();
        ofTwo.note();
    });

    std::thread client([&one] { one->execute(true); });
    two->execute(true);
    client.join();

    EXPECT_EQ(ofOne.sorted(), upTo(3));
    EXPECT_EQ(ofTwo.sorted(), upTo(3));
}

TEST(ThreadTask, TwoClientsExecuteAgainAndAgain)
{
    const auto client = [](std::vector<unsigned int>& calls) {
        const HeldTask task(static_cast<unsigned int>(calls.size()),
                            [&calls] { ++calls[callingIndex()]; });
        for (int i = 0; i < 500; ++i)
            task->execute(true);
    };
    std::vector<unsigned int> ofOne(2, 0);
    std::vector<unsigned int> ofTwo(3, 0);

    std::thread one(client, std::ref(ofOne));
    std::thread two(client, std::ref(ofTwo));
    one.join();
    two.join();

    EXPECT_EQ(ofOne, std::vector<unsigned int>(2, 500));
    EXPECT_EQ(ofTwo, std::vector<unsigned int>(3, 500));
}

TEST(ThreadTask, WorkerMayExecuteATaskOfItsOwn)
{
    Indices inner;
    Indices outer;
    const HeldTask task(2, [&] {
        HeldTask(3, [&inner] { inner.note(); })->execute(true);
        outer.note(); // the outer index is unchanged
    });

    task->execute(true);

    EXPECT_EQ(inner.sorted(), (std::vector<unsigned int>{0, 0, 1, 1, 2, 2}));
    EXPECT_EQ(outer.sorted(), upTo(2));
}

} // namespace
