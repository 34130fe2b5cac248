// symamd fails when it finds no memory. It allocates with calloc alone, so this program brings a
// calloc that can be told to fail.

#include "support/Orderings.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using support::Words;

namespace {

constexpr int kNever = -1;
int allocationsUntilFailure = kNever; ///< 0: the next one fails, and so do all that follow

} // namespace

extern "C" void* __libc_calloc(std::size_t count, std::size_t size);

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept
{
    if (allocationsUntilFailure == 0)
        return nullptr;
    if (allocationsUntilFailure > 0)
        --allocationsUntilFailure;
    return __libc_calloc(count, size);
}

namespace {

/// A call whose allocations number `allocations` and later fail, and what it leaves behind.
struct Call {
    explicit Call(int allocations, unsigned int spare = 0)
    {
        // X
        // X X
        // X X X
        const auto S = support::drawSkeleton({"X", "X X", "X X X"});
        support::setOrder(perm, {2, 0, 1}, spare);
        testing::internal::CaptureStdout();
        allocationsUntilFailure = allocations;
        result = Reordering::computeSymamdPermutation(*S, perm, scratch);
        allocationsUntilFailure = kNever;
        report = testing::internal::GetCapturedStdout();
    }

    Permutation perm;
    ScratchPad scratch;
    bool result;
    std::string report;
};

TEST(SymamdFailure, AnswersFalse)
{
    EXPECT_FALSE(Call(0).result);
}

TEST(SymamdFailure, PrintsTheReportOfTheLibrary)
{
    const std::string report = Call(0).report;

    EXPECT_NE(report.find("colamd"), std::string::npos) << report;
    EXPECT_EQ(report.find("symamd"), std::string::npos) << report; // not symamd_report
    EXPECT_NE(report.find("Out of memory"), std::string::npos) << report;
}

TEST(SymamdFailure, LeavesTheIdentityOverTheWholeCapacityInBothDirections)
{
    const Call call(0, 4);

    EXPECT_EQ(support::words(call.perm.P, 7), support::identity(7));
    EXPECT_EQ(support::words(call.perm.Pi, 7), support::identity(7));
    EXPECT_EQ(call.perm.size, 3u);
    EXPECT_EQ(call.perm.capacity, 7u);
}

TEST(SymamdFailure, GrownPermutationIsTheIdentityToo)
{
    const auto S = support::drawSkeleton({"X", "X X", "X X X"});
    Permutation perm;
    ScratchPad scratch;
    testing::internal::CaptureStdout();
    allocationsUntilFailure = 0;

    const bool result = Reordering::computeSymamdPermutation(*S, perm, scratch);

    allocationsUntilFailure = kNever;
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(result);
    EXPECT_EQ(perm.size, 3u);
    EXPECT_EQ(perm.capacity, 3u);
    EXPECT_EQ(support::words(perm.P, 3), support::identity(3));
    EXPECT_EQ(support::words(perm.Pi, 3), support::identity(3));
}

TEST(SymamdFailure, EveryAllocationOfSymamdMayBeTheOneThatFails)
{
    int allocations = 0;
    for (; !Call(allocations).result; ++allocations) {
        const Call call(allocations);
        EXPECT_EQ(support::orderOf(call.perm), support::identity(3)) << allocations;
        EXPECT_NE(call.report, "") << allocations;
        ASSERT_LT(allocations, 100);
    }
    EXPECT_GE(allocations, 1);
}

TEST(SymamdFailure, NextCallSucceeds)
{
    ASSERT_FALSE(Call(0).result);

    const Call next(kNever);

    EXPECT_TRUE(next.result);
    EXPECT_EQ(next.report, "");
    EXPECT_TRUE(support::isOrder(support::orderOf(next.perm), 3));
}

} // namespace
