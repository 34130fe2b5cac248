#ifndef KYRORVEL_CLIENT_ENDING_HELD_BACK_H
#define KYRORVEL_CLIENT_ENDING_HELD_BACK_H

#include <csignal>

namespace kyrOrvel {
namespace client {

/// Holds the signals that ask a program to end back from the calling thread: what arrives meanwhile
/// has its effect afterwards. Threads that were there before are not affected.
class EndingHeldBack {
public:
    EndingHeldBack()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : kSignals)
            sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &m_before);
    }
    ~EndingHeldBack() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    EndingHeldBack(const EndingHeldBack&) = delete;
    EndingHeldBack& operator=(const EndingHeldBack&) = delete;

    /// Whether one of them waits for the end of this, and for that alone.
    bool isAskedFor() const
    {
        sigset_t pending;
        sigpending(&pending);
        for (const int signal : kSignals)
            if (sigismember(&pending, signal) == 1 && sigismember(&m_before, signal) == 0)
                return true;
        return false;
    }

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

    sigset_t m_before;
};

} // namespace client
} // namespace kyrOrvel

#endif
