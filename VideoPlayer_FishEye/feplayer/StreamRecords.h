#pragma once

#include <cstddef>
#include <cstdint>

#include <QMap>
#include <QVector>

#include "VideoPlayer_FishEye/feplayer/CorrectParaRecords.h"

/// @file
/// The records and containers with which a client describes one fisheye stream and its windows.

/// Kinds of view, the keys of the window map. Every other key is skipped without a message.
enum n_CorrectType : std::int32_t
{
    CORRECT_TYPE_SOURCE = 0x000,   ///< the picture as it is
    CORRECT_TYPE_PTZ = 0x100,      ///< pan/tilt/zoom views, one for each window
    CORRECT_TYPE_180 = 0x200,      ///< 180-degree view
    CORRECT_TYPE_360 = 0x300,      ///< 360-degree panorama
    CORRECT_TYPE_LAT = 0x400,      ///< "LAT" view
    CORRECT_TYPE_FISHEYE = 0x500,  ///< the fisheye circle
};

/// The camera.
struct STRUCT_FishEyeParam
{
    std::int32_t m_iCreateType;       ///< installation type, passed to the engine unchanged
    std::int32_t m_iDrawCorrectMode;  ///< CORRECT_TYPE_* of the view on which outlines are drawn
};
static_assert(sizeof(STRUCT_FishEyeParam) == 8);
static_assert(offsetof(STRUCT_FishEyeParam, m_iCreateType) == 0);
static_assert(offsetof(STRUCT_FishEyeParam, m_iDrawCorrectMode) == 4);

/// The overlay that a layout asks for.
struct STRUCT_FishDrawParam
{
    std::int32_t m_iDrawWindowType;  ///< CORRECT_TYPE_* of the view that carries it, 0 for none
    std::int32_t m_iDrawType;        ///< n_DrawType_*
};
static_assert(sizeof(STRUCT_FishDrawParam) == 8);
static_assert(offsetof(STRUCT_FishDrawParam, m_iDrawWindowType) == 0);
static_assert(offsetof(STRUCT_FishDrawParam, m_iDrawType) == 4);

/// Outlines by pan/tilt/zoom view, polyline and point.
using DrawOutlines = QVector<QVector<QVector<STRUCT_DrawPoint>>>;

/// The client's draw callback. Called on the overlay thread with two zeros and the outlines; the
/// result is ignored. It must not stop that thread: no EnableDraw(false), layout or deletion of
/// its own player from within.
using DrawCallback = int (*)(int, int, DrawOutlines);
