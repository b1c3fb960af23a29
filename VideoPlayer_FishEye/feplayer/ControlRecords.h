#pragma once

#include <cstddef>
#include <cstdint>

/// @file
/// The records and commands with which a client steers the views; passed by value at every level.

/// A step.
struct STRUCT_CtlParam
{
    std::int32_t m_iX;     ///< window pixels to the right; the pan step for button commands
    std::int32_t m_iY;     ///< window pixels downwards; the tilt step for button commands
    std::int32_t m_iZoom;  ///< the zoom step
};
static_assert(sizeof(STRUCT_CtlParam) == 12);
static_assert(offsetof(STRUCT_CtlParam, m_iX) == 0);
static_assert(offsetof(STRUCT_CtlParam, m_iY) == 4);
static_assert(offsetof(STRUCT_CtlParam, m_iZoom) == 8);

/// A drag, in window pixels.
struct STRUCT_CtlPointParam
{
    std::int32_t m_iStartX;  ///< where the button went down, from the window's left edge
    std::int32_t m_iStartY;  ///< the same, from its top
    std::int32_t m_iEndX;    ///< where the mouse is now
    std::int32_t m_iEndY;    ///< the same
};
static_assert(sizeof(STRUCT_CtlPointParam) == 16);
static_assert(offsetof(STRUCT_CtlPointParam, m_iStartX) == 0);
static_assert(offsetof(STRUCT_CtlPointParam, m_iStartY) == 4);
static_assert(offsetof(STRUCT_CtlPointParam, m_iEndX) == 8);
static_assert(offsetof(STRUCT_CtlPointParam, m_iEndY) == 12);

/// The window in which a gesture was made, in pixels; both must be above 0.
struct STRUCT_FishWindowRect
{
    std::int32_t m_iWidth;   ///< above 0
    std::int32_t m_iHeight;  ///< above 0
};
static_assert(sizeof(STRUCT_FishWindowRect) == 8);
static_assert(offsetof(STRUCT_FishWindowRect, m_iWidth) == 0);
static_assert(offsetof(STRUCT_FishWindowRect, m_iHeight) == 4);

/// Window commands.
enum n_CtlCmd : std::int32_t
{
    n_CtlCmd_Move = 0,  ///< by the displacement of the record
    n_CtlCmd_Zoom = 1,  ///< honoured by the pan/tilt/zoom windows alone
};

/// Button commands of a pan/tilt/zoom view. Any other value is a step of nothing.
enum n_PTZCtlCmd : std::int32_t
{
    n_PTZCtl_Up = 0,         ///< -m_iY
    n_PTZCtl_Down = 1,       ///< +m_iY
    n_PTZCtl_Left = 2,       ///< -m_iX
    n_PTZCtl_Right = 3,      ///< +m_iX
    n_PTZCtl_LeftUp = 4,     ///< -m_iX, -m_iY
    n_PTZCtl_RightUp = 5,    ///< +m_iX, -m_iY
    n_PTZCtl_LeftDown = 6,   ///< -m_iX, +m_iY
    n_PTZCtl_RightDown = 7,  ///< +m_iX, +m_iY
    n_PTZCtl_ZoomIn = 8,     ///< takes the zoom step from the zoom value: a narrower view
    n_PTZCtl_ZoomOut = 9,    ///< adds it: a wider view
};
