#pragma once

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// The engine draws the 180-degree view alone; a horizontal drag turns it.
class VIDEOPLAYER_FISHEYE_API CLS_180ViewSubPlayer : public CLS_SubPlayer
{
public:
    ~CLS_180ViewSubPlayer() override;

    /// @cond
    // Overriding one overload would hide the other.
    using CLS_SubPlayer::GetCorrectPara;
    using CLS_SubPlayer::Move;
    using CLS_SubPlayer::SetCorrectPara;
    /// @endcond

    /// Turns the view by x window pixels; the full width turns it by 180 degrees. y is ignored.
    /// The angle stays within -179..179, in whole degrees.
    int Move(int x, int y, STRUCT_FishWindowRect _rect) override;

    /// Reads the view's parameters from the engine. Returns the engine's result, or -1.
    int GetCorrectPara(tagCorrectWideScanPara& para) override;

    /// Writes the view's parameters to the engine. Returns the engine's result, or -1.
    int SetCorrectPara(tagCorrectWideScanPara& para) override;
};
