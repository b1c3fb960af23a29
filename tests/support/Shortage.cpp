#include "tests/support/Shortage.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <pthread.h>

namespace shortage {
namespace {

constexpr int NEVER = -1;

std::atomic<int> s_left{NEVER};  ///< requests until the one that fails
std::atomic<bool> s_struck{false};
std::atomic<Of> s_of{Of::Memory};
std::atomic<On> s_on{On::ThisThread};
thread_local bool t_isTheTests = false;

bool Strikes(Of of)
{
    if (s_left == NEVER || s_of != of || t_isTheTests != (s_on == On::ThisThread))
        return false;
    if (s_left.fetch_sub(1) != 0)
        return false;
    s_struck = true;
    return true;
}

}  // namespace

Shortage::Shortage(Of of, On on, int spared)
{
    t_isTheTests = true;
    s_of = of;
    s_on = on;
    s_struck = false;
    s_left = spared;
}

Shortage::~Shortage()
{
    s_left = NEVER;
}

bool Shortage::Struck() const
{
    return s_struck;
}

}  // namespace shortage

void* operator new(std::size_t size)
{
    void* memory = shortage::Strikes(shortage::Of::Memory) ? nullptr : std::malloc(size ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
               void* argument) noexcept
{
    static const auto next =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (shortage::Strikes(shortage::Of::Threads))
        return EAGAIN;
    return next(thread, attributes, run, argument);
}
