#include <kyr/ThreadTask>

#include "WorkerPool.h"

#include <algorithm>
#include <cfenv>
#include <thread>

namespace kyr {

namespace {

void call(const Callback& callback)
{
    if (callback.enabled && callback.function)
        callback.function();
}

/// What one execution of a task shares with its workers.
struct Execution {
    Completion completion;
    const Callback& callback;
    std::fenv_t mode; ///< of the executing thread; workers have that of whoever started them

    void work()
    {
        std::fesetenv(&mode);
        std::exception_ptr failure;
        try {
            callback.function();
        } catch (...) {
            failure = std::current_exception();
        }
        completion.finish(std::move(failure));
    }
};

/// Runs a callback once on each of n workers, in the floating-point mode of the calling thread;
/// returns the first exception, or null.
std::exception_ptr runOnWorkers(unsigned int n, const Callback& callback)
{
    WorkerPool& pool = WorkerPool::instance();
    std::vector<std::unique_ptr<Worker>> workers = pool.take(n);
    Execution execution{Completion(n), callback, {}};
    std::fegetenv(&execution.mode);
    // From here on nothing may throw: a job with more than this reference would be allocated.
    for (unsigned int i = 0; i < n; ++i)
        workers[i]->assign(i, [&execution] { execution.work(); });
    std::exception_ptr failure = execution.completion.wait();
    pool.giveBack(std::move(workers));
    return failure;
}

} // namespace

void Task::execute(bool wait)
{
    run(wait);
}

ThreadTask::ThreadTask(const std::string& name, const Callback& first, const Callback& second)
    : Task(name), m_first(first), m_second(second)
{
}

void ThreadTask::setNumThreads(unsigned int n)
{
    m_numThreads = std::max(n, 1u);
}

void ThreadTask::run(bool wait)
{
    call(m_first);
    if (!m_second.enabled || !m_second.function)
        return;
    if (wait) {
        if (std::exception_ptr failure = runOnWorkers(m_numThreads, m_second))
            std::rethrow_exception(failure);
        return;
    }
    // With copies, the task may be set up anew at once.
    const auto work = [this, n = m_numThreads, second = m_second] {
        if (runOnWorkers(n, second))
            std::terminate();
        unref();
    };
    ref();
    try {
        std::thread(work).detach();
    } catch (...) {
        unref();
        throw;
    }
}

} // namespace kyr
