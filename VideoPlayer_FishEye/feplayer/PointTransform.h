#pragma once

#include <cstdint>

#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
#include "VideoPlayer_FishEye/feplayer/CorrectParaRecords.h"

/// Positions per picture width or height.
constexpr std::int32_t CONST_POSITION_UNITS = 10000;

/// Position units as a fraction of the picture.
constexpr float PositionFraction(std::int32_t iPosition)
{
    return static_cast<float>(iPosition / 10000.0);
}

/// Coordinates beyond the picture's right or bottom edge are moved onto its last unit; there is no
/// lower limit.
void ClampToPicture(STRUCT_FecPoint& stPoint);

/// One call of VxAlgo_FCU_Point_Transform, which must be resolved: where stFrom lies in another
/// space (CONST_SPACE_*). Returns 0 with the answer in stOut, in position units, or the library's
/// negative result with stOut as it was.
int TransformPoint(void* pHandle, std::int32_t iCreateType, std::int32_t iCorrectMode,
                   const tagFcuPoint& stFrom, std::int32_t iSrcType, std::int32_t iDstType,
                   STRUCT_FecPoint& stOut);
