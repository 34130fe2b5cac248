#ifndef KYR_WORKER_POOL_H
#define KYR_WORKER_POOL_H

#include <kyr/Thread>

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace kyr {

/// Counts the workers of one execution that are still running.
class Completion {
public:
    explicit Completion(unsigned int workers) : m_running(workers) {}

    /// A worker has finished, with an exception or null.
    void finish(std::exception_ptr failure);

    /// Blocks until all have finished; returns the exception of the first that failed, or null.
    std::exception_ptr wait();

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    unsigned int m_running;
    std::exception_ptr m_failure;
};

/// A thread that does one job after the other.
class Worker : public Thread {
public:
    using Job = std::function<void()>;

    Worker();
    ~Worker() override;

    /// Hands an idle worker a job.
    void assign(unsigned int index, Job job);

    void run() override;

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    Job m_job;
    bool m_quit = false;
};

/// The workers of the process. Idle ones are reused, latest first; the pool grows when all are
/// busy.
class WorkerPool {
public:
    static WorkerPool& instance();

    /// Waits until all workers are back: an execution that nobody waits for may outlive main().
    ~WorkerPool();

    /// n idle workers, for the caller to use and return.
    std::vector<std::unique_ptr<Worker>> take(unsigned int n);
    void giveBack(std::vector<std::unique_ptr<Worker>> workers);

private:
    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::size_t m_taken = 0;
    std::vector<std::unique_ptr<Worker>> m_idle;
};

} // namespace kyr

#endif
