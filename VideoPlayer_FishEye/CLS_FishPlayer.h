#pragma once

#include <QMap>
#include <QString>
#include <QVector>

#include "Common/Export.h"
#include "VideoPlayer_FishEye/feplayer/ControlRecords.h"
#include "VideoPlayer_FishEye/feplayer/CorrectParaRecords.h"
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"

class CLS_MainPlayer;

/// The entry to the library: creates fisheye players, feeds them and steers their views.
///
/// Operations return 0 or more for success, -1 for everything that this library refuses (one log
/// line each), and results of the engine or of the algorithm library unchanged. A fish-player id
/// is the engine's player id.
///
/// Nothing here locks. Creation and deletion of players must not overlap with any other call;
/// calls for different players may otherwise overlap, and so may the feeding of a player with
/// everything else that is done to it.
class VIDEOPLAYER_FISHEYE_API CLS_FishPlayer
{
public:
    /// The one instance, never null; made at the first call, from any thread. A player engine that
    /// cannot be loaded shows in the log alone.
    static CLS_FishPlayer* GetInstance();

    CLS_FishPlayer();

    /// Frees the registry alone: players still registered, the engine and both libraries stay.
    ~CLS_FishPlayer();

    CLS_FishPlayer(const CLS_FishPlayer&) = delete;
    CLS_FishPlayer& operator=(const CLS_FishPlayer&) = delete;

    /// Loads the engine, unless it is loaded, and initialises it. Returns the engine's result, or
    /// -1.
    int FishPlayer_CreateSystem();

    /// Does nothing: the engine stays for the life of the process. Always 0.
    int FishPlayer_DeleteSystem();

    /// Creates a player for a live stream and its views.
    /// @param _stParam  the camera
    /// @param _pMainWindow  window of the source and fisheye picture
    /// @param _qmapWindows  CORRECT_TYPE_* to window handles, passed to the engine unchanged
    /// @param _iStreamType  0; for any other no engine player is created, *_piFishPlayerID is not
    ///        written, and the player is registered under the value that is there
    /// @param _pcVideoHeader  _iHeadSize bytes: their number as int32 and the stream description
    /// @param _iHeadSize  1 or more
    /// @param _piFishPlayerID  receives the id; written also where only the views failed, and the
    ///        player is then registered and usable. Null gives -1 without a log line.
    /// @param _qmapIds  not written
    /// @param _stDrawParam  the overlay
    /// @return 0, or a negative code
    int FishPlayer_CreatePlayerFromStream(const STRUCT_FishEyeParam& _stParam,
                                          const void* _pMainWindow,
                                          const QMap<int, QVector<void*>>& _qmapWindows,
                                          int _iStreamType, unsigned char* _pcVideoHeader,
                                          int _iHeadSize, int* _piFishPlayerID,
                                          QMap<int, QVector<int>>& _qmapIds,
                                          const STRUCT_FishDrawParam& _stDrawParam);

    /// Playing from a file is not offered by the main player: always -1.
    int FishPlayer_CreatePlayerFromFile(const STRUCT_FishEyeParam& _stParam,
                                        const void* _pMainWindow,
                                        const QMap<int, QVector<void*>>& _qmapWindows,
                                        const QString& _qstrPath, int* _piFishPlayerID,
                                        QMap<int, QVector<int>>& _qmapIds,
                                        const STRUCT_FishDrawParam& _stDrawParam);

    /// Adds views to a player. Kinds that are there already stay as they are.
    int FishPlayer_CreateSubPlayer(const STRUCT_FishEyeParam& _stParam, int _iFishPlayerID,
                                   const QMap<int, QVector<void*>>& _qmapWindows,
                                   QMap<int, QVector<int>>& _qmapIds,
                                   const STRUCT_FishDrawParam& _stDrawParam);

    /// @{
    /// The building blocks of the three operations above. A main player whose creation fails is
    /// neither registered nor destroyed. An id that is registered already gets the new player; the
    /// old one stays alive and unreachable.
    int CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                         int _iStreamType, unsigned char* _pcVideoHeader, int _iHeadSize,
                         int* _pFishMainPlyerID);
    int CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                         const QString& _qstrPath, int* _pFishMainPlyerID);
    int CreateSubPlayer(const STRUCT_FishEyeParam& _stParam, int _iFishPlayerID,
                        const QMap<int, QVector<void*>>& _qmapWindows,
                        QMap<int, QVector<int>>& _qmapIds,
                        const STRUCT_FishDrawParam& _stDrawParam);
    /// @}

    /// Destroys the player and forgets its id. 0, or -1.
    int FishPlayer_DeleteAllPlayer(int _iFishPlayerID);

    /// Deletes a player's views; the player stays and can be laid out again.
    int FishPlayer_DeleteAllSubPlayer(int _iFishPlayerID);

    /// Feeds stream data, _iSize bytes of any number above 0. Returns the engine's result.
    int FishPlayer_PutStreamToPlayer(int _iFishPlayerID, int _iStreamType,
                                     unsigned char* _pcStreamData, int _iSize);

    /// Switches the fisheye correction of the main window on or off.
    int FishPlayer_EnableFish(int _iFishPlayerID, bool _blEnable);

    /// Sets the overlay switch; false also ends the overlay thread, true starts none.
    int FishPlayer_EnableDraw(int _iFishPlayerID, bool _blEnable);

    /// Sets what is called with the outlines every 40 ms, on the overlay thread.
    int FishPlayer_RegisterDrawCallback(int _iFishPlayerID, DrawCallback _pfunCallback);

    /// A step in the window of the first view of a kind (CORRECT_TYPE_*).
    int FishPlayer_CorrectWindowCtl(int _iFishPlayerID, int _iCorrectType, STRUCT_CtlParam _stParam,
                                    n_CtlCmd _enCmd, STRUCT_FishWindowRect _stRect);

    /// A drag of a pan/tilt/zoom view on the picture that carries its outline.
    int FishPlayer_DrawWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlPointParam _stPoint,
                                 n_CtlCmd _enCmd, STRUCT_FishWindowRect _stRect);

    /// A step in the window of a pan/tilt/zoom view.
    int FishPlayer_PTZWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _stParam,
                                n_CtlCmd _enCmd, STRUCT_FishWindowRect _stRect);

    /// A button command for a pan/tilt/zoom view. 1 at the end of its travel.
    int FishPlayer_PTZCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _stParam,
                          n_PTZCtlCmd _enCmd);

    /// @{
    /// Not offered: always -1, without a log line.
    int FishPlayer_StartTrack(int _iFishPlayerID);
    int FishPlayer_StopTrack(int _iFishPlayerID);
    /// @}

protected:
    /// @cond
    VIDEOPLAYER_FISHEYE_LOCAL int AddViews(const char* _pcFail, const STRUCT_FishEyeParam& _stParam,
                                           int _iFishPlayerID,
                                           const QMap<int, QVector<void*>>& _qmapWindows,
                                           QMap<int, QVector<int>>& _qmapIds,
                                           const STRUCT_FishDrawParam& _stDrawParam);
    VIDEOPLAYER_FISHEYE_LOCAL int Register(CLS_MainPlayer* _pMainPlayer, int _iRet,
                                           const int* _piFishPlayerID);
    VIDEOPLAYER_FISHEYE_LOCAL CLS_MainPlayer* FindPlayer(int _iFishPlayerID, const char* _pcUnknown,
                                                         const char* _pcNull) const;

    QMap<int, CLS_MainPlayer*> m_qmapMainPlayer;  // owned; freed by FishPlayer_DeleteAllPlayer
    /// @endcond
};
