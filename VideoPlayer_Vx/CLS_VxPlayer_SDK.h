#pragma once

#include "Common/Export.h"

struct tagCreateCorrectPara;

/// The libraries of one client.
namespace VX_Framework {

/// What the player engine and its binding have in common.
namespace VideoPlayer {

/// The binding to the player engine "libplaysdk.dylib": one static pointer for each of its 77 entry
/// points, null while the engine is not loaded or where it lacks the name.
///
/// Nothing here locks. LoadLib runs once, while the facade is constructed, and the pointers are
/// read without synchronisation afterwards; ReleaseLib must not run while an engine call does.
class VIDEOPLAYER_FISHEYE_API CLS_VxPlayer_SDK
{
public:
    /// What the engine calls for each corrected picture: player id, correction id, data, two
    /// unsigned values and the user pointer of the registration. The engine defines the meaning.
    using CorrectCallback = void (*)(int, int, void*, unsigned int, unsigned int, void*);

    /// The type behind the pointer of an entry point that this library never calls.
    using Unused = void();

    CLS_VxPlayer_SDK() = delete;

    /// Opens the engine by the name as given and resolves every entry point. A missing name leaves
    /// its pointer null and is no failure. True when the engine is open, now or before.
    static bool LoadLib(const char* _pcName);

    /// Closes the engine. The entry pointers keep their stale values and must not be called until
    /// LoadLib has resolved them again. Always true.
    static bool ReleaseLib();

    /// Records and logs a decode type; nothing reads it.
    static void SetDecordType(int _iDecodeType);

    /// Sets the engine's audio and video mode to video only. Call it after the engine is loaded:
    /// RV_SetAVMode is not tested for null. True when the engine took it.
    static bool SetDecodeMode();

#define ENTRY(pointer, exported, signature)                                                        \
    using pointer##_Function = signature;                                                          \
    static pointer##_Function* pointer;
#include "VideoPlayer_Vx/EngineEntries.def"
};

/// Switches the engine to hardware decoding. Call it after the engine is loaded: RV_SetVideoMode is
/// not tested for null. True when the engine took it.
VIDEOPLAYER_FISHEYE_API bool SetHardDecodeMode();

}  // namespace VideoPlayer
}  // namespace VX_Framework

using VX_Framework::VideoPlayer::SetHardDecodeMode;
