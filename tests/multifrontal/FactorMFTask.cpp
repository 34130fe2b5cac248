// The task that the factorization on threads is run by, and which thread takes what.

#include "Problem.h"

#include "support/FactorComparison.h"
#include "support/Scalars.h"

#include <kyr/Referenced>
#include <kyr/ThreadTask>
#include <kyrOrvel/MultifrontManager>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using kyrOrvel::MfWrapper;
using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;
using support::Problem;
using support::Random;

namespace {

// What the delete handler saw.
const OrvelData<double>* s_data = nullptr;
std::vector<int> s_factored;
std::vector<std::string> s_names;

void note(kyr::Referenced* object)
{
    s_factored.push_back(s_data->factored);
    if (const auto* task = dynamic_cast<const kyr::Task*>(object))
        s_names.push_back(task->getName());
    delete object;
}

class FactorMFTask : public testing::Test {
protected:
    FactorMFTask() : problem(system())
    {
        problem.map(2);
        s_data = &problem.data;
        s_factored.clear();
        s_names.clear();
        kyr::Referenced::setDeleteHandler(note);
    }
    ~FactorMFTask() override { kyr::Referenced::setDeleteHandler(nullptr); }

    static support::System<double> system()
    {
        Random random(1);
        return support::systemOfTree<double>(random, support::comb(12), 1, 4);
    }

    Problem<double> problem;
};

TEST_F(FactorMFTask, IsDroppedWhenTheDataIsFactored)
{
    Orvel::factorMF(problem.data);

    EXPECT_EQ(s_factored, std::vector<int>{1});
}

TEST_F(FactorMFTask, HasItsName)
{
    Orvel::factorMF(problem.data);

    EXPECT_EQ(s_names, std::vector<std::string>{"MultiFront factor"});
}

TEST_F(FactorMFTask, RunsForAnEmptySystemToo)
{
    OrvelData<double> empty;
    s_data = &empty;

    Orvel::factorMF(empty);

    EXPECT_EQ(s_names, std::vector<std::string>{"MultiFront factor"});
    EXPECT_EQ(s_factored, std::vector<int>{1});
}

template <class T> class FactorMFThreads : public testing::Test {
protected:
    /// Back to where the threads begin.
    static void forgetResults(OrvelData<T>& data)
    {
        auto& manager = data.multifront;
        std::fill_n(manager.frontStorage, manager.frontStorageSize, T(0));
        std::fill_n(manager.updateStorage, manager.updateStorageSize, T(0));
        for (unsigned int k = 0; k < manager.numNodes; ++k)
            manager.nodes[k].done = 0;
        for (auto* matrix : {&data.factor, &data.scaledFactor})
            std::fill_n(matrix->values, matrix->valueCapacity, T(0));
        std::fill_n(data.pivots.data, data.pivots.size, T(0));
    }
};
TYPED_TEST_SUITE(FactorMFThreads, support::Scalars);

TYPED_TEST(FactorMFThreads, NodeOfAThreadThatDoesNotRunIsLeftUndone)
{
    Random random(3);
    Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, support::chain(3), 1, 2));
    problem.use(support::listedOneByOne({0, 0, 7}, 8));
    problem.data.numThreads = 1;

    Orvel::factorMF(problem.data);

    const auto* const nodes = problem.data.multifront.nodes;
    EXPECT_EQ(nodes[0].done, 1);
    EXPECT_EQ(nodes[1].done, 1);
    EXPECT_EQ(nodes[2].done, 0);
    EXPECT_EQ(problem.data.factored, 1);
}

TYPED_TEST(FactorMFThreads, MainThreadStandsInForTheFirst)
{
    Random random(2);
    Problem<TypeParam> problem(support::systemOfTree<TypeParam>(random, support::comb(12), 1, 4));
    problem.map(1);
    Orvel::factorMF(problem.data);
    this->forgetResults(problem.data);

    MfWrapper<TypeParam>{&problem.data}.doThreadedFactor();

    EXPECT_TRUE(support::sameFactors(problem.data, problem.plainFactors()));
}

} // namespace
