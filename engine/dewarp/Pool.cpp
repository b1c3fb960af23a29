#include "engine/dewarp/Pool.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <system_error>

#include <sched.h>

namespace dewarp {

namespace {

int UsableProcessors()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0)
        return CPU_COUNT(&set);
    return static_cast<int>(std::thread::hardware_concurrency());
}

}  // namespace

struct Pool::Job
{
    FunctionRef<void(int)> work;
    int count;
    std::atomic<int> next{0};
    int helpers = 0;  // pool threads inside this job; guarded by the pool's mutex
    Job* following = nullptr;
    std::condition_variable left;

    Job(int pieces, FunctionRef<void(int)> callable) : work(callable), count(pieces) {}

    bool Open() const { return next.load(std::memory_order_relaxed) < count; }

    void Take()
    {
        for (int i = 0; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;)
            work(i);
    }
};

Pool::Pool(int threads)
{
    // Where memory or threads run out the work is done by those that are there.
    try {
        m_threads.reserve(static_cast<std::size_t>(std::max(threads - 1, 0)));
        for (int i = 1; i < threads; ++i)
            m_threads.emplace_back([this] { Work(); });
    } catch (const std::bad_alloc&) {
    } catch (const std::system_error&) {
    }
}

Pool::~Pool()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

Pool& Pool::Shared()
{
    static Pool* const pool = new Pool(UsableProcessors());
    return *pool;
}

void Pool::Run(int count, FunctionRef<void(int)> work)
{
    Job job(count, work);
    const bool shared = count > 1 && !m_threads.empty();
    if (shared) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Job** last = &m_jobs;
        while (*last)
            last = &(*last)->following;
        *last = &job;
    }
    if (shared)
        m_wake.notify_all();
    job.Take();
    if (!shared)
        return;
    // The lock orders what the helpers wrote before the return, and keeps the job on this stack
    // until the last of them has let go of it.
    std::unique_lock<std::mutex> lock(m_mutex);
    Unlink(job);
    job.left.wait(lock, [&job] { return job.helpers == 0; });
}

void Pool::Work()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        Job* job = nullptr;
        m_wake.wait(lock, [&] { return m_stop || (job = FirstOpen()) != nullptr; });
        if (m_stop)
            return;
        ++job->helpers;
        lock.unlock();
        job->Take();
        lock.lock();
        if (--job->helpers == 0)
            job->left.notify_one();  // under the lock: the job is gone as soon as it is released
    }
}

Pool::Job* Pool::FirstOpen()
{
    Job* job = m_jobs;
    while (job && !job->Open())
        job = job->following;
    return job;
}

void Pool::Unlink(Job& job)
{
    Job** link = &m_jobs;
    while (*link != &job)
        link = &(*link)->following;
    *link = job.following;
}

}  // namespace dewarp
