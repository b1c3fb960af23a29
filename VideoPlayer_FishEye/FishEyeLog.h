#pragma once

#include "Common/Log.h"

// The log of the facade, the players and the correction binding. Failures are warnings; information
// are the main player's refusals of a stream, a command for a kind of view that is not there, a
// drag that would leave the picture, and an outline that a view refuses.

constexpr char CONST_qstrFishEyeModuleName[] = "VideoPlayerFishEye";

constexpr Log s_warning(QtWarningMsg, CONST_qstrFishEyeModuleName);
constexpr Log s_info(QtInfoMsg, CONST_qstrFishEyeModuleName);
