#include "VideoPlayer_FishEye/feplayer/PointTransform.h"

#include <algorithm>

#include "Common/Arithmetic.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"

void ClampToPicture(STRUCT_FecPoint& stPoint)
{
    stPoint.iX = std::min(stPoint.iX, CONST_POSITION_UNITS - 1);
    stPoint.iY = std::min(stPoint.iY, CONST_POSITION_UNITS - 1);
}

int TransformPoint(void* pHandle, std::int32_t iCreateType, std::int32_t iCorrectMode,
                   const tagFcuPoint& stFrom, std::int32_t iSrcType, std::int32_t iDstType,
                   STRUCT_FecPoint& stOut)
{
    tagFcuPointPara stPara{};
    stPara.iSize = int{sizeof(stPara)};
    stPara.iCreateType = iCreateType;
    stPara.iCorrectMode = iCorrectMode;
    stPara.stFrom = stFrom;
    stPara.iSrcType = iSrcType;
    stPara.iDstType = iDstType;
    tagFcuPoint stResult{};
    const int iRet = CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform(pHandle, &stPara, &stResult);
    if (iRet < 0)
        return iRet;
    stOut.iX = arithmetic::Truncate(stResult.fX * 10000.0F);  // in single precision
    stOut.iY = arithmetic::Truncate(stResult.fY * 10000.0F);
    return 0;
}
