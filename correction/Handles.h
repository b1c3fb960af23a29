// The handles that are alive.
#pragma once

#include <cstdint>
#include <shared_mutex>
#include <unordered_map>

namespace correction {

/// An instance holds nothing but whether it was initialised, so a handle is a number and never an
/// address: a stale one is recognised, and none can dangle while another thread works with it.
class Handles
{
public:
    void* Create();
    bool Release(void* pHandle);
    /// Marks a handle as initialised; false when there is no such handle.
    bool Initialise(void* pHandle);

    /// FCU_OK when the handle is ready for work, else the code that says why not.
    int Check(void* pHandle) const;

private:
    mutable std::shared_mutex m_mutex;
    std::unordered_map<std::uintptr_t, bool> m_initialised;
    std::uintptr_t m_uNext = 1;
};

}  // namespace correction
