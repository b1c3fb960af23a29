// How a pan/tilt/zoom view moves: button commands, drags, and the conversion of points.
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"

#include <algorithm>
#include <cmath>

#include "Common/Arithmetic.h"
#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/PointTransform.h"
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"

using arithmetic::Add;
using arithmetic::Multiply;
using arithmetic::Negate;
using arithmetic::Subtract;
using arithmetic::Truncate;

namespace {

constexpr double CONST_PI = 3.14159265358979323846;
constexpr double CONST_CENTRE = 5000.0;
constexpr double CONST_MIN_RADIUS = 10.0;  ///< a view never collapses onto the exact centre
constexpr int CONST_END_OF_TRAVEL = -2;    ///< the engine's answer when a view goes no farther

// Installation types that move differently.
constexpr int CONST_INSTALL_WALL = 1;
constexpr int CONST_INSTALL_MOVE_REVERSED = 2;
constexpr int CONST_INSTALL_BUTTONS_REVERSED = 3;

/// Window pixels as position units of a window iSize (> 0) pixels wide or high.
std::int32_t PixelsToUnits(std::int32_t iPixels, std::int32_t iSize)
{
    return Multiply(iPixels, CONST_POSITION_UNITS) / iSize;
}

bool OnPicture(std::int32_t iPosition)
{
    return iPosition >= 0 && iPosition <= CONST_POSITION_UNITS;
}

/// The signed steps of a button command: pan, tilt and zoom.
STRUCT_CtlParam ButtonStep(const STRUCT_CtlParam& param, n_PTZCtlCmd cmd)
{
    struct Direction
    {
        int iX;
        int iY;
        int iZoom;
    };
    static constexpr Direction CONST_DIRECTIONS[] = {
        {0, -1, 0}, {0, 1, 0},  {-1, 0, 0}, {1, 0, 0},  {-1, -1, 0},
        {1, -1, 0}, {-1, 1, 0}, {1, 1, 0},  {0, 0, -1}, {0, 0, 1},
    };
    if (cmd < n_PTZCtl_Up || cmd > n_PTZCtl_ZoomOut)
        return {};
    const Direction& direction = CONST_DIRECTIONS[cmd];
    return {Multiply(direction.iX, param.m_iX), Multiply(direction.iY, param.m_iY),
            Multiply(direction.iZoom, param.m_iZoom)};
}

}  // namespace

/// The view's centre seen from the picture's centre.
struct CLS_PTZSubPlayer::Polar
{
    double dAngle;     ///< radians, of the line through both, -pi/2..pi/2, 0 is straight down
    double dHalfTurn;  ///< pi where the centre lies above the picture's centre, else 0
    double dRadius;    ///< position units; NaN where the wrapped squares are negative
};

CLS_PTZSubPlayer::Polar CLS_PTZSubPlayer::CentreInPolar() const
{
    const std::int32_t x = Truncate(m_dPtzX - CONST_CENTRE);
    const std::int32_t y = Truncate(m_dPtzY - CONST_CENTRE);
    const double dUpright = x >= 0 ? CONST_PI / 2 : -CONST_PI / 2;
    return {0 != y ? std::atan(static_cast<double>(x) / static_cast<double>(y)) : dUpright,
            y < 0 ? CONST_PI : 0.0,
            std::sqrt(static_cast<double>(Add(Multiply(x, x), Multiply(y, y))))};
}

bool CLS_PTZSubPlayer::MovesStraight() const
{
    return CONST_INSTALL_WALL == m_iCreateType;
}

void CLS_PTZSubPlayer::SeedCentre(const tagCorrectPtzPara& stPara)
{
    m_dPtzX = stPara.iPTZPositionX;
    m_dPtzY = stPara.iPTZPositionY;
}

void CLS_PTZSubPlayer::StoreCentre(double dX, double dY)
{
    m_dPtzX = dX;
    m_dPtzY = dY;
    m_stCreatePara.iPTZPositionX = Truncate(dX);
    m_stCreatePara.iPTZPositionY = Truncate(dY);
}

