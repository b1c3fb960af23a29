// A weak stub for each of the engine's entry points; those that the manager calls are replaced by
// the recording ones.
#include "tests/support/Recorder.h"

#define ENTRY(pointer, exported, signature)                                                        \
    extern "C" __attribute__((weak)) int exported()                                                \
    {                                                                                              \
        return static_cast<int>(fake::Answer({#exported, {}, {}}));                                \
    }
#include "VideoPlayer_Vx/EngineEntries.def"
