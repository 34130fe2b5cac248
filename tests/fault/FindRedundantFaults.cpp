// Looking for redundant constraints when memory runs out at any place.

#include "support/Allocations.h"
#include "support/BlockSystems.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/Diagnosis>

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::findRedundant;
using kyrOrvel::client::Status;
using kyrOrvel::client::StatusCode;
using support::FailingAllocation;

namespace {

template <class T> class FindRedundantFaults : public testing::Test {
protected:
    /// Lets every allocation but the first, which makes room for a status, fail: a list that is
    /// not as `expected` ends with OutOfMemory.
    static void expectEndsWithOutOfMemory(const BlockMatrix<T>& A, StatusCode expected)
    {
        for (std::size_t n = 2;; ++n) {
            SCOPED_TRACE(n);
            std::vector<Status> found;
            bool thrown = false;
            bool happened;
            {
                const FailingAllocation failing(n);
                try {
                    found = findRedundant(A);
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
                happened = failing.happened();
            }
            ASSERT_FALSE(thrown);
            ASSERT_FALSE(found.empty());
            if (!happened) {
                EXPECT_EQ(found.back().code, expected);
                EXPECT_GT(n, 20u);
                break;
            }
            const StatusCode code = found.back().code; // some allocations can be done without
            ASSERT_EQ(code, code == expected ? expected : StatusCode::OutOfMemory);
        }
    }
};
TYPED_TEST_SUITE(FindRedundantFaults, support::Scalars);

TYPED_TEST(FindRedundantFaults, MemoryThatRunsOutEndsTheList)
{
    this->expectEndsWithOutOfMemory(
        support::scalarMatrix<TypeParam>({{4}, {0, 4}, {1, 1, 0}, {1, 1, 0, 0}}, 2),
        StatusCode::Singular);
}

// The mass is negative.
TYPED_TEST(FindRedundantFaults, MemoryThatRunsOutForAnotherFailureEndsTheList)
{
    this->expectEndsWithOutOfMemory(support::scalarMatrix<TypeParam>({{-4}, {1, 0}}, 1),
                                    StatusCode::WrongSigns);
}

} // namespace
