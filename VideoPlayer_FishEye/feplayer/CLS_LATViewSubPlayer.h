#pragma once

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// The engine draws the "LAT" view alone; a query only tells whether a player is bound.
class VIDEOPLAYER_FISHEYE_API CLS_LATViewSubPlayer : public CLS_SubPlayer
{
public:
    ~CLS_LATViewSubPlayer() override;

    /// @cond
    using CLS_SubPlayer::GetCorrectPara;  // overriding one overload would hide the other
    /// @endcond

    /// 0 when the view is bound to a player, -1 otherwise. para stays as it is.
    int GetCorrectPara(tagCorrectPtzPara& para) override;
};
