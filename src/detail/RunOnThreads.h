#ifndef KYRORVEL_DETAIL_RUN_ON_THREADS_H
#define KYRORVEL_DETAIL_RUN_ON_THREADS_H

#include <kyr/ThreadTask>

namespace kyrOrvel {
namespace detail {

/// Holds a reference to a task, also while an exception passes.
class TaskReference {
public:
    explicit TaskReference(kyr::ThreadTask* task) : m_task(task) { m_task->ref(); }
    ~TaskReference() { m_task->unref(); }
    TaskReference(const TaskReference&) = delete;
    TaskReference& operator=(const TaskReference&) = delete;

    kyr::ThreadTask* operator->() const { return m_task; }

private:
    kyr::ThreadTask* m_task;
};

/// Calls a function once on each of that many worker threads and, when all have returned, another
/// one here while there still is a task: a delete handler, which is told of its end, finds done
/// what that function does.
template <class Function, class Conclusion>
void runOnThreads(const char* name, unsigned int threads, const Function& function,
                  const Conclusion& conclude)
{
    const kyr::Callback none{true, boost::function0<void>()};
    const kyr::Callback second{true, boost::function0<void>(function)};
    const TaskReference task(new kyr::ThreadTask(name, none, second));
    task->setNumThreads(threads);
    task->execute(true);
    conclude();
}

/// Calls a function once on each of that many worker threads, and returns when all have returned.
template <class Function>
void runOnThreads(const char* name, unsigned int threads, const Function& function)
{
    runOnThreads(name, threads, function, [] {});
}

} // namespace detail
} // namespace kyrOrvel

#endif
