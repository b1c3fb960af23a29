#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <QTypeInfo>

/// @file
/// The records with which a correction window is created, steered and drawn as an outline.
///
/// Positions are in ten-thousandths of the fisheye picture's width and height: 0 is the left or top
/// edge, 10000 the right or bottom edge. Zoom has the same scale, 10000 is the widest view. The
// ranges at the fields are those of a picture: buttons, moves and zoom steps can leave them.
/// Records are little-endian with natural alignment; those that cross into the engine do so by
/// pointer together with their size.

/// Creation record of one correction window.
struct tagCreateCorrectPara
{
    std::int32_t iSize;          ///< 88
    std::int32_t iCreateType;    ///< installation type of the camera
    std::int32_t iCorrectMode;   ///< CORRECT_TYPE_*
    std::int32_t aiReserved[5];  ///< the engine's
    std::int32_t iEngineParam0;  ///< the engine's
    std::int32_t iEngineParam1;  ///< the engine's
    std::int32_t iEngineParam2;  ///< the engine's
    std::int32_t iPtzIndex;  ///< pan/tilt/zoom: number from 0; source and wide views: -1; else 0
    std::int32_t iPTZPositionX;  ///< 0..10000, left to right
    std::int32_t iPTZPositionY;  ///< 0..10000, top to bottom
    std::int32_t iPTZZoom;       ///< 0..10000, 10000 is the widest view
    std::int32_t iPTZExtra1;     ///< the engine's
    std::int32_t iPTZExtra2;     ///< the engine's
    std::int32_t iZero;          ///< 0
    void* pWindow;               ///< the client's window handle
    void* pReserved;             ///< null
};
static_assert(sizeof(tagCreateCorrectPara) == 88);
static_assert(std::is_trivially_copyable_v<tagCreateCorrectPara>);
static_assert(offsetof(tagCreateCorrectPara, iSize) == 0);
static_assert(offsetof(tagCreateCorrectPara, iCreateType) == 4);
static_assert(offsetof(tagCreateCorrectPara, iCorrectMode) == 8);
static_assert(offsetof(tagCreateCorrectPara, aiReserved) == 12);
static_assert(offsetof(tagCreateCorrectPara, iEngineParam0) == 32);
static_assert(offsetof(tagCreateCorrectPara, iEngineParam1) == 36);
static_assert(offsetof(tagCreateCorrectPara, iEngineParam2) == 40);
static_assert(offsetof(tagCreateCorrectPara, iPtzIndex) == 44);
static_assert(offsetof(tagCreateCorrectPara, iPTZPositionX) == 48);
static_assert(offsetof(tagCreateCorrectPara, iPTZPositionY) == 52);
static_assert(offsetof(tagCreateCorrectPara, iPTZZoom) == 56);
static_assert(offsetof(tagCreateCorrectPara, iPTZExtra1) == 60);
static_assert(offsetof(tagCreateCorrectPara, iPTZExtra2) == 64);
static_assert(offsetof(tagCreateCorrectPara, iZero) == 68);
static_assert(offsetof(tagCreateCorrectPara, pWindow) == 72);
static_assert(offsetof(tagCreateCorrectPara, pReserved) == 80);

/// Live parameters of one pan/tilt/zoom window (parameter kind 1).
struct tagCorrectPtzPara
{
    std::int32_t iEngineField0;      ///< the engine's own, handed back as it came
    std::int32_t iEngineField1;      ///< likewise
    std::int32_t iPTZPositionX;      ///< 0..10000, left to right
    std::int32_t iPTZPositionY;      ///< 0..10000, top to bottom
    std::int32_t iPTZZoom;           ///< 0..10000, 10000 is the widest view
    std::int32_t aiEngineFields[3];  ///< the engine's own, handed back as they came
};
static_assert(sizeof(tagCorrectPtzPara) == 32 && std::is_trivially_copyable_v<tagCorrectPtzPara>);
static_assert(offsetof(tagCorrectPtzPara, iEngineField0) == 0);
static_assert(offsetof(tagCorrectPtzPara, iEngineField1) == 4);
static_assert(offsetof(tagCorrectPtzPara, iPTZPositionX) == 8);
static_assert(offsetof(tagCorrectPtzPara, iPTZPositionY) == 12);
static_assert(offsetof(tagCorrectPtzPara, iPTZZoom) == 16);
static_assert(offsetof(tagCorrectPtzPara, aiEngineFields) == 20);

/// Live parameters of a 180 or 360-degree window (parameter kind 3).
struct tagCorrectWideScanPara
{
    std::int32_t iScanParam;  ///< the engine's own, handed back as it came
    float fAngle;             ///< rotation in degrees, a whole number once the library has set it
};
static_assert(sizeof(tagCorrectWideScanPara) == 8);
static_assert(offsetof(tagCorrectWideScanPara, iScanParam) == 0);
static_assert(offsetof(tagCorrectWideScanPara, fAngle) == 4);

/// A point of a picture.
struct STRUCT_FecPoint
{
    std::int32_t iX;  ///< 0..10000, left to right
    std::int32_t iY;  ///< 0..10000, top to bottom
};
static_assert(sizeof(STRUCT_FecPoint) == 8);
static_assert(offsetof(STRUCT_FecPoint, iX) == 0);
static_assert(offsetof(STRUCT_FecPoint, iY) == 4);

/// The view from which an outline is drawn.
struct STRUCT_FecPtzParam
{
    std::int32_t iSize;          ///< 24
    STRUCT_FecPoint stPosition;  ///< centre of the view
    std::int32_t iPTZZoom;       ///< 0..10000, 10000 is the widest view
    std::int32_t iPTZExtra1;     ///< from the creation record
    std::int32_t iPTZExtra2;     ///< from the creation record
};
static_assert(sizeof(STRUCT_FecPtzParam) == 24);
static_assert(offsetof(STRUCT_FecPtzParam, iSize) == 0);
static_assert(offsetof(STRUCT_FecPtzParam, stPosition) == 4);
static_assert(offsetof(STRUCT_FecPtzParam, iPTZZoom) == 12);
static_assert(offsetof(STRUCT_FecPtzParam, iPTZExtra1) == 16);
static_assert(offsetof(STRUCT_FecPtzParam, iPTZExtra2) == 20);

/// One vertex of an outline, as fractions 0..1 of the fisheye picture's width and height.
struct STRUCT_DrawPoint
{
    float fX;  ///< left to right
    float fY;  ///< top to bottom
};
static_assert(sizeof(STRUCT_DrawPoint) == 8);
static_assert(offsetof(STRUCT_DrawPoint, fX) == 0);
static_assert(offsetof(STRUCT_DrawPoint, fY) == 4);
Q_DECLARE_TYPEINFO(STRUCT_DrawPoint, Q_PRIMITIVE_TYPE);

/// The outline of a pan/tilt/zoom view. Any other value draws nothing and makes the view refuse
/// every change of its parameters.
enum n_DrawType : std::int32_t
{
    n_DrawType_Fec = 0,   ///< the true border, traced by the correction algorithm
    n_DrawType_Rect = 1,  ///< a square of 1000 x 1000 position units around the view's centre
};
