#include "detail/FactorFast.h"

#include "detail/FactorPath.h"
#include "detail/FactorPlan.h"
#include "detail/FactorStorage.h"
#include "detail/RunOnThreads.h"
#include "detail/SerialWork.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <thread>

namespace kyrOrvel {
namespace detail {

namespace {

constexpr char kTaskName[] = "Parallel factor";

/// Looks at a flag before the thread offers its core to others.
constexpr int kSpins = 2000;

/// Hands numbers out, each once.
class Counter {
public:
    unsigned int next() { return m_next.fetch_add(1, std::memory_order_relaxed); }

private:
    std::atomic<unsigned int> m_next{0};
};

/// The same work on other units.
template <class Task> Task withUnits(Task task, const unsigned int* units, std::size_t count)
{
    task.units = units;
    task.numUnits = static_cast<unsigned int>(count);
    return task;
}

/// Factors subtrees, fetched from a counter that threads share, until there are no more.
template <class Task>
void factorSubtrees(const WorkShares& shares, Counter& subtrees, const Task& task,
                    void (*factor)(const Task&))
{
    for (unsigned int s = subtrees.next(); s < shares.numSubtrees(); s = subtrees.next()) {
        const unsigned int first = shares.subtreeStart[s];
        factor(withUnits(task, shares.nodes.data() + first, shares.subtreeStart[s + 1] - first));
    }
}

/// Rows within subtrees side by side, then those above on the thread that comes last.
template <class T>
void factorByRows(const OrvelData<T>& data, FactorPlan<T>& plan,
                  const FactorFunctions<T>& functions, unsigned int threads)
{
    plan.beginRows(threads);
    if (threads == 1)
        return functions.factorRows(plan.rowTask(data, 0));
    const WorkShares& shares = plan.rowShares(threads);
    Counter numbers;
    Counter subtrees;
    std::atomic<unsigned int> running{threads};
    runOnThreads(kTaskName, threads, [&] {
        const RowFactorization<T> task = plan.rowTask(data, numbers.next());
        factorSubtrees(shares, subtrees, task, functions.factorRows);
        if (running.fetch_sub(1, std::memory_order_acq_rel) == 1)
            functions.factorRows(withUnits(task, shares.above.data(), shares.above.size()));
    });
}

/// Panels within subtrees side by side, then those above, each on the thread that is free first. A
/// panel waits for one that it takes products from. That cannot deadlock: of the panels begun the
/// first waits for none.
template <class T>
void factorByPanels(const OrvelData<T>& data, FactorPlan<T>& plan,
                    const FactorFunctions<T>& functions, unsigned int threads)
{
    plan.beginPanels(threads);
    if (threads == 1) {
        PanelFactorization<T> all = plan.panelTask(data, 0);
        all.finished = nullptr;
        return functions.factorPanels(all);
    }
    const WorkShares& shares = plan.panelShares(threads);
    Counter numbers;
    Counter subtrees;
    Counter above;
    runOnThreads(kTaskName, threads, [&] {
        const PanelFactorization<T> task = plan.panelTask(data, numbers.next());
        factorSubtrees(shares, subtrees, task, functions.factorPanels);
        for (unsigned int p = above.next(); p < shares.above.size(); p = above.next())
            functions.factorPanels(withUnits(task, shares.above.data() + p, 1));
    });
}

} // namespace

void waitUntilSet(const unsigned char& flag)
{
    for (int spins = 0; !__atomic_load_n(&flag, __ATOMIC_ACQUIRE); ++spins)
        if (spins >= kSpins)
            std::this_thread::yield();
}

template <class T> bool factorFast(OrvelData<T>& data, unsigned int threads)
{
    const FactorFunctions<T>* const functions = factorFunctions<T>();
    if (!functions)
        return false;
    if (!data.factorPlan)
        data.factorPlan = std::make_shared<FactorPlan<T>>();
    FactorPlan<T>& plan = *data.factorPlan;
    if (!plan.prepare(data))
        return false;
    zeroedWork(data, largestSquare(data.matrix));
    plan.layOutFactors(data);
    sizePivots(data);
    if (plan.goesByRows())
        factorByRows(data, plan, *functions, std::max(threads, 1u));
    else
        factorByPanels(data, plan, *functions, std::max(threads, 1u));
    data.hasPivotScales = data.pivotScales != nullptr;
    data.scaledIsProduct = 1;
    data.factored = 1;
    return true;
}

template bool factorFast(OrvelData<float>&, unsigned int);
template bool factorFast(OrvelData<double>&, unsigned int);

} // namespace detail
} // namespace kyrOrvel
