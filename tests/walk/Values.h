#pragma once

#include <cstdint>
#include <cstring>
#include <limits>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/walk/ByteSource.h"

namespace walk {

/// Arguments and answers: mostly plausible ones, so that a walk gets anywhere, and often enough the
/// limits at which arithmetic goes wrong.
class Values
{
public:
    explicit Values(ByteSource& source) : m_source(source) {}

    std::int32_t Int()
    {
        static constexpr std::int32_t limits[] = {std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::min() + 1,
                                                  std::numeric_limits<std::int32_t>::max(),
                                                  std::numeric_limits<std::int32_t>::max() - 1,
                                                  -10001,
                                                  -10000,
                                                  -9999,
                                                  -1,
                                                  0,
                                                  1,
                                                  499,
                                                  500,
                                                  501,
                                                  4999,
                                                  5000,
                                                  5001,
                                                  9499,
                                                  9500,
                                                  9501,
                                                  9999,
                                                  10000,
                                                  10001,
                                                  20000,
                                                  41340,
                                                  41341,
                                                  46340,
                                                  46341,
                                                  214748,
                                                  214749,
                                                  -214748,
                                                  -214749,
                                                  429497};
        switch (m_source.Below(8)) {
        case 0:
            return m_source.Below(16) - 3;
        case 1:
            return m_source.OneOf(limits);
        case 2:
            return static_cast<std::int32_t>(m_source.Word());
        case 3:
            return m_source.Below(2001) - 1000;
        default:
            return m_source.Below(10001);
        }
    }

    float Float()
    {
        static constexpr float limits[] = {0.0F,
                                           1.0F,
                                           -1.0F,
                                           0.5F,
                                           0.9999F,
                                           0.99999994F,
                                           1.0001F,
                                           -0.00001F,
                                           1e-40F,
                                           214748.0F,
                                           214748.36F,
                                           214748.37F,
                                           -214748.0F,
                                           -214748.37F,
                                           1e30F,
                                           -1e30F,
                                           std::numeric_limits<float>::infinity(),
                                           -std::numeric_limits<float>::infinity(),
                                           std::numeric_limits<float>::quiet_NaN(),
                                           std::numeric_limits<float>::max()};
        switch (m_source.Below(8)) {
        case 6:
            return m_source.OneOf(limits);
        case 7: {
            const std::uint32_t bits = m_source.Word();
            float value = 0;
            std::memcpy(&value, &bits, sizeof(value));
            return value;
        }
        default:
            return static_cast<float>(m_source.Below(65536)) / 65535.0F;
        }
    }

    /// A window handle, null now and then.
    void* Window()
    {
        return m_source.OneIn(24) ? nullptr
                                  : reinterpret_cast<void*>(std::intptr_t{1 + m_source.Below(99)});
    }

    STRUCT_FishWindowRect Rect()
    {
        static constexpr std::int32_t sizes[] = {640, 480, 1000, 720, 1, 1920, 10000, 2};
        const auto side = [this] { return m_source.OneIn(8) ? Int() : m_source.OneOf(sizes); };
        const std::int32_t iWidth = side();
        return {iWidth, side()};
    }

    STRUCT_CtlParam Step()
    {
        const std::int32_t iX = Int();
        const std::int32_t iY = Int();
        return {iX, iY, Int()};
    }

    STRUCT_CtlPointParam Drag()
    {
        const std::int32_t iX = Int();
        const std::int32_t iY = Int();
        if (m_source.OneIn(4))
            return {iX, iY, iX, iY};
        if (m_source.Coin())
            return {iX, iY, Int(), Int()};
        return {iX, iY, static_cast<std::int32_t>(iX + std::int64_t{m_source.Below(64)} - 32),
                static_cast<std::int32_t>(iY + std::int64_t{m_source.Below(64)} - 32)};
    }

    n_CtlCmd WindowCommand()
    {
        return static_cast<n_CtlCmd>(m_source.OneIn(8) ? Int() : m_source.Below(2));
    }

    n_PTZCtlCmd ButtonCommand()
    {
        return static_cast<n_PTZCtlCmd>(m_source.OneIn(8) ? Int() : m_source.Below(10));
    }

    int CorrectType() { return m_source.OneIn(12) ? Int() : 0x100 * m_source.Below(6); }

    int InstallationType() { return m_source.OneIn(12) ? Int() : m_source.Below(4); }

    int DrawType() { return m_source.OneIn(12) ? Int() : m_source.Below(2); }

    STRUCT_FishEyeParam Camera()
    {
        const int iInstallation = InstallationType();
        return {iInstallation, CorrectType()};
    }

    /// Any bytes as a record of a client.
    template <class Record>
    Record Filled()
    {
        std::int32_t words[sizeof(Record) / sizeof(std::int32_t)];
        for (std::int32_t& word : words)
            word = Int();
        Record record;
        std::memcpy(&record, words, sizeof(record));
        return record;
    }

private:
    ByteSource& m_source;
};

}  // namespace walk
