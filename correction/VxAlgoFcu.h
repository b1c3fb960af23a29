// The correction library: points and outlines between the fisheye picture and its corrected views.
//
// Records and entry points of vx_algo_fcu.dylib. The fisheye picture here is the canonical one, a
// square whose inscribed circle is a 180 degree equidistant projection, so the answers hold for
// every camera. All integers are little-endian; records have natural alignment.
//
// Every entry point may be called from any thread, also with one handle from several threads at
// once. Each returns FCU_OK or a negative code, writes its result only when it returns FCU_OK, and
// keeps no pointer that it was given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#if defined(_WIN32)
#error "the record layouts are those of 64-bit Unix"
#endif
#define FCU_API __attribute__((visibility("default")))

/// Result codes.
enum FcuResult : std::int32_t
{
    FCU_OK = 0,
    FCU_BAD_HANDLE = -1,       ///< null, never created, or released
    FCU_NULL_RECORD = -2,      ///< a record, or the point buffer of line 0, is null
    FCU_BAD_SIZE = -3,         ///< a record's size field is not the record's size
    FCU_BAD_VALUE = -4,        ///< not a finite number, an unknown space or kind, a count below 1
    FCU_NOT_INITIALISED = -5,  ///< VxAlgo_FCU_Init has not succeeded on this handle
    FCU_NOT_SHOWN = -6,        ///< the target space does not show the point
    FCU_NO_MEMORY = -7,
};

/// Coordinate spaces. The wide view is unrotated, and that of the request's correction mode where
/// the mode is 0x200 (180), 0x300 (panorama) or 0x400 (LAT); with any other mode it is the panorama
/// for FCU_SPACE_WIDE and the 180 view for FCU_SPACE_HALF.
enum FcuSpace : std::int32_t
{
    FCU_SPACE_WIDE = 0x20000,
    FCU_SPACE_HALF = 0x30000,
    FCU_SPACE_FISHEYE = 0x40000,
};

constexpr std::int32_t FCU_MAX_LINES = 22;
constexpr std::int32_t FCU_MAX_POINTS = 40000;         ///< what the point buffer holds
constexpr std::int32_t FCU_MAX_POINTS_OF_LINE = 2500;  ///< what a caller reads of one line
constexpr std::int32_t FCU_MAX_SAMPLES = 4000;         ///< of one side; more is traced as this

/// A point as fractions of a picture or a view, 0..1 each way from the top left corner.
struct tagFcuPoint
{
    float fX;
    float fY;
};
static_assert(sizeof(tagFcuPoint) == 8 && std::is_trivially_copyable_v<tagFcuPoint>);
static_assert(offsetof(tagFcuPoint, fX) == 0);
static_assert(offsetof(tagFcuPoint, fY) == 4);

/// What an instance starts up with. The picture is the canonical square, so it must be square and
/// its centre in the middle; what its scale in pixels is makes no difference.
struct tagFcuInit
{
    std::int32_t iSize;       ///< 132
    std::int32_t iWidth;      ///< 1..32768
    std::int32_t iHeight;     ///< the same
    std::int32_t iReserved3;  ///< callers write 2; not used, like every reserved field
    std::int32_t iReserved4;
    float fScaleX;  ///< 1.0
    std::int32_t iReserved6;
    float fScaleY;   ///< 1.0
    float fCentreX;  ///< 0.5
    float fCentreY;  ///< 0.5
    std::int32_t aiReserved[23];
};
static_assert(sizeof(tagFcuInit) == 132 && std::is_trivially_copyable_v<tagFcuInit>);
static_assert(offsetof(tagFcuInit, iSize) == 0);
static_assert(offsetof(tagFcuInit, iWidth) == 4);
static_assert(offsetof(tagFcuInit, iHeight) == 8);
static_assert(offsetof(tagFcuInit, iReserved3) == 12);
static_assert(offsetof(tagFcuInit, iReserved4) == 16);
static_assert(offsetof(tagFcuInit, fScaleX) == 20);
static_assert(offsetof(tagFcuInit, iReserved6) == 24);
static_assert(offsetof(tagFcuInit, fScaleY) == 28);
static_assert(offsetof(tagFcuInit, fCentreX) == 32);
static_assert(offsetof(tagFcuInit, fCentreY) == 36);
static_assert(offsetof(tagFcuInit, aiReserved) == 40);

