#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

#include <cstddef>
#include <cstdint>

#include "Common/CommonFun.h"
#include "Common/Log.h"

namespace VX_Framework {
namespace VideoPlayer {

namespace {

constexpr Log s_debug(QtDebugMsg, "VideoPlayer_Vx");
constexpr Log s_warning(QtWarningMsg, "VideoPlayer_Vx");

void* s_lib = nullptr;
int s_iDecodeType = 0;

/// What RV_SetAVMode takes; the engine defines the meaning of the values.
struct tagAVMode
{
    std::int32_t iSize;
    std::int32_t iVideo;
    std::int32_t iAudio;
    std::int32_t iAac;
    std::int32_t iMainMode;
    std::int32_t iSubMode;
    std::int32_t iReserved;
};
static_assert(sizeof(tagAVMode) == 28);
static_assert(offsetof(tagAVMode, iMainMode) == 16);

constexpr int CONST_AV_MODE_KIND = 2;
constexpr int CONST_VIDEO_MODE_KIND = 3;

}  // namespace

// Defined here and not inline: GCC makes inline static members unique symbols, which would pin the
// library in memory.
#define ENTRY(pointer, exported, signature)                                                        \
    CLS_VxPlayer_SDK::pointer##_Function* CLS_VxPlayer_SDK::pointer = nullptr;
#include "VideoPlayer_Vx/EngineEntries.def"

bool CLS_VxPlayer_SDK::LoadLib(const char* _pcName)
{
    if (nullptr != s_lib)
        return true;
    if (nullptr != _pcName)
        s_lib = LDLib(_pcName);
    if (nullptr == s_lib)
        return false;
#define ENTRY(pointer, exported, signature)                                                        \
    pointer = reinterpret_cast<pointer##_Function*>(GetFunc(s_lib, #exported));
#include "VideoPlayer_Vx/EngineEntries.def"
    return true;
}

bool CLS_VxPlayer_SDK::ReleaseLib()
{
    if (nullptr != s_lib) {
        FreeLib(s_lib);
        s_lib = nullptr;  // sic: the entry pointers stay as they are
    }
    return true;
}

void CLS_VxPlayer_SDK::SetDecordType(int _iDecodeType)
{
    s_debug.Write("pokkel---SetDecordType s_iDecodeType =  ", s_iDecodeType,
                  " _iDecodeType =  ", _iDecodeType);
    s_iDecodeType = _iDecodeType;
}

bool CLS_VxPlayer_SDK::SetDecodeMode()
{
    tagAVMode stMode{int{sizeof(tagAVMode)}, 1, 0, 0, 5, 0, 0};
    s_debug.Write("RV_SetAVMode video=  ", stMode.iVideo, " audio=  ", stMode.iAudio,
                  " aac=  ", stMode.iAac, " main_mode=  ", stMode.iMainMode,
                  " sub_mode=  ", stMode.iSubMode);
    if (RV_SetAVMode(CONST_AV_MODE_KIND, &stMode, int{sizeof(stMode)}) >= 0)
        return true;
    s_warning.Write("RV_SetAVMode faild");
    return false;
}

bool SetHardDecodeMode()
{
    std::int32_t aiMode[4] = {int{sizeof(aiMode)}, 0, 256, 7};
    if (CLS_VxPlayer_SDK::RV_SetVideoMode(CONST_VIDEO_MODE_KIND, aiMode, int{sizeof(aiMode)}) >= 0)
        return true;
    s_warning.Write("SetHardDecodeMode faild");
    return false;
}

}  // namespace VideoPlayer
}  // namespace VX_Framework
