#include <kyr/ThreadSynchronization>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

using kyr::NodeSync;
using kyr::SyncCondition;
using kyr::SyncMutex;

namespace {

/// The counter as a thread may read it while another one changes it.
unsigned int waitersOf(SyncCondition& condition)
{
    return apr_atomic_read32(&condition.waiters);
}

// Both modes

class SyncModes : public testing::TestWithParam<unsigned int> {
protected:
    static std::unique_ptr<NodeSync> makeSync()
    {
        auto sync = std::make_unique<NodeSync>();
        sync->mutex.spinning = GetParam();
        sync->condition.spinning = GetParam();
        return sync;
    }
};

// Any nonzero word selects the spin mode.
INSTANTIATE_TEST_SUITE_P(Spinning, SyncModes, testing::Values(0u, 1u, 2u, 0x80000000u),
                         testing::PrintToStringParamName());

TEST_P(SyncModes, OnlyOneThreadIsInsideTheLock)
{
    const auto sync = makeSync();
    const int kRounds = 5000;
    int sum = 0; // plain: the lock alone keeps the additions apart
    bool inside = false;
    bool alone = true;
    const auto add = [&] {
        for (int i = 0; i < kRounds; ++i) {
            sync->mutex.lock();
            alone = alone && !inside;
            inside = true;
            ++sum;
            inside = false;
            sync->mutex.unlock();
        }
    };

    std::thread one(add);
    std::thread two(add);
    one.join();
    two.join();

    EXPECT_EQ(sum, 2 * kRounds);
    EXPECT_TRUE(alone);
}

TEST_P(SyncModes, LockIsNotGrantedBeforeTheHolderUnlocks)
{
    const auto sync = makeSync();
    bool released = false; // guarded by the lock
    bool seen = false;
    std::atomic<bool> asks{false};
    sync->mutex.lock();

    std::thread other([&] {
        asks = true;
        sync->mutex.lock();
        seen = released;
        sync->mutex.unlock();
    });
    while (!asks)
        std::this_thread::yield();
    for (int i = 0; i < 100; ++i)
        std::this_thread::yield();
    released = true;
    sync->mutex.unlock();
    other.join();

    EXPECT_TRUE(seen);
}

TEST_P(SyncModes, WaitGivesTheLockAwayAndTakesItBack)
{
    const auto sync = makeSync();
    bool waiting = false; // all guarded by the lock
    bool signalled = false;
    bool seen = false;
    std::thread waiter([&] {
        sync->mutex.lock();
        waiting = true;
        while (!signalled)
            sync->condition.wait(sync->mutex);
        seen = signalled;
        signalled = false; // still under the lock
        sync->mutex.unlock();
    });

    // The lock can be had while `waiting` is set only if the wait gave it away.
    for (bool ready = false; !ready; std::this_thread::yield()) {
        sync->mutex.lock();
        ready = waiting;
        if (ready) {
            signalled = true;
            sync->condition.signal();
        }
        sync->mutex.unlock();
    }
    waiter.join();

    EXPECT_TRUE(seen);
    EXPECT_FALSE(signalled);
}

// The hand-over of a node: what the child's thread wrote before it set `done` is what the parent's
// thread reads after it saw `done`, with one wait at most.
TEST_P(SyncModes, NodesAreHandedOverOneByOne)
{
    struct Node {
        std::unique_ptr<NodeSync> sync;
        unsigned char done = 0;
        std::size_t update = 0;
    };
    std::vector<Node> nodes(300);
    for (Node& node : nodes)
        node.sync = makeSync();
    std::thread child([&nodes] {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i].update = 7 * i + 1;
            nodes[i].sync->mutex.lock();
            nodes[i].done = 1;
            nodes[i].sync->condition.signal();
            nodes[i].sync->mutex.unlock();
        }
    });

    std::vector<std::size_t> read;
    std::size_t notDone = 0;
    for (Node& node : nodes) {
        node.sync->mutex.lock();
        if (!node.done)
            node.sync->condition.wait(node.sync->mutex);
        notDone += !node.done;
        read.push_back(node.update);
        node.sync->mutex.unlock();
    }
    child.join();

    EXPECT_EQ(notDone, 0u);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        EXPECT_EQ(read[i], 7 * i + 1) << "node " << i;
}

TEST_P(SyncModes, CounterIsZeroAfterEveryHandOver)
{
    const auto sync = makeSync();
    const int kRounds = 20;
    int given = 0; // guarded by the lock
    int taken = 0;
    std::thread parent([&] {
        for (int i = 1; i <= kRounds; ++i) {
            sync->mutex.lock();
            while (given < i)
                sync->condition.wait(sync->mutex);
            taken = i;
            sync->mutex.unlock();
        }
    });

    for (int i = 1; i <= kRounds; ++i) {
        for (bool ready = false; !ready; std::this_thread::yield()) {
            sync->mutex.lock();
            ready = taken == i - 1;
            if (ready) {
                given = i;
                sync->condition.signal();
            }
            sync->mutex.unlock();
        }
    }
    parent.join();

    EXPECT_EQ(taken, kRounds);
    EXPECT_EQ(waitersOf(sync->condition), 0u);
}

// Blocking mode

TEST(BlockingSync, IsTheModeOfAFreshObject)
{
    const NodeSync sync;

    EXPECT_EQ(sync.mutex.spinning, 0u);
    EXPECT_EQ(sync.mutex.spinWord, 0u);
    EXPECT_EQ(sync.condition.waiters, 0u);
    EXPECT_EQ(sync.condition.spinning, 0u);
}

