// A small core library: plain where an engine would have its heaps and its job system.
#include <kyr/Abort>
#include <kyr/ByteAllocator>
#include <kyr/Prime>
#include <kyr/Thread>
#include <kyr/ThreadTask>

#include <cstdlib>
#include <exception>
#include <memory>
#include <new>

namespace kyr {

void abort()
{
    std::abort();
}

std::atomic<std::size_t> ByteAllocator::s_bytesHeld{0};
std::atomic<std::size_t> ByteAllocator::s_allocations{0};

void* ByteAllocator::allocateBytes(std::size_t bytes, std::size_t alignment)
{
    const std::size_t aligned = alignment < sizeof(void*) ? sizeof(void*) : alignment;
    void* pointer = nullptr;
    if (posix_memalign(&pointer, aligned, bytes) != 0)
        throw std::bad_alloc();
    s_bytesHeld += bytes;
    ++s_allocations;
    return pointer;
}

void ByteAllocator::deallocateBytes(void* pointer, std::size_t bytes)
{
    if (!pointer)
        return;
    s_bytesHeld -= bytes;
    std::free(pointer);
}

unsigned int nextPrime(unsigned int n)
{
    const auto isPrime = [](unsigned int candidate) {
        for (unsigned int d = 2; d <= candidate / d; ++d)
            if (candidate % d == 0)
                return false;
        return candidate > 1;
    };
    while (!isPrime(n))
        ++n;
    return n;
}

namespace {

Thread s_mainThread;

/// One worker of a task: runs it once and keeps the exception that left it.
class Worker : public Thread {
public:
    Worker(unsigned int index, const Callback& callback) : Thread(index), m_callback(callback) {}

    void run() override
    {
        try {
            m_callback.function();
        } catch (...) {
            failure = std::current_exception();
        }
    }

    std::exception_ptr failure;

private:
    const Callback& m_callback;
};

} // namespace

std::vector<Thread*> Thread::s_threads = {&s_mainThread};

std::atomic<unsigned int> ThreadTask::s_executed{0};

ThreadTask::ThreadTask(const std::string& name, const Callback& first, const Callback& second)
    : m_name(name), m_first(first), m_second(second)
{
}

void ThreadTask::execute(bool /*wait*/)
{
    ++s_executed;
    if (m_first.enabled && m_first.function)
        m_first.function();
    if (!m_second.enabled || !m_second.function)
        return;

    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned int i = 0; i < m_numThreads; ++i)
        workers.push_back(std::make_unique<Worker>(i, m_second));
    for (auto& worker : workers)
        worker->start();
    for (auto& worker : workers)
        worker->join();
    for (auto& worker : workers)
        if (worker->failure)
            std::rethrow_exception(worker->failure);
}

} // namespace kyr
