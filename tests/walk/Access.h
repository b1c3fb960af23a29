#pragma once

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/OverlayState.h"

namespace walk {

/// A look at what only a derived class sees. Nobody makes one of these.
struct MainAccess : CLS_MainPlayer
{
    static int Id(const CLS_MainPlayer& p) { return p.*(&MainAccess::m_iMainPlayId); }
    static int Correct(const CLS_MainPlayer& p) { return p.*(&MainAccess::m_iFishCorrectId); }
    static void* Window(const CLS_MainPlayer& p) { return p.*(&MainAccess::m_pMainWindow); }
    static void* Handle(const CLS_MainPlayer& p) { return p.*(&MainAccess::m_pFcuHandle); }
    static bool Corrected(const CLS_MainPlayer& p) { return p.*(&MainAccess::m_blFishEyeEnabled); }
    static STRUCT_FishEyeParam Camera(const CLS_MainPlayer& p)
    {
        return p.*(&MainAccess::m_stFishEyeParam);
    }
    static bool HasThread(const CLS_MainPlayer& p)
    {
        return nullptr != p.*(&MainAccess::m_pDrawThread);
    }
    static auto& Overlay(const CLS_MainPlayer& p) { return *(p.*(&MainAccess::m_pOverlay)); }
};

struct ViewAccess : CLS_SubPlayer
{
    static int Main(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_iMainPlayId); }
    static int Sub(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_iSubPlayId); }
    static void* Window(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_pWindow); }
    static tagCreateCorrectPara Create(const CLS_SubPlayer& p)
    {
        return p.*(&ViewAccess::m_stCreatePara);
    }
    static void* Handle(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_pFcuHandle); }
    static double X(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_dPtzX); }
    static double Y(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_dPtzY); }
    static int CreateType(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_iCreateType); }
    static int Mode(const CLS_SubPlayer& p) { return p.*(&ViewAccess::m_iCorrectMode); }
};

/// A view of the client's own making, put among a main player's: what is routed to it is kept, and
/// answered as the world answers.
class PlantedView : public CLS_SubPlayer
{
public:
    using CLS_SubPlayer::Move;

    int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>&) override
    {
        return World::IsWalker() ? World::Answer("GetPTZDrawData", {}) : 0;
    }
    int Move(STRUCT_CtlPointParam point, STRUCT_FishWindowRect rect) override
    {
        return World::Answer("MoveFromTo", {point.m_iStartX, point.m_iStartY, point.m_iEndX,
                                            point.m_iEndY, rect.m_iWidth, rect.m_iHeight});
    }
    int Move(int x, int y, STRUCT_FishWindowRect rect) override
    {
        return World::Answer("MoveBy", {x, y, rect.m_iWidth, rect.m_iHeight});
    }
    int Zoom(int step) override { return World::Answer("Zoom", {step}); }
    int PTZCtl(STRUCT_CtlParam param, n_PTZCtlCmd command) override
    {
        return World::Answer("PTZCtl", {param.m_iX, param.m_iY, param.m_iZoom, command});
    }
};

}  // namespace walk
