#include "WorkerPool.h"

#include <system_error>
#include <utility>

namespace kyr {

void Completion::finish(std::exception_ptr failure)
{
    // The waiting thread may end this object as soon as it sees the count at 0: signal under lock.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (failure && !m_failure)
        m_failure = std::move(failure);
    if (--m_running == 0)
        m_done.notify_all();
}

std::exception_ptr Completion::wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_done.wait(lock, [this] { return m_running == 0; });
    return m_failure;
}

Worker::Worker()
{
    const int error = start();
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start a worker thread");
}

Worker::~Worker()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_quit = true;
    }
    m_wake.notify_one();
    join();
}

void Worker::assign(unsigned int index, Job job)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_index = index;
        m_job = std::move(job);
    }
    m_wake.notify_one();
}

void Worker::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_job || m_quit; });
        if (m_quit)
            return;
        const Job job = std::exchange(m_job, nullptr);
        lock.unlock();
        job();
        lock.lock();
    }
}

WorkerPool& WorkerPool::instance()
{
    static WorkerPool pool;
    return pool;
}

WorkerPool::~WorkerPool()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_returned.wait(lock, [this] { return m_taken == 0; });
}

std::vector<std::unique_ptr<Worker>> WorkerPool::take(unsigned int n)
{
    std::vector<std::unique_ptr<Worker>> taken;
    taken.reserve(n);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        while (taken.size() < n && !m_idle.empty()) {
            taken.push_back(std::move(m_idle.back()));
            m_idle.pop_back();
        }
    }
    while (taken.size() < n)
        taken.push_back(std::make_unique<Worker>());
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_taken += n;
    return taken;
}

void WorkerPool::giveBack(std::vector<std::unique_ptr<Worker>> workers)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_taken -= workers.size();
    for (auto& worker : workers)
        m_idle.push_back(std::move(worker));
    m_returned.notify_all();
}

} // namespace kyr
