// The projection of directions by vectors, as many at a time as one holds. This file is compiled
// once for each instruction set.

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optics/Projection.cpp"
#include <hwy/foreach_target.h>

#include <hwy/contrib/math/math-inl.h>
#include <hwy/highway.h>

#include "optics/Projection.h"

HWY_BEFORE_NAMESPACE();
namespace optics {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;

HWY_INLINE V Polynomial(const std::array<double, 4>& adK, V theta)
{
    const D d;
    const V square = hn::Mul(theta, theta);
    V sum = hn::Set(d, adK[3]);
    for (int i = 2; i >= 0; --i)
        sum = hn::MulAdd(sum, square, hn::Set(d, adK[i]));
    return hn::MulAdd(hn::Mul(sum, square), theta, theta);
}

// Works on t = tan(theta / 2), which is rational in the direction and its length: three of the
// models then need no trigonometry at all, and this is called for every node of every mesh.
HWY_INLINE V MapOfHalfTangent(const Lens& lens, const Projection& projection, V t)
{
    const D d;
    const V twice = hn::Add(t, t);
    const V one = hn::Set(d, 1.0);
    switch (projection.eModel) {
    case LensModel::Stereographic:
        return twice;
    case LensModel::EquisolidAngle:
        return hn::Div(twice, hn::Sqrt(hn::MulAdd(t, t, one)));
    case LensModel::Orthographic:
        return hn::Div(twice, hn::MulAdd(t, t, one));
    default:
        break;
    }
    const V arc = hn::Atan(d, t);
    const V theta = hn::Add(arc, arc);
    if (projection.eModel == LensModel::KannalaBrandt)
        return Polynomial(projection.adK, theta);
    if (projection.eModel == LensModel::Table) {
        HWY_ALIGN double adTheta[hn::MaxLanes(D())];
        hn::Store(theta, d, adTheta);
        projection.pfnTable(lens, adTheta, static_cast<int>(hn::Lanes(d)));
        return hn::Load(d, adTheta);
    }
    return theta;
}

HWY_ATTR void Project(const Lens& lens, const Projection& projection, const double* pdDirections,
                      double* pdOut)
{
    const D d;
    V x, y, z;
    hn::LoadInterleaved3(d, pdDirections, x, y, z);
    const V sideSquare = hn::MulAdd(x, x, hn::Mul(y, y));
    const V side = hn::Sqrt(sideSquare);
    const V halfTangent = hn::Div(side, hn::Add(hn::Sqrt(hn::MulAdd(z, z, sideSquare)), z));
    const V most = hn::Set(d, projection.dMaxHalfTangent);
    const V mapped = MapOfHalfTangent(lens, projection, hn::Min(halfTangent, most));
    const V zero = hn::Zero(d);
    const V scale = hn::IfThenElse(
        hn::Gt(side, zero), hn::Div(hn::Mul(hn::Set(d, projection.dFocal), mapped), side), zero);
    const auto seen = hn::Le(halfTangent, hn::Mul(most, hn::Set(d, 1.0 + CONST_END_TOLERANCE)));
    const V nan = hn::NaN(d);
    const V pixelX = hn::MulAdd(scale, x, hn::Set(d, projection.stCentre.x));
    const V pixelY = hn::MulAdd(hn::Mul(scale, hn::Set(d, projection.dAspect)), y,
                                hn::Set(d, projection.stCentre.y));
    hn::StoreInterleaved2(hn::IfThenElse(seen, pixelX, nan), hn::IfThenElse(seen, pixelY, nan), d,
                          pdOut);
}

HWY_ATTR void ProjectBatches(const Lens& lens, const Projection& projection,
                             const Vec3* pstDirections, int iCount, Point* pstOut)
{
    static_assert(sizeof(Vec3) == 3 * sizeof(double) && sizeof(Point) == 2 * sizeof(double));
    const int iLanes = static_cast<int>(hn::Lanes(D()));
    int i = 0;
    for (; i + iLanes <= iCount; i += iLanes)
        Project(lens, projection, &pstDirections[i].x, &pstOut[i].x);
    if (i == iCount)
        return;
    Vec3 astLast[hn::MaxLanes(D())];
    Point astOut[hn::MaxLanes(D())];
    for (int j = 0; j < iLanes; ++j)
        astLast[j] = pstDirections[std::min(i + j, iCount - 1)];
    Project(lens, projection, &astLast[0].x, &astOut[0].x);
    std::copy_n(astOut, iCount - i, pstOut + i);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace optics
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace optics {

namespace {

HWY_EXPORT(ProjectBatches);

}  // namespace

void ProjectAll(const Lens& lens, const Projection& projection, const Vec3* pstDirections,
                int iCount, Point* pstOut)
{
    HWY_DYNAMIC_DISPATCH(ProjectBatches)(lens, projection, pstDirections, iCount, pstOut);
}

}  // namespace optics

#endif
