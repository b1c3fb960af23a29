#pragma once

#include <cstdint>

#include <QReadWriteLock>
#include <QVector>

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// A virtual pan/tilt/zoom view: a perspective cut-out of the fisheye circle in a window of its
/// own, steered by buttons, zoom steps and drags, and the outline of what it shows.
///
/// Set it up with CreatePtzDraw, then CreatePlayer. Commands must reach a view one at a time;
/// GetPTZDrawData may run on another thread meanwhile and then can see an outline that is only
/// partly drawn.
class VIDEOPLAYER_FISHEYE_API CLS_PTZSubPlayer : public CLS_SubPlayer
{
public:
    ~CLS_PTZSubPlayer() override;

    /// @cond
    // Overriding one overload would hide the other.
    using CLS_SubPlayer::GetCorrectPara;
    using CLS_SubPlayer::SetCorrectPara;
    /// @endcond

    /// As the base, but installation type and correction mode stay those of CreatePtzDraw.
    int CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId, tagCreateCorrectPara para,
                     void* _pWindow, int* _piSubPlayerId) override;

    /// Closes the engine's window. Returns the engine's result, or -1. Ids and outline stay.
    int DeletePlayer() override;

    /// Copies the outline out: polylines of points in fractions of the picture. Always 0.
    int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& data) override;

    /// Takes algorithm instance, installation type, correction mode and draw type
    /// (n_DrawType_*) and draws the first outline. Returns 0, the algorithm's negative result
    /// or -1. Any other draw type draws nothing, returns 0, and makes SetCorrectPara refuse.
    int CreatePtzDraw(void* const& _pfcuHandle, tagCreateCorrectPara para, int iDrawType) override;

    /// Drags the view from one window point to another. Returns 0, -1 (also where the centre
    /// would leave 0..10000), or the negative result of algorithm or engine.
    int Move(STRUCT_CtlPointParam stPoint, STRUCT_FishWindowRect _rect) override;

    /// Moves the view by a displacement in window pixels: straight against it for installation
    /// type 1, around the picture's centre for every other, the other way round for type 2. Not
    /// limited to the picture.
    int Move(int iDx, int iDy, STRUCT_FishWindowRect _rect) override;

    /// Takes 5 x iStep from the zoom, at most up to 10000 and without a lower limit.
    int Zoom(int iStep) override;

    /// One button command. Returns 0, 1 where the engine answers -2 (the end of travel; nothing
    /// changes), or a negative result. The outline shows the position before the command.
    int PTZCtl(STRUCT_CtlParam param, n_PTZCtlCmd cmd) override;

    /// Reads the live parameters from the engine. Returns the engine's result, or -1.
    int GetCorrectPara(tagCorrectPtzPara& para) override;

    /// Draws the outline anew, from the stored creation record, and writes the live parameters to
    /// the engine. Returns the engine's result, or -1.
    int SetCorrectPara(tagCorrectPtzPara& para) override;

    /// The algorithm's view type of a correction mode: 0x2000, 0x3000 and 0x4000 for 0x200, 0x300
    /// and 0x400, 0x1000 for every other value.
    int GetPtzType(int iCorrectMode);

    /// @{
    /// Appends the traced border: from a creation record, with an algorithm instance that the view
    /// keeps, or from a description, with the instance it has. Returns 0, the algorithm's negative
    /// result, or -1 (no instance, no entry point, no line).
    int SetFecDraw(void* const& _pfcuHandle, const tagCreateCorrectPara& para);
    int SetFecDraw(const STRUCT_FecPtzParam& param);
    /// @}

    /// @{
    /// Appends the square of 1000 x 1000 units around the centre, cut at the picture's border, as
    /// four polylines. Returns 0, or -1 without an instance (first form only).
    int SetRectDraw(void* const& _pfcuHandle, const tagCreateCorrectPara& para);
    int SetRectDraw(const STRUCT_FecPtzParam& param);
    /// @}

    /// Converts a point between the algorithm's spaces 0x20000, 0x30000 and 0x40000. Coordinates
    /// of stIn from 10000 up become 9999, in place. Returns 0, -1 or the algorithm's negative
    /// result; stOut is written on success alone.
    int CoordSwitch(int iSrcType, int iDstType, STRUCT_FecPoint& stIn, STRUCT_FecPoint& stOut);

    /// From space 0x40000 to 0x20000, the input divided by 10000 as an integer: every coordinate
    /// within -9999..9999 asks for 0.
    int CoordFETo360(STRUCT_FecPoint& stIn, STRUCT_FecPoint& stOut);

    /// A pixel of the view's window as a position on the fisheye picture.
    int GetFishPoint(const int& iX, const int& iY, STRUCT_FishWindowRect _rect, int& iFishX,
                     int& iFishY);

    /// Where the centre comes to when it orbits the picture's centre by dAngleStep (10000 is half
    /// a circle) and moves away from it by dRadiusStep (position units). Always 0.
    int FishEyeCorrectCal(double& dX, double& dY, double dAngleStep, double dRadiusStep);

private:
    struct Polar;

    VIDEOPLAYER_FISHEYE_LOCAL Polar CentreInPolar() const;
    VIDEOPLAYER_FISHEYE_LOCAL void SeedCentre(const tagCorrectPtzPara& stPara);
    VIDEOPLAYER_FISHEYE_LOCAL void StoreCentre(double dX, double dY);
    VIDEOPLAYER_FISHEYE_LOCAL bool MovesStraight() const;
    VIDEOPLAYER_FISHEYE_LOCAL int ReadForMove(tagCorrectPtzPara& stPara);
    VIDEOPLAYER_FISHEYE_LOCAL int WriteForMove(tagCorrectPtzPara& stPara, double dX, double dY);
    VIDEOPLAYER_FISHEYE_LOCAL int DragOnPicture(const STRUCT_CtlPointParam& stPoint,
                                                const STRUCT_FishWindowRect& _rect);
    VIDEOPLAYER_FISHEYE_LOCAL int DragThroughAlgorithm(const STRUCT_CtlPointParam& stPoint,
                                                       const STRUCT_FishWindowRect& _rect);
    VIDEOPLAYER_FISHEYE_LOCAL int TraceOutline(STRUCT_FecPoint stCentre, std::int32_t iZoom);
    VIDEOPLAYER_FISHEYE_LOCAL void DrawSquare(STRUCT_FecPoint stCentre);
    VIDEOPLAYER_FISHEYE_LOCAL void ClearOutline();
    VIDEOPLAYER_FISHEYE_LOCAL void AppendPolyline(const QVector<STRUCT_DrawPoint>& qvecLine);

    QVector<QVector<STRUCT_DrawPoint>> m_qvecDrawData;  ///< guarded by m_rwlDrawData
    std::int32_t m_iDrawType = 0;
    QReadWriteLock m_rwlDrawData;
};
