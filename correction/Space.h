// The coordinate spaces: the fisheye picture, and the pictures of the unrotated wide views.
#pragma once

#include <cstdint>
#include <optional>

#include "optics/View.h"

namespace correction {

/// The view whose picture a space is; nothing for an unknown space code.
std::optional<optics::View> ViewOfSpace(std::int32_t iSpace, std::int32_t iCorrectMode,
                                        optics::Mount eMount);

/// The view in whose picture an outline of this mode is drawn.
optics::View ViewOfOutline(std::int32_t iCorrectMode, optics::Mount eMount);

}  // namespace correction
