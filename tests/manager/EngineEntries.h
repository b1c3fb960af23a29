#pragma once

#include <cstring>
#include <vector>

#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

/// An entry point of the player engine.
struct EngineEntryName
{
    const char* pointer;   ///< the member of CLS_VxPlayer_SDK
    const char* exported;  ///< what the engine exports it as
};

/// All 77, in the order in which they are resolved. Written out here a second time, so that a slip
/// in the binding's own table, from which the fakes are made as well, shows.
constexpr EngineEntryName CONST_ENGINE_ENTRIES[] = {
    {"RV_SetAVMode", "RV_SetAVMode"},
    {"RV_SetVideoMode", "RV_SetVideoMode"},
    {"RV_CreateSystem", "RV_CreateSystem"},
    {"RV_DeleteSystem", "RV_DeleteSystem"},
    {"RV_CreatePlayerFromFile", "RV_CreatePlayerFromFile"},
    {"RV_DeletePlayer", "RV_DeletePlayer"},
    {"RV_DeletePlayerEx", "RV_DeletePlayerEx"},
    {"RV_RegisterEventMsg", "RV_RegisterEventMsg"},
    {"RV_RegisterNotifyPlayToEnd", "RV_RegisterNotifyPlayToEnd"},
    {"RV_RegisterNotifyGetDecAV", "RV_RegisterNotifyGetDecAV"},
    {"RV_SetPlayRect", "RV_SetPlayRect"},
    {"RV_SetPlayRectEx", "RV_SetPlayRectEx"},
    {"RV_Play", "RV_Play"},
    {"RV_Pause", "RV_Pause"},
    {"RV_Stop", "RV_Stop"},
    {"RV_PlayAudio", "RV_PlayAudio"},
    {"RV_StopAudio", "RV_StopAudio"},
    {"RV_SetAudioVolumn", "RV_SetAudioVolumn"},
    {"RV_SetAudioVolumeEx", "RV_SetAudioVolumeEx"},
    {"RV_GoBegin", "RV_GoBegin"},
    {"RV_GoEnd", "RV_GoEnd"},
    {"RV_FastForward", "RV_FastForward"},
    {"RV_SlowForward", "RV_SlowForward"},
    {"RV_FastBackward", "RV_FastBackward"},
    {"RV_StepForward", "RV_StepForward"},
    {"RV_StepBackward", "RV_StepBackward"},
    {"RV_Seek", "RV_Seek"},
    {"RV_SeekEx", "RV_SeekEx"},
    {"RV_GetFrameRate", "RV_GetFrameRate"},
    {"RV_GetPlayingFrameNum", "RV_GetPlayingFrameNum"},
    {"RV_GetPlayTime", "RV_GetPlayTime"},
    {"RV_GetFrameCount", "RV_GetFrameCount"},
    {"RV_GetBeginEnd", "RV_GetBeginEnd"},
    {"RV_GetFileName", "RV_GetFileName"},
    {"RV_CapturePic", "RV_CapturePic"},
    {"RV_CaptureBmpPic", "RV_CaptureBmpPic"},
    {"RV_CapturePicture", "RV_CapturePicture"},
    {"RV_CreatePlayerFromStream", "RV_CreatePlayerFromStream"},
    {"RV_PutStreamToPlayer", "RV_PutStreamToPlayer"},
    {"RV_StartMonitorCPU", "RV_StartMonitorCPU"},
    {"RV_StopMonitorCPU", "RV_StopMonitorCPU"},
    {"RV_GetVersion", "RV_GetVersion"},
    {"RV_SetEZoom", "RV_SetEZoom"},
    {"RV_ResetEZoom", "RV_ResetEZoom"},
    {"RV_AddEZoom", "RV_AddEZoom"},
    {"RV_RemoveEZoom", "RV_RemoveEZoom"},
    {"RV_GetVideoParam", "RV_GetVideoParam"},
    {"RV_DrawPolyOnLocalVideo", "RV_DrawPolyOnLocalVideo"},
    {"RV_VECleanup", "RV_VECleanup"},
    {"RV_VEAbort", "RV_VEAbort"},
    {"RV_SegmentToFile", "RV_SegmentToFile"},
    {"RV_RemoveAudio", "RV_RemoveAudio"},
    {"RV_RegisterVECallBack", "RV_RegisterVECallBack"},
    {"RV_Locate", "RV_Locate"},
    {"RV_GetCurFrameNo", "RV_GetCurFrameNo"},
    {"RV_GetVEState", "RV_GetVEState"},
    {"RV_Combine", "RV_Combine"},
    {"RV_SetVideoDecryptKey", "RV_SetVideoDecryptKey"},
    {"RV_GetVideoDecryptKey", "RV_GetVideoDecryptKey"},
    {"RV_CreatePlayerFromVod", "RV_CreatePlayerFromVoD"},
    {"RV_SetCleanVoDBuffer", "RV_SetCleanVoDBuffer"},
    {"RV_RegisterCommonEventCallBackEx", "RV_RegisterCommonEventCallBackEx"},
    {"RV_SetFrameListBufferSize", "RV_SetFrameListBufferSize"},
    {"RV_GetBeginEndTimeStamp", "RV_GetBeginEndTimeStamp"},
    {"RV_CleanStreamBuffer", "RV_CleanStreamBuffer"},
    {"RV_GetUserDataInfo", "RV_GetUserDataInfo"},
    {"RV_PlayerControl", "RV_PlayerControl"},
    {"RV_RegisterCommonEventCallBack_V4", "RV_RegisterCommonEventCallBack_V4"},
    {"RV_SetSrcRect", "RV_SetSrcRect"},
    {"RV_DrawText", "RV_DrawText"},
    {"RV_CreateFishEyeCorrect", "RV_CreateFishEyeCorrect"},
    {"RV_DeleteFishEyeCorrect", "RV_DeleteFishEyeCorrect"},
    {"RV_SetFishEyeCorrectCallBack", "RV_SetFishEyeCorrectCallBack"},
    {"RV_CreatePlayerForSpecialNeeds", "RV_CreatePlayerForSpecialNeeds"},
    {"RV_SetFishEyeCorrectEnable", "RV_SetFishEyeCorrectEnable"},
    {"RV_GetFishEyeCorrectPara", "RV_GetFishEyeCorrectPara"},
    {"RV_SetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"},
};

/// A pointer of the binding, as it stands.
struct EngineEntry
{
    const char* pointer;
    const char* exported;
    void* address;

    bool operator==(const EngineEntry& other) const
    {
        return 0 == std::strcmp(pointer, other.pointer) && address == other.address;
    }
};

/// Every pointer, in the order of the binding's table.
inline std::vector<EngineEntry> EngineEntries()
{
    using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;
    return {
#define ENTRY(pointer, exported, signature)                                                        \
    {#pointer, #exported, reinterpret_cast<void*>(CLS_VxPlayer_SDK::pointer)},
#include "VideoPlayer_Vx/EngineEntries.def"
    };
}

/// Sets every pointer to null.
inline void ForgetEngineEntries()
{
    using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;
#define ENTRY(pointer, exported, signature) CLS_VxPlayer_SDK::pointer = nullptr;
#include "VideoPlayer_Vx/EngineEntries.def"
}
