#include "correction/Space.h"

#include "correction/VxAlgoFcu.h"

namespace correction {
namespace {

using optics::View;
using optics::ViewKind;

View Unrotated(ViewKind eKind, optics::Mount eMount)
{
    optics::ViewParameters st;
    st.eKind = eKind;
    st.eMount = eMount;
    return View(st);
}

/// The wide view that a correction mode names, else the one that stands in for it.
ViewKind WideKind(std::int32_t iCorrectMode, ViewKind eOtherwise)
{
    for (const ViewKind eKind : {ViewKind::Half, ViewKind::Panorama, ViewKind::Lat}) {
        if (iCorrectMode == static_cast<std::int32_t>(eKind))
            return eKind;
    }
    return eOtherwise;
}

}  // namespace

std::optional<View> ViewOfSpace(std::int32_t iSpace, std::int32_t iCorrectMode,
                                optics::Mount eMount)
{
    switch (iSpace) {
    case FCU_SPACE_FISHEYE:
        return Unrotated(ViewKind::Fisheye, eMount);
    case FCU_SPACE_WIDE:
        return Unrotated(WideKind(iCorrectMode, ViewKind::Panorama), eMount);
    case FCU_SPACE_HALF:
        return Unrotated(WideKind(iCorrectMode, ViewKind::Half), eMount);
    default:
        return std::nullopt;
    }
}

View ViewOfOutline(std::int32_t iCorrectMode, optics::Mount eMount)
{
    return Unrotated(WideKind(iCorrectMode, ViewKind::Fisheye), eMount);
}

}  // namespace correction
