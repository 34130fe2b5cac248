#include "detail/FactorFast.h"

#include "detail/FactorPath.h"
#include "detail/FactorPlan.h"
#include "detail/FactorStorage.h"
#include "detail/RunOnThreads.h"
#include "detail/SerialWork.h"

#include <algorithm>
#include <atomic>
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

/// The units of a subtree.
template <class Task> Task subtreeOf(const Task& task, const WorkShares& shares, unsigned int s)
{
    Task result = task;
    result.units = shares.nodes.data() + shares.subtreeStart[s];
    result.numUnits = shares.subtreeStart[s + 1] - shares.subtreeStart[s];
    return result;
}

/// Rows within subtrees side by side, then those above on the thread that comes last.
template <class T> class ParallelRows {
public:
    ParallelRows(const OrvelData<T>& data, FactorPlan<T>& plan, const FactorFunctions<T>& functions,
                 unsigned int threads)
        : m_data(data),
          m_plan(plan),
          m_functions(functions),
          m_shares(plan.rowShares(threads)),
          m_running(threads)
    {
    }

    void work()
    {
        const RowFactorization<T> task = m_plan.rowTask(m_data, m_threads.next());
        for (unsigned int s = m_subtrees.next(); s < m_shares.numSubtrees(); s = m_subtrees.next())
            m_functions.factorRows(subtreeOf(task, m_shares, s));
        if (m_running.fetch_sub(1, std::memory_order_acq_rel) > 1)
            return;
        RowFactorization<T> above = task;
        above.units = m_shares.above.data();
        above.numUnits = static_cast<unsigned int>(m_shares.above.size());
        m_functions.factorRows(above);
    }

private:
    const OrvelData<T>& m_data;
    FactorPlan<T>& m_plan;
    const FactorFunctions<T>& m_functions;
    const WorkShares& m_shares;
    Counter m_threads;
    Counter m_subtrees;
    std::atomic<unsigned int> m_running;
};

/// Panels within subtrees side by side, then those above, each on the thread that is free first. A
/// panel waits for one that it takes products from. That cannot deadlock: of the panels begun the
/// first waits for none.
template <class T> class ParallelPanels {
public:
    ParallelPanels(const OrvelData<T>& data, FactorPlan<T>& plan,
                   const FactorFunctions<T>& functions, unsigned int threads)
        : m_data(data), m_plan(plan), m_functions(functions), m_shares(plan.panelShares(threads))
    {
    }

    void work()
    {
        const PanelFactorization<T> task = m_plan.panelTask(m_data, m_threads.next());
        for (unsigned int s = m_subtrees.next(); s < m_shares.numSubtrees(); s = m_subtrees.next())
            m_functions.factorPanels(subtreeOf(task, m_shares, s));
        for (unsigned int p = m_above.next(); p < m_shares.above.size(); p = m_above.next()) {
            PanelFactorization<T> one = task;
            one.units = m_shares.above.data() + p;
            one.numUnits = 1;
            m_functions.factorPanels(one);
        }
    }

private:
    const OrvelData<T>& m_data;
    FactorPlan<T>& m_plan;
    const FactorFunctions<T>& m_functions;
    const WorkShares& m_shares;
    Counter m_threads;
    Counter m_subtrees;
    Counter m_above;
};

template <class T>
void factorByRows(const OrvelData<T>& data, FactorPlan<T>& plan,
                  const FactorFunctions<T>& functions, unsigned int threads)
{
    plan.beginRows(threads);
    if (threads == 1)
        return functions.factorRows(plan.rowTask(data, 0));
    ParallelRows<T> rows(data, plan, functions, threads);
    runOnThreads(kTaskName, threads, [&] { rows.work(); });
}

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
    ParallelPanels<T> panels(data, plan, functions, threads);
    runOnThreads(kTaskName, threads, [&] { panels.work(); });
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
    data.factored = 0;
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
    data.factored = 1;
    return true;
}

template bool factorFast(OrvelData<float>&, unsigned int);
template bool factorFast(OrvelData<double>&, unsigned int);

} // namespace detail
} // namespace kyrOrvel
