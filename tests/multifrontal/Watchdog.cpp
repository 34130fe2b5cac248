// A deadlock must not hang the program: a test that takes longer than any of them can ends it.

#include "Soak.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

class Watchdog : public testing::EmptyTestEventListener {
public:
    void OnTestStart(const testing::TestInfo& /*info*/) override
    {
        m_ended = false;
        m_thread = std::thread([this] { watch(); });
    }

    void OnTestEnd(const testing::TestInfo& /*info*/) override
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ended = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }

private:
    void watch()
    {
        const std::chrono::seconds limit(240 + support::soakRuns() / 10);
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_wake.wait_for(lock, limit, [this] { return m_ended; }))
            return;
        std::fprintf(stderr, "the test does not end: a deadlock\n");
        std::abort();
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_ended = false;
    std::thread m_thread;
};

[[maybe_unused]] const bool s_installed = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return true;
}();

} // namespace
