// Warm factorizations and solves make no system call: they run in a process that the kernel ends at
// the first one.

#include "support/BlockSystems.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <dlfcn.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using support::Random;

namespace {

constexpr std::chrono::steady_clock::time_point kLongAgo{};

enum class End { Done, StepFailed, NoStrictMode, Killed };

/// Runs prepare(), then step() in strict mode, where any system call but read, write, exit and
/// sigreturn ends the process; all that in a child.
template <class Prepare, class Step> End runInStrictMode(Prepare prepare, Step step)
{
    constexpr int kFailed = 1;
    constexpr int kRefused = 2;
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        prepare();
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0)
            syscall(SYS_exit, kRefused);
        const bool done = step();
        syscall(SYS_exit, done ? 0 : kFailed); // exit_group, which _exit calls, is not allowed
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return End::NoStrictMode;
    if (!WIFEXITED(status))
        return End::Killed;
    switch (WEXITSTATUS(status)) {
    case 0:
        return End::Done;
    case kRefused:
        return End::NoStrictMode;
    default:
        return End::StepFailed;
    }
}

/// Phases are timed. On most machines the clock is read without a system call, on some it is one.
enum class Clock { OfTheMachine, OfTheTest };
bool s_isOfTheTest = false;

/// Why nothing can be told here, or null.
const char* obstacle(Clock clock)
{
    const auto nothing = [] {};
    if (runInStrictMode(nothing, [] { return true; }) != End::Done)
        return "no strict mode for child processes here";
    const End read = runInStrictMode([&] { s_isOfTheTest = clock == Clock::OfTheTest; },
                                     [] { return std::chrono::steady_clock::now() > kLongAgo; });
    return read == End::Done ? nullptr : "reading the clock is a system call here";
}

template <class T> class WarmSteps : public testing::Test {
protected:
    void SetUp() override
    {
        if (const char* const reason = obstacle(Clock::OfTheTest))
            GTEST_SKIP() << reason;
    }

    /// Warms a solver up, then factors and solves in strict mode.
    static End factorAndSolve(const BlockMatrix<T>& A, const std::vector<T>& b, Clock clock)
    {
        BlockLDLT<T> solver;
        std::vector<T> x(b.size());
        return runInStrictMode(
            [&] {
                s_isOfTheTest = clock == Clock::OfTheTest;
                solver.compute(A);
                solver.solve(b.data(), x.data());
                solver.refine(b.data(), x.data(), 2);
            },
            [&] {
                return solver.factorize(A).ok() && solver.solve(b.data(), x.data()).ok() &&
                       solver.refine(b.data(), x.data(), 2).ok();
            });
    }
};
TYPED_TEST_SUITE(WarmSteps, support::Scalars);

TYPED_TEST(WarmSteps, CallOutsideIsNoticed)
{
    EXPECT_EQ(runInStrictMode([] {}, [] { return syscall(SYS_getppid) != 0; }), End::Killed);
}

TYPED_TEST(WarmSteps, FactorizeAndSolveMakeNoSystemCall)
{
    Random random(51);
    const auto A = support::randomKkt<TypeParam>(random, support::KktShape());

    EXPECT_EQ(this->factorAndSolve(A, random.scalars<TypeParam>(A.dimension()), Clock::OfTheTest),
              End::Done);
}

TYPED_TEST(WarmSteps, OfALargerSystemMakeNoSystemCall)
{
    Random random(52);
    const auto A = support::randomSpd<TypeParam>(random, 300, 0.02, 1, 6);

    EXPECT_EQ(this->factorAndSolve(A, random.scalars<TypeParam>(A.dimension()), Clock::OfTheTest),
              End::Done);
}

using WarmScene = WarmSteps<double>;

TEST_F(WarmScene, FactorizeAndSolveMakeNoSystemCall)
{
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeRopeBridge(20);

    EXPECT_EQ(factorAndSolve(scene.matrix, scene.rightHandSide, Clock::OfTheTest), End::Done);
}

TEST_F(WarmScene, WithTheClockOfTheMachineMakesNoSystemCallEither)
{
    if (const char* const reason = obstacle(Clock::OfTheMachine))
        GTEST_SKIP() << reason;
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeRopeBridge(20);

    EXPECT_EQ(factorAndSolve(scene.matrix, scene.rightHandSide, Clock::OfTheMachine), End::Done);
}

TEST_F(WarmScene, AnalysingTheSamePatternAgainMakesNoSystemCall)
{
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeRopeBridge(20);
    BlockLDLT<double> solver;

    EXPECT_EQ(runInStrictMode(
                  [&] {
                      s_isOfTheTest = true;
                      solver.compute(scene.matrix);
                  },
                  [&] { return solver.compute(scene.matrix).ok(); }),
              End::Done);
}

} // namespace

/// Takes the place of the C library's, for the process.
extern "C" int clock_gettime(clockid_t id, timespec* time) noexcept
{
    using Function = int (*)(clockid_t, timespec*);
    static const auto ofTheMachine = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "clock_gettime"));
    if (!s_isOfTheTest)
        return ofTheMachine(id, time);
    static long ticks = 0;
    *time = {1, ++ticks};
    return 0;
}
