#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/support/DeliberateLeak.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Recorder.h"

/// A test that starts with fresh fakes and an empty log. The facade's instance exists, so that the
/// engine is loaded as a client has it.
class ManagerTest : public ::testing::Test
{
protected:
    ManagerTest()
    {
        CLS_FishPlayer::GetInstance();
        fake::Reset();
        m_log.TakeLines();
    }

    /// The lines and the calls since the last look; each look forgets them.
    std::vector<LogLine> Lines() { return m_log.TakeLines(); }
    std::vector<fake::Call> Calls() { return fake::TakeCalls(); }

    LogCapture m_log;
};

/// A window handle of a client: any pointer.
inline void* Window(std::intptr_t number)
{
    return reinterpret_cast<void*>(number);
}

/// A stream header of iSize bytes (4 or more) that says so, the description counting up from 1.
inline std::vector<unsigned char> StreamHeader(std::int32_t iSize = 12)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(iSize));
    std::memcpy(bytes.data(), &iSize, sizeof(iSize));
    for (std::size_t i = 4; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i - 3);
    return bytes;
}
