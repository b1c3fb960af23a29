// One set of persistent threads that every player shares for its kernels.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "engine/dewarp/FunctionRef.h"

namespace dewarp {

/// Runs numbered pieces of work on its threads and on the calling one. Several threads may call Run
/// at the same time: their jobs are served in the order of their calls, each caller working on its
/// own. Run allocates nothing.
class Pool
{
public:
    /// @param threads how many threads work on a job, the calling one included; at least 1, and as
    /// many as can be had.
    explicit Pool(int threads);
    ~Pool();
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    /// The pool of the process: as many threads as the process may use processors. It is started
    /// by the first call and never ends, so that threads which outlive main may still use it.
    static Pool& Shared();

    /// How many threads work on a job, the calling one included.
    int Threads() const { return static_cast<int>(m_threads.size()) + 1; }

    /// Calls work(0) ... work(count - 1), each once, in any order and on any thread; returns when
    /// all of them have returned, and their effects are visible to the caller. The work must not
    /// throw; it may call Run.
    void Run(int count, FunctionRef<void(int)> work);

private:
    struct Job;

    void Work();
    Job* FirstOpen();
    void Unlink(Job& job);

    std::mutex m_mutex;
    std::condition_variable m_wake;
    Job* m_jobs = nullptr;  // guarded by m_mutex; jobs live on the stacks of their callers
    bool m_stop = false;    // guarded by m_mutex
    std::vector<std::thread> m_threads;
};

}  // namespace dewarp