int CLS_PTZSubPlayer::PTZCtl(STRUCT_CtlParam param, n_PTZCtlCmd cmd)
{
    STRUCT_CtlParam stStep = ButtonStep(param, cmd);
    tagCorrectPtzPara stPara{};
    int iRet = GetCorrectPara(stPara);
    if (iRet < 0)
        return s_warning.PassBack(iRet, "[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet = ");
    if (m_dPtzX < 1.0 || m_dPtzY < 1.0)
        SeedCentre(stPara);
    if (CONST_INSTALL_BUTTONS_REVERSED == m_iCreateType) {
        stStep.m_iX = Negate(stStep.m_iX);
        stStep.m_iY = Negate(stStep.m_iY);
    }
    double dX = m_dPtzX + stStep.m_iX;
    double dY = m_dPtzY + stStep.m_iY;
    if (!MovesStraight()) {
        // The sums run in this order: the truncated position depends on it by a unit.
        const Polar polar = CentreInPolar();
        const double dAngle = polar.dAngle + polar.dHalfTurn + stStep.m_iX * CONST_PI / 10000.0;
        double dRadius = polar.dRadius + stStep.m_iY;
        if (dRadius < CONST_MIN_RADIUS)
            dRadius = CONST_MIN_RADIUS;
        dX = std::sin(dAngle) * dRadius + CONST_CENTRE;
        dY = std::cos(dAngle) * dRadius + CONST_CENTRE;
    }
    stPara.iPTZPositionX = Truncate(dX);
    stPara.iPTZPositionY = Truncate(dY);
    const std::int32_t iZoom =
        std::clamp(Add(stPara.iPTZZoom, stStep.m_iZoom), 0, CONST_POSITION_UNITS);
    stPara.iPTZZoom = iZoom;
    // The outline is drawn from the stored position and so lags one command behind.
    iRet = SetCorrectPara(stPara);
    if (CONST_END_OF_TRAVEL == iRet)
        return 1;
    if (iRet < 0)
        return s_warning.PassBack(iRet, "[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ");
    StoreCentre(dX, dY);
    m_stCreatePara.iPTZZoom = iZoom;  // whatever the engine has made of its record
    return 0;
}

int CLS_PTZSubPlayer::FishEyeCorrectCal(double& dX, double& dY, double dAngleStep,
                                        double dRadiusStep)
{
    const Polar polar = CentreInPolar();
    double dRadius = polar.dRadius + dRadiusStep;
    if (dRadius < CONST_MIN_RADIUS)
        dRadius = CONST_MIN_RADIUS;
    const double dAngle = dAngleStep * CONST_PI / 10000.0 + polar.dHalfTurn + polar.dAngle;
    dX = std::sin(dAngle) * dRadius + CONST_CENTRE;
    dY = std::cos(dAngle) * dRadius + CONST_CENTRE;
    return 0;
}

int CLS_PTZSubPlayer::ReadForMove(tagCorrectPtzPara& stPara)
{
    const int iRet = GetCorrectPara(stPara);
    if (iRet < 0)
        return s_warning.PassBack(iRet, "[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ");
    return 0;
}

int CLS_PTZSubPlayer::WriteForMove(tagCorrectPtzPara& stPara, double dX, double dY)
{
    const int iRet = SetCorrectPara(stPara);
    if (iRet < 0)
        return s_warning.PassBack(iRet, "[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ");
    StoreCentre(dX, dY);
    return 0;
}

int CLS_PTZSubPlayer::Move(int iDx, int iDy, STRUCT_FishWindowRect _rect)
{
    if (_rect.m_iWidth <= 0 || _rect.m_iHeight <= 0)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
    std::int32_t dx = PixelsToUnits(iDx, _rect.m_iWidth);
    std::int32_t dy = PixelsToUnits(iDy, _rect.m_iHeight);
    tagCorrectPtzPara stPara{};
    const int iRet = ReadForMove(stPara);
    if (iRet < 0)
        return iRet;
    // sic: at or below 0, where the buttons and the drag seed below 1
    if (m_dPtzX <= 0.0 || m_dPtzY <= 0.0)
        SeedCentre(stPara);
    // sic: type 2, where the buttons are reversed for type 3
    if (CONST_INSTALL_MOVE_REVERSED == m_iCreateType) {
        dx = Negate(dx);
        dy = Negate(dy);
    }
    double dX = m_dPtzX - dx;
    double dY = m_dPtzY - dy;
    if (!MovesStraight())
        FishEyeCorrectCal(dX, dY, dx, dy);
    stPara.iPTZPositionX = Truncate(dX);
    stPara.iPTZPositionY = Truncate(dY);
    return WriteForMove(stPara, dX, dY);
}

int CLS_PTZSubPlayer::Move(STRUCT_CtlPointParam stPoint, STRUCT_FishWindowRect _rect)
{
    if (_rect.m_iWidth <= 0 || _rect.m_iHeight <= 0)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
    return CORRECT_TYPE_FISHEYE == m_iCorrectMode ? DragOnPicture(stPoint, _rect)
                                                  : DragThroughAlgorithm(stPoint, _rect);
}

