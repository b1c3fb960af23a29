#pragma once

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// The fisheye circle, which the main player's own engine window shows: creation makes the base's
/// checks and takes the identity, but asks nothing of the engine and writes no id.
class VIDEOPLAYER_FISHEYE_API CLS_FishEyeSubPlayer : public CLS_SubPlayer
{
public:
    /// The base's destructor runs the base's deletion, not this class's: the engine is asked to
    /// delete correction -1.
    ~CLS_FishEyeSubPlayer() override;

    int CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId, tagCreateCorrectPara para,
                     void* _pWindow, int* _piSubPlayerId) override;

    /// Does nothing. Always 0.
    int DeletePlayer() override;
};
