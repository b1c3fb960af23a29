// How many threads this process has. The kernel may still list one that has been joined already.
#pragma once

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace threads {

inline int Count()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

/// As soon as two counts some time apart are the same; the last one when that does not come.
inline int Settled(std::chrono::seconds patience)
{
    constexpr std::chrono::milliseconds APART{50};
    const auto end = std::chrono::steady_clock::now() + patience;
    for (int before = Count();;) {
        std::this_thread::sleep_for(APART);
        const int now = Count();
        if (now == before || std::chrono::steady_clock::now() > end)
            return now;
        before = now;
    }
}

/// As soon as there are at most so many; the last count when that does not come.
inline int AtMost(int count, std::chrono::seconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    int now = Count();
    while (now > count && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        now = Count();
    }
    return now;
}

}  // namespace threads
