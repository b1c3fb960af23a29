// A client's callback that can be cleared for certain: when Set returns, the former one does not
// run any more.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace engine {

/// Holds one callback, whose last argument is the client's user pointer. Called by one thread at a
/// time; set from any thread, from within the callback as well.
template <typename... Args>
class Callback
{
public:
    using Function = void (*)(Args..., void*);

    /// Null clears. Waits for a running call to end, unless it is the caller's own. False: it is
    /// closed.
    bool Set(Function function, void* user)
    {
        std::unique_lock lock(m_lock);
        if (m_closed)
            return false;
        SetLocked(lock, function, user);
        return true;
    }

    /// Clears it for good: a client that still knows whose it was can set none any more.
    void Close()
    {
        std::unique_lock lock(m_lock);
        m_closed = true;
        SetLocked(lock, nullptr, nullptr);
    }

    bool IsSet() const
    {
        std::lock_guard lock(m_lock);
        return m_function != nullptr;
    }

    /// Whether one is set that has not been called yet.
    bool IsUnheard() const
    {
        std::lock_guard lock(m_lock);
        return m_unheard;
    }

    /// What the callback throws has nowhere to go.
    void Call(Args... args) noexcept
    {
        Function function = nullptr;
        void* user = nullptr;
        {
            std::lock_guard lock(m_lock);
            if (!m_function)
                return;
            function = m_function;
            user = m_user;
            m_unheard = false;
            ++m_run;
            m_runner = std::this_thread::get_id();
        }
        function(args..., user);
        {
            std::lock_guard lock(m_lock);
            m_runner = std::thread::id();
        }
        m_done.notify_all();
    }

private:
    void SetLocked(std::unique_lock<std::mutex>& lock, Function function, void* user)
    {
        m_function = function;
        m_user = user;
        m_unheard = function != nullptr;
        if (m_runner == std::this_thread::get_id())
            return;
        const std::uint64_t run = m_run;
        m_done.wait(lock, [&] { return m_runner == std::thread::id() || m_run != run; });
    }

    mutable std::mutex m_lock;
    std::condition_variable m_done;
    Function m_function = nullptr;
    void* m_user = nullptr;
    bool m_unheard = false;
    bool m_closed = false;
    std::thread::id m_runner;  ///< the thread that runs the callback; none when default
    std::uint64_t m_run = 0;
};

}  // namespace engine
