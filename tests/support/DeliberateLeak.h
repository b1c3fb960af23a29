#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define FISHEYE_LEAK_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FISHEYE_LEAK_CHECK 1
#endif
#endif

#ifdef FISHEYE_LEAK_CHECK
#include <sanitizer/lsan_interface.h>
#endif

/// While it lives, what this thread allocates may leak. Made with the reason for which the library
/// leaves an object behind, at the very call that does it.
class DeliberateLeak
{
public:
    explicit DeliberateLeak(const char* /*reason*/)
    {
#ifdef FISHEYE_LEAK_CHECK
        __lsan_disable();
#endif
    }
    ~DeliberateLeak()
    {
#ifdef FISHEYE_LEAK_CHECK
        __lsan_enable();
#endif
    }
    DeliberateLeak(const DeliberateLeak&) = delete;
    DeliberateLeak& operator=(const DeliberateLeak&) = delete;
};
