#pragma once

#include <cstdint>

#include <QVector>

#include "Common/Export.h"
#include "VideoPlayer_FishEye/feplayer/ControlRecords.h"
#include "VideoPlayer_FishEye/feplayer/CorrectParaRecords.h"

/// One corrected window of a main player, and the base of the view family: it opens and closes the
/// engine's correction window and gives every other operation a harmless default, so that a
/// command sent to a view that does not know it succeeds and does nothing.
///
/// Every operation returns 0 or more for success, -1 for a refusal (one log line), or the engine's
/// own result. Nothing locks: the client serialises the calls for one main player.
class VIDEOPLAYER_FISHEYE_API CLS_SubPlayer
{
public:
    CLS_SubPlayer() = default;
    CLS_SubPlayer(const CLS_SubPlayer&) = delete;
    CLS_SubPlayer& operator=(const CLS_SubPlayer&) = delete;

    /// Clears the engine's callback and closes the window, whether or not DeletePlayer has done so.
    virtual ~CLS_SubPlayer();

    /// Opens a correction window in the engine. Returns 0 and writes the correction id, or -1, or
    /// the engine's negative result; a failure leaves the object as it was.
    /// @param _pfcuHandle  algorithm instance, borrowed; null behind the reference is refused
    /// @param _iMainPlayerId  engine player, 0 or more
    /// @param para  creation record; kept as it stands after the engine has seen it
    /// @param _pWindow  the client's window handle, passed on unchanged
    /// @param _piSubPlayerId  receives the correction id
    virtual int CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId,
                             tagCreateCorrectPara para, void* _pWindow, int* _piSubPlayerId);

    /// Closes the correction window. Returns the engine's result; the ids stay.
    virtual int DeletePlayer();

    /// @{
    /// The harmless default: returns 0, reads and changes nothing.
    virtual int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& data);
    virtual int CreatePtzDraw(void* const& _pfcuHandle, tagCreateCorrectPara para, int iDrawType);
    virtual int Move(STRUCT_CtlPointParam stPoint, STRUCT_FishWindowRect _rect);
    virtual int Move(int x, int y, STRUCT_FishWindowRect _rect);
    virtual int Zoom(int iStep);
    virtual int PTZCtl(STRUCT_CtlParam param, n_PTZCtlCmd cmd);
    virtual int GetCorrectPara(tagCorrectPtzPara& para);
    virtual int GetCorrectPara(tagCorrectWideScanPara& para);
    virtual int SetCorrectPara(tagCorrectPtzPara& para);
    virtual int SetCorrectPara(tagCorrectWideScanPara& para);
    /// @}

    /// The engine's correction id, -1 while there is none.
    int GetSubPlayId();

    /// Registers what the engine calls for each picture of this view, or clears it with null.
    /// Returns the engine's result, or -1.
    int SetFecCallBackFunc(void (*pfn)(int, int, void*, unsigned int, unsigned int, void*),
                           void* pUser);

protected:
    std::int32_t m_iMainPlayId = -1;        ///< the engine's player id
    std::int32_t m_iSubPlayId = -1;         ///< the engine's correction id
    void* m_pWindow = nullptr;              ///< the client's window handle
    tagCreateCorrectPara m_stCreatePara{};  ///< the creation record, and the position from then on
    void* m_pFcuHandle = nullptr;           ///< borrowed from the main player
    double m_dPtzX = 0.0;                   ///< centre of a pan/tilt/zoom view with its fractions
    double m_dPtzY = 0.0;                   ///< likewise
    std::int32_t m_iCreateType = 0;         ///< installation type of the camera
    std::int32_t m_iCorrectMode = 0;        ///< CORRECT_TYPE_*
};