/// A point to be carried from one space to another.
struct tagFcuTransform
{
    std::int32_t iSize;          ///< 92
    std::int32_t iInstallation;  ///< 1 wall, 2 floor, every other value ceiling
    std::int32_t iCorrectMode;   ///< see FcuSpace
    tagFcuPoint stPoint;         ///< fractions of the source space
    std::int32_t iSourceSpace;   ///< an FcuSpace
    std::int32_t iTargetSpace;   ///< an FcuSpace
    std::int32_t aiReserved[16];
};
static_assert(sizeof(tagFcuTransform) == 92 && std::is_trivially_copyable_v<tagFcuTransform>);
static_assert(offsetof(tagFcuTransform, iSize) == 0);
static_assert(offsetof(tagFcuTransform, iInstallation) == 4);
static_assert(offsetof(tagFcuTransform, iCorrectMode) == 8);
static_assert(offsetof(tagFcuTransform, stPoint) == 12);
static_assert(offsetof(tagFcuTransform, iSourceSpace) == 20);
static_assert(offsetof(tagFcuTransform, iTargetSpace) == 24);
static_assert(offsetof(tagFcuTransform, aiReserved) == 28);

/// A pan/tilt/zoom view whose border is to be traced.
struct tagFcuOutline
{
    std::int32_t iSize;          ///< 112
    std::int32_t iInstallation;  ///< 1 wall, 2 floor, every other value ceiling
    std::int32_t iCorrectMode;   ///< 0x200, 0x300, 0x400: traced in that wide view, else fisheye
    std::int32_t iReserved3;     ///< callers write 32; not used
    std::int32_t iReserved4;
    tagFcuPoint stCentre;         ///< fisheye fractions; outside the circle: the nearest rim point
    float fZoom;                  ///< 1 is 90 degrees across; clamped to 0.05..1
    std::int32_t iSamplesAcross;  ///< points along the top and along the bottom border, 1 at least
    std::int32_t iSamplesDown;    ///< points along either side, 1 at least
    std::int32_t iPtzType;        ///< follows from the mode; not used
    std::int32_t aiReserved[17];
};
static_assert(sizeof(tagFcuOutline) == 112 && std::is_trivially_copyable_v<tagFcuOutline>);
static_assert(offsetof(tagFcuOutline, iSize) == 0);
static_assert(offsetof(tagFcuOutline, iInstallation) == 4);
static_assert(offsetof(tagFcuOutline, iCorrectMode) == 8);
static_assert(offsetof(tagFcuOutline, iReserved3) == 12);
static_assert(offsetof(tagFcuOutline, iReserved4) == 16);
static_assert(offsetof(tagFcuOutline, stCentre) == 20);
static_assert(offsetof(tagFcuOutline, fZoom) == 28);
static_assert(offsetof(tagFcuOutline, iSamplesAcross) == 32);
static_assert(offsetof(tagFcuOutline, iSamplesDown) == 36);
static_assert(offsetof(tagFcuOutline, iPtzType) == 40);
static_assert(offsetof(tagFcuOutline, aiReserved) == 44);

/// One polyline, to be joined in order and not closed.
struct tagFcuLine
{
    std::int32_t iPoints;
    std::int32_t iReserved;
    tagFcuPoint* pstPoints;
};
static_assert(sizeof(tagFcuLine) == 16 && std::is_trivially_copyable_v<tagFcuLine>);
static_assert(offsetof(tagFcuLine, iPoints) == 0);
static_assert(offsetof(tagFcuLine, pstPoints) == 8);