int CLS_PTZSubPlayer::DragOnPicture(const STRUCT_CtlPointParam& stPoint,
                                    const STRUCT_FishWindowRect& _rect)
{
    tagCorrectPtzPara stPara{};
    const int iRet = ReadForMove(stPara);
    if (iRet < 0)
        return iRet;
    SeedCentre(stPara);  // sic: stays when the drag is refused below
    const double dX =
        m_dPtzX + PixelsToUnits(Subtract(stPoint.m_iEndX, stPoint.m_iStartX), _rect.m_iWidth);
    const double dY =
        m_dPtzY + PixelsToUnits(Subtract(stPoint.m_iEndY, stPoint.m_iStartY), _rect.m_iHeight);
    stPara.iPTZPositionX = Truncate(dX);
    stPara.iPTZPositionY = Truncate(dY);
    if (!OnPicture(stPara.iPTZPositionX) || !OnPicture(stPara.iPTZPositionY))
        return s_info.Refuse(
            "[  tParam.iPTZPositionX is invalid ||  tParam.iPTZPositionY is invalid . tParam.iPTZPositionX = ",
            stPara.iPTZPositionX, " tParam.iPTZPositionY = ", stPara.iPTZPositionY, " ]");
    return WriteForMove(stPara, dX, dY);
}

int CLS_PTZSubPlayer::DragThroughAlgorithm(const STRUCT_CtlPointParam& stPoint,
                                           const STRUCT_FishWindowRect& _rect)
{
    STRUCT_FecPoint stStart{};
    STRUCT_FecPoint stEnd{};
    int iRet = GetFishPoint(stPoint.m_iStartX, stPoint.m_iStartY, _rect, stStart.iX, stStart.iY);
    if (iRet >= 0)
        iRet = GetFishPoint(stPoint.m_iEndX, stPoint.m_iEndY, _rect, stEnd.iX, stEnd.iY);
    if (iRet < 0)
        return s_warning.PassBack(iRet, "[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ");
    tagCorrectPtzPara stPara{};
    iRet = ReadForMove(stPara);
    if (iRet < 0)
        return iRet;
    if (m_dPtzX < 1.0 || m_dPtzY < 1.0)
        SeedCentre(stPara);
    const double dX = m_dPtzX + Subtract(stEnd.iX, stStart.iX);
    const double dY = m_dPtzY + Subtract(stEnd.iY, stStart.iY);
    stPara.iPTZPositionX = Truncate(dX);
    stPara.iPTZPositionY = Truncate(dY);
    if (!OnPicture(stPara.iPTZPositionX) || !OnPicture(stPara.iPTZPositionY))
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::Move param.iPTZPositionX is invalid || param.iPTZPositionY is invalid param.iPTZPositionX = ",
            stPara.iPTZPositionX, " param.iPTZPositionY = ", stPara.iPTZPositionY, " ]");
    return WriteForMove(stPara, dX, dY);
}

int CLS_PTZSubPlayer::CoordSwitch(int iSrcType, int iDstType, STRUCT_FecPoint& stIn,
                                  STRUCT_FecPoint& stOut)
{
    // sic: reports under CoordFETo360's name, and clients search for that text
    if (nullptr == m_pFcuHandle)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]");
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");
    ClampToPicture(stIn);
    const int iRet = TransformPoint(m_pFcuHandle, m_iCreateType, m_iCorrectMode,
                                    {PositionFraction(stIn.iX), PositionFraction(stIn.iY)},
                                    iSrcType, iDstType, stOut);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet,
            "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ");
    return 0;
}

int CLS_PTZSubPlayer::CoordFETo360(STRUCT_FecPoint& stIn, STRUCT_FecPoint& stOut)
{
    if (nullptr == m_pFcuHandle)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]");
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::CoordFETo360 nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");
    ClampToPicture(stIn);
    // sic: divided as integers, so -9999..9999 asks for 0
    const auto fX = static_cast<float>(stIn.iX / CONST_POSITION_UNITS);
    const auto fY = static_cast<float>(stIn.iY / CONST_POSITION_UNITS);
    const int iRet = TransformPoint(m_pFcuHandle, m_iCreateType, m_iCorrectMode, {fX, fY},
                                    CONST_SPACE_FISHEYE, CONST_SPACE_360, stOut);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet,
            "[  CLS_PTZSubPlayer::CoordFETo360 CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ");
    return 0;
}

int CLS_PTZSubPlayer::GetFishPoint(const int& iX, const int& iY, STRUCT_FishWindowRect _rect,
                                   int& iFishX, int& iFishY)
{
    if (_rect.m_iWidth <= 0 || _rect.m_iHeight <= 0)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::GetFishPoint _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
    STRUCT_FecPoint stWindow{PixelsToUnits(iX, _rect.m_iWidth), PixelsToUnits(iY, _rect.m_iHeight)};
    STRUCT_FecPoint stFish{};
    const int iRet = CoordSwitch(MovesStraight() ? CONST_SPACE_180 : CONST_SPACE_360,
                                 CONST_SPACE_FISHEYE, stWindow, stFish);
    if (iRet < 0)
        return s_warning.PassBack(iRet,
                                  "[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ");
    iFishX = stFish.iX;
    iFishY = stFish.iY;
    return 0;
}
