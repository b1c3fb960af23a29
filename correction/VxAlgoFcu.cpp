#include "correction/VxAlgoFcu.h"

#include <cmath>
#include <exception>

#include "correction/Handles.h"
#include "correction/LineWriter.h"
#include "correction/Space.h"
#include "correction/Tracer.h"
#include "optics/FisheyePicture.h"

namespace {

using correction::Handles;
using optics::Point;
using optics::View;

constexpr tagFcuLibInfo s_libInfo = {48, 1, 0, 0, "vx_algo_fcu"};
constexpr std::int32_t CONST_MAX_WIDTH = 32768;

/// Never destroyed: a client's threads may still call while the process ends.
Handles& LiveHandles()
{
    static Handles* const s_handles = new Handles;
    return *s_handles;
}

/// What an entry point does: no exception goes out to a caller in C.
template <typename Result, typename Function>
Result Guarded(Result failure, Function&& function) noexcept
{
    try {
        return function();
    } catch (const std::exception&) {
        return failure;
    }
}

bool IsFinite(const tagFcuPoint& st)
{
    return std::isfinite(st.fX) && std::isfinite(st.fY);
}

bool IsCanonical(const tagFcuInit& st)
{
    return st.iWidth >= 1 && st.iWidth <= CONST_MAX_WIDTH && st.iHeight == st.iWidth &&
           st.fScaleX == 1.0f && st.fScaleY == 1.0f && st.fCentreX == 0.5f && st.fCentreY == 0.5f;
}

/// The direction that a space shows at a point, or at the nearest one that it has.
optics::Vec3 DirectionIn(const View& space, const tagFcuPoint& stPoint)
{
    if (space.Parameters().eKind == optics::ViewKind::Fisheye)
        return optics::FisheyeDirection(optics::NearestInCircle({stPoint.fX, stPoint.fY}));
    const double dX = std::clamp(static_cast<double>(stPoint.fX), 0.0, 1.0);
    const double dY = std::clamp(static_cast<double>(stPoint.fY), 0.0, 1.0);
    return *space.Direction({dX, dY});
}

View BorderOf(const tagFcuOutline& st)
{
    optics::ViewParameters stView;
    stView.eKind = optics::ViewKind::PanTiltZoom;
    stView.eMount = optics::MountOf(st.iInstallation);
    stView.stCentre = {st.stCentre.fX, st.stCentre.fY};
    stView.dZoom = st.fZoom * 10000.0;
    return View(stView);
}

int CheckOutline(const tagFcuOutline* pstRequest, const tagFcuOutlineResult* pstResult)
{
    if (pstRequest == nullptr || pstResult == nullptr || pstResult->pstTable == nullptr ||
        pstResult->pstTable->astLines[0].pstPoints == nullptr)
        return FCU_NULL_RECORD;
    if (pstRequest->iSize != int{sizeof(*pstRequest)} ||
        pstResult->iSize != int{sizeof(*pstResult)})
        return FCU_BAD_SIZE;
    if (!IsFinite(pstRequest->stCentre) || !std::isfinite(pstRequest->fZoom) ||
        pstRequest->iSamplesAcross < 1 || pstRequest->iSamplesDown < 1)
        return FCU_BAD_VALUE;
    return FCU_OK;
}

}  // namespace

void* VxAlgo_FCU_Creat(void*, void*)
{
    return Guarded<void*>(nullptr, [] { return LiveHandles().Create(); });
}

int VxAlgo_FCU_Init(void* pHandle, const tagFcuInit* pstInit)
{
    return Guarded<int>(FCU_NO_MEMORY, [&]() -> int {
        const int iReady = LiveHandles().Check(pHandle);
        if (iReady == FCU_BAD_HANDLE)
            return iReady;
        if (pstInit == nullptr)
            return FCU_NULL_RECORD;
        if (pstInit->iSize != int{sizeof(*pstInit)})
            return FCU_BAD_SIZE;
        if (!IsCanonical(*pstInit))
            return FCU_BAD_VALUE;
        return LiveHandles().Initialise(pHandle) ? FCU_OK : FCU_BAD_HANDLE;
    });
}

int VxAlgo_FCU_Process(void* pHandle, int iKind, const tagFcuOutline* pstRequest,
                       tagFcuOutlineResult* pstResult)
{
    return Guarded<int>(FCU_NO_MEMORY, [&]() -> int {
        const int iReady = LiveHandles().Check(pHandle);
        if (iReady != FCU_OK)
            return iReady;
        const int iGood = CheckOutline(pstRequest, pstResult);
        if (iGood != FCU_OK)
            return iGood;
        if (iKind != 0)
            return FCU_BAD_VALUE;

        const View border = BorderOf(*pstRequest);
        const View space =
            correction::ViewOfOutline(pstRequest->iCorrectMode, border.Parameters().eMount);
        correction::LineWriter writer(pstResult->pstTable->astLines[0].pstPoints);
        correction::Tracer(border, space, writer)
            .Trace(std::min(pstRequest->iSamplesAcross, FCU_MAX_SAMPLES),
                   std::min(pstRequest->iSamplesDown, FCU_MAX_SAMPLES));
        writer.Finish(*pstResult->pstTable);
        return FCU_OK;
    });
}

int VxAlgo_FCU_Point_Transform(void* pHandle, const tagFcuTransform* pstRequest,
                               tagFcuPoint* pstResult)
{
    return Guarded<int>(FCU_NO_MEMORY, [&]() -> int {
        const int iReady = LiveHandles().Check(pHandle);
        if (iReady != FCU_OK)
            return iReady;
        if (pstRequest == nullptr || pstResult == nullptr)
            return FCU_NULL_RECORD;
        if (pstRequest->iSize != int{sizeof(*pstRequest)})
            return FCU_BAD_SIZE;
        const optics::Mount eMount = optics::MountOf(pstRequest->iInstallation);
        const auto space = [&](std::int32_t iSpace) {
            return correction::ViewOfSpace(iSpace, pstRequest->iCorrectMode, eMount);
        };
        const std::optional<View> source = space(pstRequest->iSourceSpace);
        const std::optional<View> target = space(pstRequest->iTargetSpace);
        if (!source || !target || !IsFinite(pstRequest->stPoint))
            return FCU_BAD_VALUE;

        const std::optional<Point> point =
            target->Fraction(DirectionIn(*source, pstRequest->stPoint));
        if (!point)
            return FCU_NOT_SHOWN;
        *pstResult = {static_cast<float>(point->x), static_cast<float>(point->y)};
        return FCU_OK;
    });
}

int VxAlgo_FCU_GetLibInfo(tagFcuLibInfo* pstInfo)
{
    if (pstInfo == nullptr)
        return FCU_NULL_RECORD;
    if (pstInfo->iSize != s_libInfo.iSize)
        return FCU_BAD_SIZE;
    *pstInfo = s_libInfo;
    return FCU_OK;
}

int VxAlgo_FCU_Release(void* pHandle)
{
    return Guarded<int>(FCU_NO_MEMORY,
                        [&] { return LiveHandles().Release(pHandle) ? FCU_OK : FCU_BAD_HANDLE; });
}
