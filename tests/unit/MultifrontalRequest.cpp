// The multifrontal factorization is not built in: a request for it ends the process.

#include "support/Scalars.h"
#include "support/Systems.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;

namespace {

constexpr char kRefusal[] = "^Multifrontal factorization is not built in, clear useMultifrontal\n$";

template <class T> class MultifrontalRequestDeathTest : public testing::Test {
protected:
    MultifrontalRequestDeathTest() : data(support::makeData(support::scalarSystem<T>({"X"}, {{4}})))
    {
        data->useMultifrontal = 1;
        data->numThreads = 2;
    }

    std::unique_ptr<OrvelData<T>> data;
    T b = 10;
    T x = 10;
};
TYPED_TEST_SUITE(MultifrontalRequestDeathTest, support::Scalars);

TYPED_TEST(MultifrontalRequestDeathTest, RequestForThreadsAborts)
{
    EXPECT_EXIT(Orvel::solve(*this->data, &this->x), testing::KilledBySignal(SIGABRT), kRefusal);
}

TYPED_TEST(MultifrontalRequestDeathTest, RequestForThreadsAbortsWithSeparateVectors)
{
    EXPECT_EXIT(Orvel::solve(*this->data, &this->b, &this->x), testing::KilledBySignal(SIGABRT),
                kRefusal);
}

TYPED_TEST(MultifrontalRequestDeathTest, RequestForThreadsAbortsInUnitSolve)
{
    EXPECT_EXIT(Orvel::unitSolve(*this->data, &this->x, 0), testing::KilledBySignal(SIGABRT),
                kRefusal);
}

TYPED_TEST(MultifrontalRequestDeathTest, AnyNonzeroRequestAborts)
{
    this->data->useMultifrontal = 0x100;

    EXPECT_EXIT(Orvel::solve(*this->data, &this->x), testing::KilledBySignal(SIGABRT), kRefusal);
}

} // namespace
