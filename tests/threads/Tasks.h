#ifndef KYRORVEL_TESTS_THREADS_TASKS_H
#define KYRORVEL_TESTS_THREADS_TASKS_H

#include <kyr/Thread>
#include <kyr/ThreadTask>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <numeric>
#include <vector>

namespace threads {

using kyr::Callback;
using kyr::Thread;
using kyr::ThreadTask;

inline const Callback kNothing{true, boost::function0<void>()};

inline Callback calling(const std::function<void()>& function)
{
    return {true, function};
}

/// A task that the test holds a reference to.
class HeldTask {
public:
    HeldTask(unsigned int n, const std::function<void()>& work)
        : HeldTask(n, kNothing, calling(work))
    {
    }
    HeldTask(unsigned int n, const Callback& first, const Callback& second)
        : m_task(new ThreadTask("held", first, second))
    {
        m_task->ref();
        m_task->setNumThreads(n);
    }
    ~HeldTask() { m_task->unref(); }
    HeldTask(const HeldTask&) = delete;
    HeldTask& operator=(const HeldTask&) = delete;

    ThreadTask* operator->() const { return m_task; }

private:
    ThreadTask* m_task;
};

inline unsigned int callingIndex()
{
    const auto* thread = dynamic_cast<const Thread*>(OpenThreads::Thread::CurrentThread());
    return thread ? thread->getIndex() : 0xFFFFFFFFu;
}

/// The indices that workers were called with.
class Indices {
public:
    void note()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_indices.push_back(callingIndex());
    }
    std::vector<unsigned int> sorted()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::sort(m_indices.begin(), m_indices.end());
        return m_indices;
    }

private:
    std::mutex m_mutex;
    std::vector<unsigned int> m_indices;
};

inline std::vector<unsigned int> upTo(unsigned int n)
{
    std::vector<unsigned int> indices(n);
    std::iota(indices.begin(), indices.end(), 0u);
    return indices;
}

/// Lets nobody pass before n threads have arrived: they all have to run at the same time.
class Barrier {
public:
    explicit Barrier(unsigned int n) : m_missing(n) {}
    void arriveAndWait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_missing == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned int m_missing;
};

} // namespace threads

#endif
