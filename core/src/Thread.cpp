#include <kyr/Thread>

namespace kyr {

namespace {

Thread s_mainThread;

} // namespace

std::vector<Thread*> Thread::s_threads = {&s_mainThread};

} // namespace kyr