TEST(BlockingSync, SpinWordStaysUntouched)
{
    SyncMutex mutex;

    mutex.lock();
    const unsigned int held = mutex.spinWord;
    mutex.unlock();

    EXPECT_EQ(held, 0u);
    EXPECT_EQ(mutex.spinWord, 0u);
}

TEST(BlockingSync, SignalWithoutAWaiterLeavesTheCounterAlone)
{
    NodeSync sync;
    sync.condition.waiters = 5;

    sync.mutex.lock();
    sync.condition.signal();
    sync.mutex.unlock();

    EXPECT_EQ(sync.condition.waiters, 5u);
}

TEST(BlockingSync, WaitingDoesNotCount)
{
    NodeSync sync;
    bool waiting = false;
    bool signalled = false;
    std::thread waiter([&] {
        sync.mutex.lock();
        waiting = true;
        while (!signalled)
            sync.condition.wait(sync.mutex);
        sync.mutex.unlock();
    });

    unsigned int counted = 1;
    for (bool ready = false; !ready; std::this_thread::yield()) {
        sync.mutex.lock();
        ready = waiting;
        if (ready) {
            counted = sync.condition.waiters;
            signalled = true;
            sync.condition.signal();
        }
        sync.mutex.unlock();
    }
    waiter.join();

    EXPECT_EQ(counted, 0u);
}

// Spin mode

class SpinningSync : public testing::Test {
protected:
    SpinningSync()
    {
        sync.mutex.spinning = 1;
        sync.condition.spinning = 1;
    }

    void signal()
    {
        sync.mutex.lock();
        sync.condition.signal();
        sync.mutex.unlock();
    }

    NodeSync sync;
};

TEST_F(SpinningSync, SpinWordIsOneWhileHeld)
{
    sync.mutex.lock();
    EXPECT_EQ(sync.mutex.spinWord, 1u);
    sync.mutex.unlock();
    EXPECT_EQ(sync.mutex.spinWord, 0u);
}

TEST_F(SpinningSync, AnyThreadMayUnlock)
{
    std::thread([this] { sync.mutex.lock(); }).join();

    sync.mutex.unlock();

    EXPECT_EQ(sync.mutex.spinWord, 0u);
}

TEST_F(SpinningSync, UnlockingAFreeMutexIsNoError)
{
    sync.mutex.unlock();

    EXPECT_EQ(sync.mutex.spinWord, 0u);
}

TEST_F(SpinningSync, SignalWithoutAWaiterLeavesTheCounterAtZero)
{
    for (int i = 0; i < 3; ++i) {
        signal();
        EXPECT_EQ(sync.condition.waiters, 0u);
    }
}

TEST_F(SpinningSync, SignalTakesOneOffTheCounter)
{
    sync.condition.waiters = 3;

    signal();
    EXPECT_EQ(sync.condition.waiters, 2u);
    signal();
    EXPECT_EQ(sync.condition.waiters, 1u);
    signal();
    EXPECT_EQ(sync.condition.waiters, 0u);
}

TEST_F(SpinningSync, NegativeCounterIsSetToZeroBySignal)
{
    sync.condition.waiters = static_cast<unsigned int>(-4);

    signal();

    EXPECT_EQ(sync.condition.waiters, 0u);
}

TEST_F(SpinningSync, WaiterIsCountedUntilItIsSignalled)
{
    std::thread waiter([this] {
        sync.mutex.lock();
        sync.condition.wait(sync.mutex);
        sync.mutex.unlock();
    });
    while (waitersOf(sync.condition) != 1)
        std::this_thread::yield();

    signal(); // takes the lock: the waiter does not hold it
    waiter.join();

    EXPECT_EQ(sync.condition.waiters, 0u);
    EXPECT_EQ(sync.mutex.spinWord, 0u);
}

TEST_F(SpinningSync, LockIsHeldAgainAfterTheWait)
{
    unsigned int afterWait = 0;
    std::thread waiter([&] {
        sync.mutex.lock();
        sync.condition.wait(sync.mutex);
        afterWait = sync.mutex.spinWord;
        sync.mutex.unlock();
    });
    while (waitersOf(sync.condition) != 1)
        std::this_thread::yield();

    signal();
    waiter.join();

    EXPECT_EQ(afterWait, 1u);
}

TEST_F(SpinningSync, SignalBeforeTheWaitIsLost)
{
    bool second = false; // guarded by the lock
    bool seen = false;
    signal();
    std::thread waiter([&] {
        sync.mutex.lock();
        sync.condition.wait(sync.mutex);
        seen = second;
        sync.mutex.unlock();
    });
    while (waitersOf(sync.condition) != 1)
        std::this_thread::yield();
    for (int i = 0; i < 100; ++i)
        std::this_thread::yield();

    sync.mutex.lock();
    second = true;
    sync.condition.signal();
    sync.mutex.unlock();
    waiter.join();

    EXPECT_TRUE(seen) << "the wait ended before the second signal";
}

TEST_F(SpinningSync, CounterIsComparedAsASignedNumber)
{
    // Ticket 2^31 - 1, and the counter after it is the least number of all: nothing to wait for.
    sync.condition.waiters = INT_MAX;

    sync.mutex.lock();
    sync.condition.wait(sync.mutex);
    sync.mutex.unlock();

    EXPECT_EQ(sync.condition.waiters, 0x80000000u);
}

} // namespace
