#pragma once

#include <cstdint>
#include <memory>
#include <thread>

#include <QMap>
#include <QMutex>
#include <QString>
#include <QVector>

#include "Common/Export.h"
#include "VideoPlayer_FishEye/feplayer/ControlRecords.h"
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"

class CLS_SubPlayer;

/// One fisheye stream: its player inside the engine, its instance of the correction algorithm, the
/// engine's fisheye correction, the corrected views by kind, and the thread that gathers the
/// outlines of the pan/tilt/zoom views for the client.
///
/// Every operation returns 0 or more for success, -1 for a refusal (one log line), or a result of
/// the engine or of the algorithm library. The client serialises the calls for one main player,
/// except that PutStreamToPlayer may overlap with all but its creation and deletion; the overlay
/// thread runs beside them.
class VIDEOPLAYER_FISHEYE_API CLS_MainPlayer
{
public:
    /// Loads the algorithm library and creates and starts an instance. A failure is only logged;
    /// without an instance the layout operations refuse.
    CLS_MainPlayer();
    CLS_MainPlayer(const CLS_MainPlayer&) = delete;
    CLS_MainPlayer& operator=(const CLS_MainPlayer&) = delete;

    /// Releases the algorithm instance, then deletes everything (DeleteAllPlayer). Without an
    /// instance, or where it cannot be released, everything else is left as it is: views, engine
    /// player and a running overlay thread.
    virtual ~CLS_MainPlayer();

    /// Creates the engine player from a stream header and starts it.
    /// @param _stParam  the camera, kept
    /// @param _pMainWindow  window of the uncorrected picture, passed on unchanged
    /// @param _iStreamType  0 is played; for any other nothing is created and 0 returned
    /// @param _pcVideoHeader  _iHeadSize bytes: their number as int32, then the stream description,
    ///        of which 8 bytes are read
    /// @param _iHeadSize  1 or more
    /// @param _pFishMainPlyerID  receives the engine's player id
    /// @return the engine's answer to the start, or -1
    virtual int CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                                 int _iStreamType, unsigned char* _pcVideoHeader, int _iHeadSize,
                                 int* _pFishMainPlyerID);

    /// Playing from a file is not offered: does nothing, always -1.
    virtual int CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                                 const QString& _qstrPath, int* _pFishMainPlyerID);

    /// Switches the fisheye correction on and builds the views of the window map that are not
    /// there yet, in ascending order of their kinds; a source view switches the correction off
    /// again. Starts the overlay thread with the view of the kind m_iDrawWindowType,
    /// where that is a 180, 360, LAT or fisheye view.
    /// @param _stParam  the camera; its installation type goes into the views' records
    /// @param _iFishPlayerID  not used
    /// @param qmapWindows  CORRECT_TYPE_* to window handles, passed to the engine unchanged
    /// @param qmapIds  stays as it is
    /// @param _stDrawParam  the overlay
    /// @return 0 when the map was gone through, also where views failed; -1 when it was refused
    virtual int CreateSubPlayers(const STRUCT_FishEyeParam& _stParam, int _iFishPlayerID,
                                 const QMap<int, QVector<void*>>& qmapWindows,
                                 QMap<int, QVector<int>>& qmapIds,
                                 const STRUCT_FishDrawParam& _stDrawParam);

    /// DeleteAllSubPlayer, then deletes the engine player, whose id stays. Returns the engine's
    /// result, or -1.
    virtual int DeleteAllPlayer();

    /// Switches the correction off, ends the overlay thread and deletes the views. Always 0.
    virtual int DeleteAllSubPlayer();

    /// Hands a block of stream data to the engine: any size above 0, not copied here. Data of a
    /// stream type other than 0 is dropped with 0. Returns the engine's result, or -1.
    virtual int PutStreamToPlayer(int _iStreamType, unsigned char* _pcStreamData, int _iSize);

    /// Does nothing. Always -1.
    virtual int StartTrack();

    /// Does nothing. Always -1.
    virtual int StopTrack();

    /// Switches the engine's fisheye correction on or off. Returns 0 or -1.
    int EnableFishEye(bool _blEnable);

    /// Sets the overlay switch; false also ends the overlay thread, which has ended on return. true
    /// starts none: a layout does. Always 0.
    int EnableDraw(bool _blEnable);

    /// Replaces the draw callback; effective from the next cycle on. Returns 0, or -1 for null.
    int RegisterDrawCallback(DrawCallback pfunCallback);

    /// The body of the overlay thread, for a main player: a cycle every 40 ms (plus the cycle's own
    /// time) until it is told to stop. Ends at once while the overlay is switched off.
    static void FishEyeDrawCallBack(void* pclsFish);

    /// One cycle: gathers the outlines and calls the client. Returns 0, or -1 without a callback
    /// or without pan/tilt/zoom views.
    int DrawCalculate();

    /// Default centre of pan/tilt/zoom view _iPtzId (0..7) of _iPtzNum (1 or more), in units of the
    /// fisheye picture. Returns the result of Coord360ToFE, or -1 with the point as it was.
    int GetDefultCenterPoint(int _iPtzId, int _iPtzNum, STRUCT_FecPoint& _stPoint);

    // The control operations route a request to one view and return its result, or -1 (no such
    // view). Views are addressed by kind (the first of it) or, for pan/tilt/zoom views, by their
    // number in the layout, from 0.

    /// A step in the window of a view. Commands other than n_CtlCmd_Move give -1, unlogged.
    int CorrectWindowCtl(int _iCorrectType, STRUCT_CtlParam param, n_CtlCmd cmd,
                         STRUCT_FishWindowRect rect);

    /// A drag of a pan/tilt/zoom view. Commands other than n_CtlCmd_Move give -1, unlogged.
    int DrawWindowCtl(int _iPtzIndex, STRUCT_CtlPointParam point, n_CtlCmd cmd,
                      STRUCT_FishWindowRect rect);

    /// A step in the window of a pan/tilt/zoom view. Unknown commands give 0 and do nothing.
    int PTZWindowCtl(int _iPtzIndex, STRUCT_CtlParam param, n_CtlCmd cmd,
                     STRUCT_FishWindowRect rect);

    /// A button command for a pan/tilt/zoom view.
    int PTZCtl(int _iPtzIndex, STRUCT_CtlParam param, n_PTZCtlCmd cmd);

    /// A point of the panorama as a point of the fisheye picture, both in ten-thousandths.
    /// Coordinates of in from 10000 up become 9999, in place. Returns 0, -1 or the algorithm's
    /// negative result.
    int Coord360ToFE(STRUCT_FecPoint& in, STRUCT_FecPoint& out);

