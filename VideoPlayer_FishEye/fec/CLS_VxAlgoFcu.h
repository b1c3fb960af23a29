#pragma once

#include "Common/Export.h"

/// The binding to the correction algorithm library "vx_algo_fcu.dylib": six static entry points,
/// null while it is not loaded or where it lacks the name. It is never unloaded.
///
/// Nothing here locks: LoadLib runs within the construction of a main player, which the client
/// serialises, and the pointers are read without synchronisation afterwards.
class VIDEOPLAYER_FISHEYE_API CLS_VxAlgoFcu
{
public:
    /// The type behind the entry point that is resolved and never called.
    using Unused = void();

    /// Loads the library by file name, as QLibrary searches for it, and resolves the entry points.
    /// 0 when everything was found, and whenever the library is loaded already (also when names
    /// were missing then); -1 otherwise, one log line for each reason. A failed load is tried again
    /// at the next call.
    static int LoadLib();

    /// Does nothing. Always -1.
    static int ReleaseLib();

    static bool m_blLoaded;  ///< the library is open, whether or not every name was found

#define ENTRY(name, signature, text)                                                               \
    using name##_Function = signature;                                                             \
    static name##_Function* name;
#include "VideoPlayer_FishEye/fec/AlgorithmEntries.def"
};