/// The polylines of an outline. The caller sets the points pointer of line 0 to a buffer of
/// FCU_MAX_POINTS points; the library packs all lines into it, one behind the other, and points the
/// further lines to their beginnings.
struct tagFcuLineTable
{
    std::int32_t iLines;
    std::int32_t iReserved;
    tagFcuLine astLines[FCU_MAX_LINES];
    std::int32_t aiReserved[2];
};
static_assert(sizeof(tagFcuLineTable) == 368 && std::is_trivially_copyable_v<tagFcuLineTable>);
static_assert(offsetof(tagFcuLineTable, iLines) == 0);
static_assert(offsetof(tagFcuLineTable, astLines) == 8);
static_assert(offsetof(tagFcuLineTable, aiReserved) == 360);

/// Where the outline goes.
struct tagFcuOutlineResult
{
    std::int32_t iSize;  ///< 88
    std::int32_t aiReserved[3];
    tagFcuLineTable* pstTable;
    std::int32_t aiReservedBehind[16];
};
static_assert(sizeof(tagFcuOutlineResult) == 88 &&
              std::is_trivially_copyable_v<tagFcuOutlineResult>);
static_assert(offsetof(tagFcuOutlineResult, iSize) == 0);
static_assert(offsetof(tagFcuOutlineResult, pstTable) == 16);
static_assert(offsetof(tagFcuOutlineResult, aiReservedBehind) == 24);

/// What VxAlgo_FCU_GetLibInfo tells.
struct tagFcuLibInfo
{
    std::int32_t iSize;  ///< 48, set by the caller
    std::int32_t iMajor;
    std::int32_t iMinor;
    std::int32_t iPatch;
    char acName[32];  ///< ends with a zero
};
static_assert(sizeof(tagFcuLibInfo) == 48 && std::is_trivially_copyable_v<tagFcuLibInfo>);
static_assert(offsetof(tagFcuLibInfo, iSize) == 0);
static_assert(offsetof(tagFcuLibInfo, iMajor) == 4);
static_assert(offsetof(tagFcuLibInfo, iMinor) == 8);
static_assert(offsetof(tagFcuLibInfo, iPatch) == 12);
static_assert(offsetof(tagFcuLibInfo, acName) == 16);

extern "C" {

/// A new handle, to be given back to VxAlgo_FCU_Release; null when there is no memory. Both
/// arguments are ignored. A released handle's value is never given out again.
FCU_API void* VxAlgo_FCU_Creat(void* pReserved0, void* pReserved1);

/// Checks the start-up record and makes the handle ready; may be called again.
FCU_API int VxAlgo_FCU_Init(void* pHandle, const tagFcuInit* pstInit);

/// Traces the border of a square pan/tilt/zoom view, clockwise from its top left corner back to it.
///
/// The border is cut where it leaves the circle or the wide view, split at the panorama's seam and
/// after FCU_MAX_POINTS_OF_LINE points (then the next line begins with the last point), and has
/// further points where two samples lie more than a fiftieth of the picture apart. A border of
/// which nothing is shown gives no line, which is no error.
/// @param iKind  0
FCU_API int VxAlgo_FCU_Process(void* pHandle, int iKind, const tagFcuOutline* pstRequest,
                               tagFcuOutlineResult* pstResult);

/// Carries a point from one space to another. A point outside the circle stands for the nearest
/// point of the rim, one outside a wide view for the nearest point of its border.
FCU_API int VxAlgo_FCU_Point_Transform(void* pHandle, const tagFcuTransform* pstRequest,
                                       tagFcuPoint* pstResult);

/// The library's name and version; needs no handle.
FCU_API int VxAlgo_FCU_GetLibInfo(tagFcuLibInfo* pstInfo);

/// Ends a handle. Calls that are under way on it in other threads finish undisturbed.
FCU_API int VxAlgo_FCU_Release(void* pHandle);

}  // extern "C"
