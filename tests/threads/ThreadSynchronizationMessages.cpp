// Every error of the blocking primitives, and what it prints.

#include <kyr/ThreadSynchronization>

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <thread>

using kyr::SyncCondition;
using kyr::SyncMutex;

namespace {

/// The whole of standard error: one line.
testing::Matcher<const std::string&> line(const char* number, const char* what)
{
    return testing::Eq(std::string("[include/kyr/ThreadSynchronization:") + number +
                       "] kyrAbort: " + what + "\n");
}

class SyncDeathTest : public testing::Test {
protected:
    SyncDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    const testing::KilledBySignal aborted{SIGABRT};
};

using SyncMutexDeathTest = SyncDeathTest;
using SyncConditionDeathTest = SyncDeathTest;

TEST_F(SyncMutexDeathTest, DeadlockInLock)
{
    EXPECT_EXIT(SyncMutex::checkLock(11), aborted, line("271", "Deadlock detected!"));
}

TEST_F(SyncMutexDeathTest, InvalidMutexInLock)
{
    EXPECT_EXIT(SyncMutex::checkLock(22), aborted, line("274", "Mutex memory is corrupted!"));
}

TEST_F(SyncMutexDeathTest, AnyOtherResultOfLock)
{
    for (const int result : {1, -1, 2, 10, 12, 21, 23, 35, 110})
        EXPECT_EXIT(SyncMutex::checkLock(result), aborted, line("283", "Unknown mutex error!"))
            << "result " << result;
}

TEST_F(SyncMutexDeathTest, UnlockByAThreadThatDoesNotOwnTheLock)
{
    EXPECT_EXIT(SyncMutex::checkUnlock(1), aborted,
                line("318", "Trying to unlock mutex which the current thread does not own!"));
}

TEST_F(SyncMutexDeathTest, InvalidMutexInUnlock)
{
    EXPECT_EXIT(SyncMutex::checkUnlock(22), aborted, line("321", "Mutex memory is corrupted!"));
}

TEST_F(SyncMutexDeathTest, AnyOtherResultOfUnlock)
{
    for (const int result : {-1, 2, 11, 21, 23, 35, 110})
        EXPECT_EXIT(SyncMutex::checkUnlock(result), aborted, line("330", "Unknown mutex error!"))
            << "result " << result;
}

TEST_F(SyncConditionDeathTest, InvalidConditionInWait)
{
    EXPECT_EXIT(SyncCondition::checkWait(22), aborted,
                line("568", "Condition memory is corrupted!"));
}

TEST_F(SyncConditionDeathTest, AnyOtherResultOfWait)
{
    for (const int result : {1, -1, 2, 11, 21, 23, 35, 110})
        EXPECT_EXIT(SyncCondition::checkWait(result), aborted,
                    line("577", "Unknown condition error!"))
            << "result " << result;
}

TEST_F(SyncConditionDeathTest, InvalidConditionInSignal)
{
    EXPECT_EXIT(SyncCondition::checkSignal(22), aborted,
                line("656", "Condition memory is corrupted!"));
}

TEST_F(SyncConditionDeathTest, AnyOtherResultOfSignal)
{
    for (const int result : {1, -1, 2, 11, 21, 23, 35, 110})
        EXPECT_EXIT(SyncCondition::checkSignal(result), aborted,
                    line("665", "Unknown condition error!"))
            << "result " << result;
}

TEST(SyncResults, ZeroIsSuccess)
{
    SyncMutex::checkLock(0);
    SyncMutex::checkUnlock(0);
    SyncCondition::checkWait(0);
    SyncCondition::checkSignal(0);
}

// The real thing, and not just the message. (The thread sanitizer reports it too, by lines of its
// own.)
#if defined(KYR_THREAD_SANITIZER)
testing::Matcher<const std::string&> notOwner()
{
    return testing::ContainsRegex("ThreadSynchronization:318] kyrAbort: Trying to unlock mutex "
                                  "which the current thread does not own!\n");
}
#else
testing::Matcher<const std::string&> notOwner()
{
    return line("318", "Trying to unlock mutex which the current thread does not own!");
}
#endif

TEST_F(SyncMutexDeathTest, UnlockingABlockingMutexHeldByAnotherThreadIsFatal)
{
    const auto unlockTheMutexOfAnother = [] {
        SyncMutex mutex;
        std::thread([&mutex] { mutex.lock(); }).join();
        mutex.unlock();
    };

    EXPECT_EXIT(unlockTheMutexOfAnother(), aborted, notOwner());
}

TEST_F(SyncMutexDeathTest, UnlockingABlockingMutexThatNobodyHoldsIsFatal)
{
    const auto unlockAFreeMutex = [] {
        SyncMutex mutex;
        mutex.unlock();
    };

    EXPECT_EXIT(unlockAFreeMutex(), aborted, notOwner());
}

} // namespace
