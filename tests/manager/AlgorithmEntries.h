#pragma once

#include <vector>

#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"

/// A pointer of the binding to the algorithm library, as it stands.
struct AlgorithmEntry
{
    const char* name;
    void* address;
};

/// All six; the names are written out here a second time, as those of the engine are.
inline std::vector<AlgorithmEntry> AlgorithmEntries()
{
    const auto address = [](auto* function) { return reinterpret_cast<void*>(function); };
    return {
        {"VxAlgo_FCU_Creat", address(CLS_VxAlgoFcu::VxAlgo_FCU_Creat)},
        {"VxAlgo_FCU_Release", address(CLS_VxAlgoFcu::VxAlgo_FCU_Release)},
        {"VxAlgo_FCU_Init", address(CLS_VxAlgoFcu::VxAlgo_FCU_Init)},
        {"VxAlgo_FCU_Process", address(CLS_VxAlgoFcu::VxAlgo_FCU_Process)},
        {"VxAlgo_FCU_GetLibInfo", address(CLS_VxAlgoFcu::VxAlgo_FCU_GetLibInfo)},
        {"VxAlgo_FCU_Point_Transform", address(CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform)},
    };
}
