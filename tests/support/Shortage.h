// Memory and threads that run out on demand. A program with this file's .cpp has an operator new
// and a pthread_create that fail when a test wants them to, in every library that it loads.
#pragma once

namespace shortage {

enum class Of
{
    Memory,  ///< operator new throws std::bad_alloc
    Threads  ///< pthread_create returns EAGAIN
};

enum class On
{
    ThisThread,
    OtherThreads
};

/// While it lives, the request that comes after `spared` others fails, and no other one. One at a
/// time.
class Shortage
{
public:
    Shortage(Of of, On on, int spared);
    ~Shortage();
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;

    /// Whether the request that is to fail has come.
    bool Struck() const;
};

}  // namespace shortage
