#pragma once

/// @file
/// What the shared library exports; everything else is hidden, helpers of exported classes too.

/// Marks what clients link.
#define VIDEOPLAYER_FISHEYE_API __attribute__((visibility("default")))

/// Marks the helpers of an exported class.
#define VIDEOPLAYER_FISHEYE_LOCAL __attribute__((visibility("hidden")))
