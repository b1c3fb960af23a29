#include "tests/viewer/FakeNames.h"

#include <condition_variable>
#include <cstring>
#include <mutex>

#include <dlfcn.h>
#include <netdb.h>

#define EXPORTED __attribute__((visibility("default")))

namespace fake_names {

namespace {

std::mutex s_mutex;
std::condition_variable s_changed;
int s_waiting = 0;
int s_answers = 0;

}  // namespace

EXPORTED bool AwaitQuestions(int count)
{
    std::unique_lock<std::mutex> lock(s_mutex);
    return s_changed.wait_for(lock, CONST_PATIENCE, [count] { return s_waiting >= count; });
}

EXPORTED int Waiting()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    return s_waiting;
}

EXPORTED void Answer()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    ++s_answers;
    s_changed.notify_all();
}

}  // namespace fake_names

extern "C" EXPORTED int getaddrinfo(const char* node, const char* service,
                                    const struct addrinfo* hints, struct addrinfo** result)
{
    using namespace fake_names;
    const bool asks = nullptr == hints || 0 == (hints->ai_flags & AI_NUMERICHOST);
    if (asks && nullptr != node && 0 == std::strcmp(node, CONST_SILENT)) {
        std::unique_lock<std::mutex> lock(s_mutex);
        ++s_waiting;
        s_changed.notify_all();
        s_changed.wait_for(lock, CONST_PATIENCE,
                           [before = s_answers] { return s_answers > before; });
        --s_waiting;
        return EAI_NONAME;
    }
    static const auto real =
        reinterpret_cast<decltype(&::getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(node, service, hints, result);
}
