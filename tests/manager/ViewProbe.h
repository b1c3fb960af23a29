#pragma once

#include <string>

#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "tests/manager/RecordBytes.h"
#include "tests/support/ManagerTest.h"

/// A view whose members a test can see and set.
template <class View>
class Probe : public View
{
public:
    using View::m_dPtzX;
    using View::m_dPtzY;
    using View::m_iCorrectMode;
    using View::m_iCreateType;
    using View::m_iMainPlayId;
    using View::m_iSubPlayId;
    using View::m_pFcuHandle;
    using View::m_pWindow;
    using View::m_stCreatePara;
};

/// The bytes of a record, as they stand.
template <class T>
std::string Bytes(const T& record)
{
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

/// A record whose bytes count up from 1, so that no two fields are alike.
template <class T>
T Numbered()
{
    T record;
    auto* const bytes = reinterpret_cast<unsigned char*>(&record);
    for (std::size_t i = 0; i < sizeof(record); ++i)
        bytes[i] = static_cast<unsigned char>(i + 1);
    return record;
}

/// Two texts, each followed by its value, and the closing bracket.
inline std::string WithValues(const std::string& first, long long firstValue,
                              const std::string& second, long long secondValue)
{
    return WithValue(first + " " + std::to_string(firstValue) + " " + second, secondValue);
}

/// The engine's record of a pan/tilt/zoom window; its own five fields are all different.
inline RecordBytes PtzRecord(int x, int y, int zoom)
{
    return RecordBytes(32)
        .Int(0, 0x11223344)
        .Int(4, -2)
        .Int(8, x)
        .Int(12, y)
        .Int(16, zoom)
        .Int(20, 0x55667788)
        .Int(24, -3)
        .Int(28, 77);
}

/// The engine answers every question for parameters with the bytes given.
inline void EngineHolds(const std::string& record)
{
    fake::Always("RV_GetFishEyeCorrectPara", [record](const fake::Call& call) {
        std::memcpy(call.Pointer<char>(3), record.data(), record.size());
        return 0;
    });
}

/// The record that the library has written to the engine; it must have written just one.
inline std::string Written()
{
    const std::vector<fake::Call> calls = fake::CallsOf("RV_SetFishEyeCorrectPara");
    return calls.size() == 1 ? calls.front().records.front()
                             : std::to_string(calls.size()) + " records";
}

/// A call as text, e.g. "RV_DeleteFishEyeCorrect(7, 11)"; pointers are numbers.
inline std::string Shown(const std::string& name, const std::vector<std::intptr_t>& arguments)
{
    std::string text = name + "(";
    for (const std::intptr_t argument : arguments)
        text += (text.back() == '(' ? "" : ", ") + std::to_string(argument);
    return text + ")";
}

inline std::vector<std::string> Shown(const std::vector<fake::Call>& calls)
{
    std::vector<std::string> texts;
    for (const fake::Call& call : calls)
        texts.push_back(Shown(call.name, call.arguments));
    return texts;
}

/// A pan/tilt/zoom view: engine player 7, correction 11.
class PtzTest : public ManagerTest
{
protected:
    PtzTest() { CLS_VxAlgoFcu::LoadLib(); }
    ~PtzTest() override
    {
        fake::Reset();
        m_log.TakeLines();
    }

    /// Opens the view at (4000, 6000), zoom 9000. The square outline needs no algorithm, save in
    /// mode 0x300. Neither lines nor calls stay behind.
    void Open(int createType, int mode = 0x400, int drawType = n_DrawType_Rect)
    {
        tagCreateCorrectPara para{};
        para.iSize = 88;
        para.iCreateType = createType;
        para.iCorrectMode = mode;
        para.iPTZPositionX = 4000;
        para.iPTZPositionY = 6000;
        para.iPTZZoom = 9000;
        m_view.CreatePtzDraw(m_pHandle, para, drawType);
        para.iCorrectMode = 0x100;
        int id = -1;
        m_view.CreatePlayer(m_pHandle, 7, para, Window(5), &id);
        Lines();
        Calls();
    }

    void* m_pHandle = fake::Handle();
    Probe<CLS_PTZSubPlayer> m_view;
};
