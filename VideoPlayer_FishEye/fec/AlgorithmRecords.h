#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// The records that cross into the correction algorithm library. Little-endian, natural alignment;
// positions are fractions of the picture, 0 to 1. Where a name ends in a number the library alone
// knows the meaning of the value.

/// Space codes of a point conversion.
constexpr std::int32_t CONST_SPACE_360 = 0x20000;      ///< the panorama
constexpr std::int32_t CONST_SPACE_180 = 0x30000;      ///< the 180-degree view
constexpr std::int32_t CONST_SPACE_FISHEYE = 0x40000;  ///< the fisheye picture

/// Starts up an instance (VxAlgo_FCU_Init).
struct tagFcuInitPara
{
    std::int32_t iSize;
    std::int32_t iParam1;
    std::int32_t iParam2;
    std::int32_t iParam3;
    std::int32_t iParam4;
    float fParam5;
    std::int32_t iParam6;
    float fParam7;
    float fParam8;
    float fParam9;
    std::int32_t aiZero[23];
};
static_assert(sizeof(tagFcuInitPara) == 132 && std::is_trivially_copyable_v<tagFcuInitPara>);
static_assert(offsetof(tagFcuInitPara, fParam5) == 20);
static_assert(offsetof(tagFcuInitPara, fParam7) == 28);
static_assert(offsetof(tagFcuInitPara, fParam9) == 36);

/// A point, and the answer to tagFcuPointPara.
struct tagFcuPoint
{
    float fX;
    float fY;
};
static_assert(sizeof(tagFcuPoint) == 8);

/// Asks where a point lies in another space (VxAlgo_FCU_Point_Transform).
struct tagFcuPointPara
{
    std::int32_t iSize;
    std::int32_t iCreateType;
    std::int32_t iCorrectMode;
    tagFcuPoint stFrom;
    std::int32_t iSrcType;  ///< CONST_SPACE_*
    std::int32_t iDstType;  ///< CONST_SPACE_*
    std::int32_t aiZero[16];
};
static_assert(sizeof(tagFcuPointPara) == 92 && std::is_trivially_copyable_v<tagFcuPointPara>);
static_assert(offsetof(tagFcuPointPara, stFrom) == 12);
static_assert(offsetof(tagFcuPointPara, iSrcType) == 20);
static_assert(offsetof(tagFcuPointPara, iDstType) == 24);

/// Asks for the outline of a pan/tilt/zoom view (VxAlgo_FCU_Process).
struct tagFcuOutlinePara
{
    std::int32_t iSize;
    std::int32_t iCreateType;
    std::int32_t iCorrectMode;
    std::int32_t iParam3;
    std::int32_t iParam4;
    float fCenterX;
    float fCenterY;
    float fZoom;  ///< 0 to 1, 1 is the widest view
    std::int32_t iParam8;
    std::int32_t iParam9;
    std::int32_t iPtzType;  ///< CLS_PTZSubPlayer::GetPtzType
    std::int32_t aiZero[17];
};
static_assert(sizeof(tagFcuOutlinePara) == 112 && std::is_trivially_copyable_v<tagFcuOutlinePara>);
static_assert(offsetof(tagFcuOutlinePara, fCenterX) == 20);
static_assert(offsetof(tagFcuOutlinePara, fZoom) == 28);
static_assert(offsetof(tagFcuOutlinePara, iPtzType) == 40);

/// One line of the table: its points, pairs of float, in the caller's buffer.
struct tagFcuLine
{
    std::int32_t iPointNum;
    std::int32_t iZero;
    void* pPoints;
};
static_assert(sizeof(tagFcuLine) == 16);

constexpr int CONST_FCU_MAX_LINES = 22;

/// The lines of an outline. The caller lends the point buffer through the first line; the library
/// lays the points of every line in it and counts the lines.
struct tagFcuLineTable
{
    std::int32_t iLineNum;
    std::int32_t iZero;
    tagFcuLine astLines[CONST_FCU_MAX_LINES];
    std::int32_t aiZero[2];
};
static_assert(sizeof(tagFcuLineTable) == 368);
static_assert(offsetof(tagFcuLineTable, astLines) == 8);

/// The answer to tagFcuOutlinePara.
struct tagFcuOutlineResult
{
    std::int32_t iSize;
    std::int32_t aiZero[3];
    tagFcuLineTable* pLines;
    std::int32_t aiZeroBehind[16];
};
static_assert(sizeof(tagFcuOutlineResult) == 88);
static_assert(offsetof(tagFcuOutlineResult, pLines) == 16);
