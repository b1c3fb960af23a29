#include "tests/support/Recorder.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace fake {

namespace {

Reply Return(std::intptr_t result)
{
    return [result](const Call&) { return result; };
}

std::intptr_t DefaultPoint(const Call& call)
{
    float* const result = call.Pointer<float>(2);
    result[0] = 0.25F;
    result[1] = 0.75F;
    return 0;
}

/// One line of two points: the count at the start of the line table, the first line's count at 8,
/// its points where the pointer at 16 says.
std::intptr_t DefaultOutline(const Call& call)
{
    char* table = nullptr;
    std::memcpy(&table, call.Pointer<char>(3) + 16, sizeof(table));
    float* points = nullptr;
    std::memcpy(&points, table + 16, sizeof(points));
    const std::int32_t lines = 1;
    const std::int32_t count = 2;
    std::memcpy(table, &lines, sizeof(lines));
    std::memcpy(table + 8, &count, sizeof(count));
    const float corners[] = {0.1F, 0.2F, 0.3F, 0.4F};
    std::memcpy(points, corners, sizeof(corners));
    return 0;
}

/// What the fakes answer to a client that scripts nothing: everything succeeds.
std::map<std::string, Reply> DefaultReplies()
{
    auto lastId = std::make_shared<std::atomic<int>>(10);
    return {
        {"RV_CreatePlayerForSpecialNeeds", Return(7)},
        {"RV_SetFishEyeCorrectEnable", Return(3)},
        {"RV_CreateFishEyeCorrect", [lastId](const Call&) { return ++*lastId; }},
        {"VxAlgo_FCU_Creat", Return(reinterpret_cast<std::intptr_t>(Handle()))},
        {"VxAlgo_FCU_Point_Transform", DefaultPoint},
        {"VxAlgo_FCU_Process", DefaultOutline},
    };
}

struct State
{
    std::mutex mutex;
    std::vector<Call> calls;
    std::map<std::string, std::deque<Reply>> next;
    std::map<std::string, Reply> always = DefaultReplies();
};

State& Shared()
{
    static State* const state = new State;  // outlives the threads that a test leaves behind
    return *state;
}

Reply TakeReply(State& state, const std::string& name)
{
    std::deque<Reply>& scripted = state.next[name];
    if (!scripted.empty()) {
        Reply reply = std::move(scripted.front());
        scripted.pop_front();
        return reply;
    }
    const auto standing = state.always.find(name);
    return standing == state.always.end() ? Return(0) : standing->second;
}

}  // namespace

void* Handle()
{
    static char object;
    return &object;
}

void Reset()
{
    State& state = Shared();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.calls.clear();
    state.next.clear();
    state.always = DefaultReplies();
}

void Next(const std::string& name, Reply reply)
{
    State& state = Shared();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.next[name].push_back(std::move(reply));
}

void Next(const std::string& name, std::intptr_t result)
{
    Next(name, Return(result));
}

void Always(const std::string& name, Reply reply)
{
    State& state = Shared();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.always[name] = std::move(reply);
}

void Always(const std::string& name, std::intptr_t result)
{
    Always(name, Return(result));
}

std::vector<Call> Calls()
{
    State& state = Shared();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.calls;
}

std::vector<Call> TakeCalls()
{
    State& state = Shared();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return std::exchange(state.calls, {});
}

std::vector<Call> CallsOf(const std::string& name)
{
    std::vector<Call> found;
    for (Call& call : Calls())
        if (call.name == name)
            found.push_back(std::move(call));
    return found;
}

std::vector<std::string> Names()
{
    std::vector<std::string> names;
    for (const Call& call : Calls())
        names.push_back(call.name);
    return names;
}

std::intptr_t Answer(Call call)
{
    State& state = Shared();
    Reply reply;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.calls.push_back(call);
        reply = TakeReply(state, call.name);
    }
    return reply(call);
}

}  // namespace fake
