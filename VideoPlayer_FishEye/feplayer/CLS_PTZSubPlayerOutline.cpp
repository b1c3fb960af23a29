// The outline of a pan/tilt/zoom view on the fisheye picture.
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"

#include <algorithm>
#include <memory>

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/PointTransform.h"
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"

namespace {

constexpr int CONST_BUFFER_POINTS = 40000;
constexpr int CONST_MAX_LINE_POINTS = 2500;  ///< the rest of a longer line is dropped
constexpr std::int32_t CONST_HALF_SQUARE = 500;

static_assert(CONST_BUFFER_POINTS * sizeof(STRUCT_DrawPoint) == 320000);

QVector<STRUCT_DrawPoint> Polyline(const tagFcuLine& stLine)
{
    if (nullptr == stLine.pPoints || stLine.iPointNum <= 0)
        return {};
    // In one block: QVector's own constructor from a range appends the points one by one.
    QVector<STRUCT_DrawPoint> qvecLine(std::min(stLine.iPointNum, CONST_MAX_LINE_POINTS));
    std::copy_n(static_cast<const STRUCT_DrawPoint*>(stLine.pPoints), qvecLine.size(),
                qvecLine.begin());
    return qvecLine;
}

}  // namespace

int CLS_PTZSubPlayer::CreatePtzDraw(void* const& _pfcuHandle, tagCreateCorrectPara para,
                                    int iDrawType)
{
    m_iCreateType = para.iCreateType;
    m_iCorrectMode = para.iCorrectMode;
    m_pFcuHandle = _pfcuHandle;
    m_iDrawType = iDrawType;
    ClearOutline();
    if (n_DrawType_Rect == m_iDrawType) {
        if (CORRECT_TYPE_360 == m_iCorrectMode) {
            STRUCT_FecPoint stCentre{para.iPTZPositionX, para.iPTZPositionY};
            STRUCT_FecPoint stPanorama{};
            CoordSwitch(CONST_SPACE_FISHEYE, CONST_SPACE_360, stCentre, stPanorama);
            para.iPTZPositionX = stPanorama.iX;
            para.iPTZPositionY = stPanorama.iY;
        }
        return SetRectDraw(_pfcuHandle, para);
    }
    return n_DrawType_Fec == m_iDrawType ? SetFecDraw(_pfcuHandle, para) : 0;
}

int CLS_PTZSubPlayer::SetFecDraw(void* const& _pfcuHandle, const tagCreateCorrectPara& para)
{
    if (nullptr == _pfcuHandle)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::SetFecDraw nullptr == _pfcuHandle]");
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Process)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]");
    m_pFcuHandle = _pfcuHandle;
    return TraceOutline({para.iPTZPositionX, para.iPTZPositionY}, para.iPTZZoom);
}

int CLS_PTZSubPlayer::SetFecDraw(const STRUCT_FecPtzParam& param)
{
    if (nullptr == m_pFcuHandle)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]");
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Process)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]");
    return TraceOutline(param.stPosition, param.iPTZZoom);
}

int CLS_PTZSubPlayer::TraceOutline(STRUCT_FecPoint stCentre, std::int32_t iZoom)
{
    tagFcuOutlinePara stPara{};
    stPara.iSize = int{sizeof(stPara)};
    stPara.iCreateType = m_iCreateType;
    stPara.iCorrectMode = m_iCorrectMode;
    stPara.iParam3 = 32;
    stPara.fCenterX = PositionFraction(stCentre.iX);
    stPara.fCenterY = PositionFraction(stCentre.iY);
    stPara.fZoom = PositionFraction(iZoom);
    stPara.iParam8 = 250;
    stPara.iParam9 = 250;
    stPara.iPtzType = GetPtzType(m_iCorrectMode);

    // Not cleared: the algorithm says how much of it it has filled.
    const std::unique_ptr<STRUCT_DrawPoint[]> points(new STRUCT_DrawPoint[CONST_BUFFER_POINTS]);
    tagFcuLineTable stLines{};
    stLines.astLines[0].pPoints = points.get();
    tagFcuOutlineResult stResult{};
    stResult.iSize = int{sizeof(stResult)};
    stResult.pLines = &stLines;
    const int iRet = CLS_VxAlgoFcu::VxAlgo_FCU_Process(m_pFcuHandle, 0, &stPara, &stResult);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet, "[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process fail iRet = ");
    if (stLines.iLineNum < 1)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::SetFecDraw iLineNum <= 0 ]");
    const int iLineNum = std::min(stLines.iLineNum, CONST_FCU_MAX_LINES);
    for (int i = 0; i < iLineNum; ++i)
        AppendPolyline(Polyline(stLines.astLines[i]));
    return 0;
}

int CLS_PTZSubPlayer::SetRectDraw(void* const& _pfcuHandle, const tagCreateCorrectPara& para)
{
    if (nullptr == _pfcuHandle)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::SetRectDraw nullptr == _pfcuHandle ]");
    m_pFcuHandle = _pfcuHandle;
    DrawSquare({para.iPTZPositionX, para.iPTZPositionY});
    return 0;
}

int CLS_PTZSubPlayer::SetRectDraw(const STRUCT_FecPtzParam& param)
{
    DrawSquare(param.stPosition);
    return 0;
}

void CLS_PTZSubPlayer::DrawSquare(STRUCT_FecPoint stCentre)
{
    const auto before = [](std::int32_t iCentre) {
        return PositionFraction(iCentre > CONST_HALF_SQUARE ? iCentre - CONST_HALF_SQUARE : 0);
    };
    const auto behind = [](std::int32_t iCentre) {
        return PositionFraction(std::min(iCentre, CONST_POSITION_UNITS - CONST_HALF_SQUARE) +
                                CONST_HALF_SQUARE);
    };
    const float fLeft = before(stCentre.iX);
    const float fRight = behind(stCentre.iX);
    const float fTop = before(stCentre.iY);
    const float fBottom = behind(stCentre.iY);
    const STRUCT_DrawPoint astCorners[] = {
        {fLeft, fTop}, {fRight, fTop}, {fRight, fBottom}, {fLeft, fBottom}};
    for (int i = 0; i < 4; ++i)
        AppendPolyline({astCorners[i], astCorners[(i + 1) % 4]});
}

int CLS_PTZSubPlayer::GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& data)
{
    const QReadLocker lock(&m_rwlDrawData);
    data = m_qvecDrawData;
    return 0;
}

// Neither of the two writes into a list that a reader may have had: when the reader lets go of its
// copy, QVector's test for being shared lets the writer in, but does not order the reader's last
// look before the write.

void CLS_PTZSubPlayer::ClearOutline()
{
    const QWriteLocker lock(&m_rwlDrawData);
    m_qvecDrawData = QVector<QVector<STRUCT_DrawPoint>>();
}

void CLS_PTZSubPlayer::AppendPolyline(const QVector<STRUCT_DrawPoint>& qvecLine)
{
    const QWriteLocker lock(&m_rwlDrawData);
    QVector<QVector<STRUCT_DrawPoint>> qvecLines = m_qvecDrawData;
    qvecLines.append(qvecLine);  // makes a list of its own, of the same polylines
    m_qvecDrawData.swap(qvecLines);
}
