// A write to a connection whose other end is gone: an error, not the end of the process.
#pragma once

#include <csignal>
#include <ctime>

namespace engine {

/// While it lives, what its thread writes into a broken pipe or connection raises no SIGPIPE, whose
/// default is to end the process. libxcb writes without MSG_NOSIGNAL, and how SIGPIPE is handled is
/// the client's business, not a library's. Used on one thread; may be nested.
class BrokenPipe
{
public:
    BrokenPipe()
    {
        sigemptyset(&m_signal);
        sigaddset(&m_signal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_signal, &m_before);
    }
    ~BrokenPipe()
    {
        if (sigismember(&m_before, SIGPIPE) != 0)
            return;
        // It was not blocked, so one that is pending now has come since.
        const timespec now{};
        while (sigtimedwait(&m_signal, nullptr, &now) == SIGPIPE) {
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    BrokenPipe(const BrokenPipe&) = delete;
    BrokenPipe& operator=(const BrokenPipe&) = delete;

private:
    sigset_t m_signal;
    sigset_t m_before;
};

}  // namespace engine