protected:
    /// @cond
    using SubPlayerMap = QMap<int, QVector<CLS_SubPlayer*>>;

    /// What the overlay thread shares with the client's threads. Held together by both, because a
    /// main player whose algorithm instance cannot be released leaves its thread running.
    struct VIDEOPLAYER_FISHEYE_LOCAL OverlayState;

    VIDEOPLAYER_FISHEYE_LOCAL static void RunOverlay(std::shared_ptr<OverlayState> pOverlay);
    VIDEOPLAYER_FISHEYE_LOCAL void StartDrawThread();
    VIDEOPLAYER_FISHEYE_LOCAL void StopDrawThread();

    VIDEOPLAYER_FISHEYE_LOCAL static CLS_SubPlayer* NewView(int iSubPlayerType);
    VIDEOPLAYER_FISHEYE_LOCAL void CreateView(int iSubPlayerType, void* pWindow,
                                              const STRUCT_FishEyeParam& _stParam,
                                              int iDrawWindowType);
    VIDEOPLAYER_FISHEYE_LOCAL void CreatePtzViews(const QVector<void*>& qvecSubWindows,
                                                  const STRUCT_FishEyeParam& _stParam,
                                                  int iDrawType);
    VIDEOPLAYER_FISHEYE_LOCAL CLS_SubPlayer* FindPtzView(int _iPtzIndex, const char* pcNoViews,
                                                         const char* pcInvalidIndex) const;
    VIDEOPLAYER_FISHEYE_LOCAL int SwitchFishEyeOn();
    VIDEOPLAYER_FISHEYE_LOCAL int SwitchFishEyeOff();

    std::int32_t m_iMainPlayId = -1;
    std::int32_t m_iFishCorrectId = -1;
    void* m_pMainWindow = nullptr;
    void* m_pFcuHandle = nullptr;  // owned; released by the destructor
    bool m_blFishEyeEnabled = false;
    STRUCT_FishEyeParam m_stFishEyeParam{};
    const std::shared_ptr<OverlayState> m_pOverlay;
    std::thread* m_pDrawThread = nullptr;  // owned; deleted by StopDrawThread
    QMutex m_qmutexThread;                 ///< around starting and stopping the thread
    /// @endcond
};
