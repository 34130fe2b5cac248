// A factorization and a solve that are warm and serial ask the kernel for nothing.

#include "support/Mechanisms.h"

#include <kyrOrvelClient/BlockLDLT>
#include <kyrOrvelClient/Scenes>

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define CAN_FORBID_SYSTEM_CALLS 1
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

#ifdef CAN_FORBID_SYSTEM_CALLS

/// From now on the kernel kills the calling process at any system call but exit_group. (Strict mode
/// would forbid reading the processor's clock as well.)
bool forbidSystemCalls()
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
    };
    const sock_fprog filter = {sizeof program / sizeof *program, program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// Runs a step in a child that the kernel kills at its first system call; whether it got through.
template <class Step> bool getsThrough(Step step)
{
    const pid_t child = fork();
    if (child == 0) {
        if (!forbidSystemCalls())
            _exit(1);
        step();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

#endif

TEST(SystemCalls, WarmFactorizeAndSolveMakeNone)
{
#ifdef CAN_FORBID_SYSTEM_CALLS
    volatile double sink = 0;
    if (!getsThrough([&] {
            sink =
                std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
                    .count();
        }))
        GTEST_SKIP() << "here the clock is a system call, or none can be forbidden";
    ASSERT_FALSE(getsThrough([] { (void)getppid(); })) << "system calls should be noticed";
    const kyrOrvel::client::Scene scene = kyrOrvel::client::makeRopeBridge(10);
    std::vector<double> x(scene.rightHandSide.size());
    kyrOrvel::client::BlockLDLT<double> solver;
    const auto steps = [&] {
        solver.factorize(scene.matrix);
        solver.solve(scene.rightHandSide.data(), x.data());
    };
    ASSERT_TRUE(solver.compute(scene.matrix).ok());
    steps();
    ASSERT_TRUE(solver.info().ok());

    EXPECT_TRUE(getsThrough(steps));
#else
    GTEST_SKIP() << "system calls cannot be forbidden here";
#endif
}

} // namespace
