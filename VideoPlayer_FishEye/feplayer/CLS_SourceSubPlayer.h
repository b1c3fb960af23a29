#pragma once

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// The picture as it is. The main player's own engine window shows it, so creation only takes the
/// identity of the window: it checks nothing, asks nothing of the engine and writes no id.
class VIDEOPLAYER_FISHEYE_API CLS_SourceSubPlayer : public CLS_SubPlayer
{
public:
    ~CLS_SourceSubPlayer() override;

    int CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId, tagCreateCorrectPara para,
                     void* _pWindow, int* _piSubPlayerId) override;
};
