#include "correction/Handles.h"

#include <mutex>

#include "correction/VxAlgoFcu.h"

namespace correction {
namespace {

std::uintptr_t KeyOf(void* pHandle)
{
    return reinterpret_cast<std::uintptr_t>(pHandle);
}

}  // namespace

void* Handles::Create()
{
    const std::unique_lock lock(m_mutex);
    m_initialised.emplace(m_uNext, false);
    return reinterpret_cast<void*>(m_uNext++);
}

bool Handles::Release(void* pHandle)
{
    const std::unique_lock lock(m_mutex);
    return m_initialised.erase(KeyOf(pHandle)) > 0;
}

bool Handles::Initialise(void* pHandle)
{
    const std::unique_lock lock(m_mutex);
    const auto it = m_initialised.find(KeyOf(pHandle));
    if (it == m_initialised.end())
        return false;
    it->second = true;
    return true;
}

int Handles::Check(void* pHandle) const
{
    const std::shared_lock lock(m_mutex);
    const auto it = m_initialised.find(KeyOf(pHandle));
    if (it == m_initialised.end())
        return FCU_BAD_HANDLE;
    return it->second ? FCU_OK : FCU_NOT_INITIALISED;
}

}  // namespace correction
