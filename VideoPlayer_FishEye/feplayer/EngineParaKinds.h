#pragma once

/// Kinds of live parameters that RV_GetFishEyeCorrectPara and RV_SetFishEyeCorrectPara take.
constexpr int CONST_PTZ_PARA = 1;        ///< tagCorrectPtzPara
constexpr int CONST_WIDE_SCAN_PARA = 3;  ///< tagCorrectWideScanPara
