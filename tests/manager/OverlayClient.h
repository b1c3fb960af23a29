#pragma once

#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"

/// A client of the overlay: counts the cycles that reach its callback and keeps what they brought.
/// One at a time, because a callback carries nothing that would tell two of them apart.
class OverlayClient
{
public:
    OverlayClient() { Reset(); }

    /// The callback to register. Returns a value that must not matter.
    static int Draw(int iFirst, int iSecond, DrawOutlines outlines)
    {
        State& state = Shared();
        const std::lock_guard<std::mutex> lock(state.mutex);
        ++state.cycles;
        state.integers.insert({iFirst, iSecond});
        state.threads.insert(std::this_thread::get_id());
        state.last = std::move(outlines);
        state.changed.notify_all();
        return -1;
    }

    /// Waits until the callback has been called that many times since the client was made.
    void AwaitCycles(int count)
    {
        State& state = Shared();
        std::unique_lock<std::mutex> lock(state.mutex);
        state.changed.wait(lock, [&] { return state.cycles >= count; });
    }

    int Cycles() { return Copy(Shared().cycles); }
    std::set<std::pair<int, int>> Integers() { return Copy(Shared().integers); }
    std::set<std::thread::id> Threads() { return Copy(Shared().threads); }
    DrawOutlines Last() { return Copy(Shared().last); }

private:
    struct State
    {
        std::mutex mutex;
        std::condition_variable changed;
        int cycles = 0;
        std::set<std::pair<int, int>> integers;
        std::set<std::thread::id> threads;
        DrawOutlines last;
    };

    static State& Shared()
    {
        static State* const state = new State;  // outlives a thread that a test leaves behind
        return *state;
    }

    static void Reset()
    {
        State& state = Shared();
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.cycles = 0;
        state.integers.clear();
        state.threads.clear();
        state.last.clear();
    }

    template <class T>
    static T Copy(const T& value)
    {
        const std::lock_guard<std::mutex> lock(Shared().mutex);
        return value;
    }
};
