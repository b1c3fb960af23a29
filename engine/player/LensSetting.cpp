// The record's pixel figures belong to the picture size that it names, the circle found to the
// stream's: the lens is made in the record's pixels and scaled to the stream's.
#include "engine/player/LensSetting.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/dewarp/Picture.h"

namespace engine {

namespace {

constexpr double NOT_KNOWN = std::numeric_limits<double>::quiet_NaN();

/// Whether two pictures showed the same circle, within the errors of finding it.
bool IsSame(const optics::CircleFit& a, const optics::CircleFit& b)
{
    const double tolerance = 0.02 * a.dRadius;
    return std::hypot(a.stCentre.x - b.stCentre.x, a.stCentre.y - b.stCentre.y) <= tolerance &&
           std::abs(a.dRadius - b.dRadius) <= tolerance;
}

/// The lens of a record whose centre and radius, where it leaves them open, are the circle's.
std::optional<optics::Lens> MakeLens(const RvLens& record, const optics::Point& centre,
                                     double radius)
{
    optics::LensParameters lens;
    lens.eModel = static_cast<optics::LensModel>(record.iModel);
    lens.dFovDeg = record.dFieldOfView;
    lens.stCentre = {std::isnan(record.dCentreX) ? centre.x : record.dCentreX,
                     std::isnan(record.dCentreY) ? centre.y : record.dCentreY};
    lens.dFocalX = record.dFocalX;
    lens.dFocalY = record.dFocalY;
    const bool scaled = record.dFocalX > 0.0 || lens.eModel == optics::LensModel::Table;
    lens.dCircleRadius = record.dCircleRadius == 0.0 && !scaled ? radius : record.dCircleRadius;
    std::copy_n(record.adK, 4, lens.adK.begin());
    lens.iTableLength = record.iTableLength;
    for (int i = 0; i < optics::LENS_TABLE_ROWS; ++i)
        lens.astTable[i] = {record.adTable[i][0], record.adTable[i][1]};
    std::string error;
    return optics::Lens::Make(lens, error);
}

}  // namespace

LensSetting::LensSetting(const std::uint8_t (&description)[8])
{
    m_record.iSize = sizeof(RvLens);
    m_record.iModel = description[6] <= 3 ? description[6] : 0;
    const double fieldOfView = (description[4] | description[5] << 8) / 10.0;
    m_record.dFieldOfView = fieldOfView == 0.0 ? 0.0
                                               : std::clamp(fieldOfView, optics::LENS_FOV_MIN_DEG,
                                                            optics::LENS_FOV_MAX_DEG);
    m_record.dCentreX = m_record.dCentreY = NOT_KNOWN;
    m_search = (description[7] & 1) == 0;
}

bool LensSetting::Set(const RvLens& record)
{
    const bool sized = record.iWidth > 0 && record.iWidth <= dewarp::kLargestPicture &&
                       record.iHeight > 0 && record.iHeight <= dewarp::kLargestPicture;
    const bool unsized = record.iWidth == 0 && record.iHeight == 0;
    if (record.iModel < 0 || record.iModel > 5 || (!sized && !unsized) ||
        !MakeLens(record, {0.0, 0.0}, 1000.0))
        return false;
    m_record = record;
    Resolve();
    return true;
}

RvLens LensSetting::Get() const
{
    RvLens record = m_record;
    if (!m_inForce.lens)
        return record;
    const double scaleX = record.iWidth > 0 ? static_cast<double>(m_width) / record.iWidth : 1.0;
    record.iWidth = m_width;
    record.iHeight = m_height;
    if (record.dFieldOfView == 0.0 && record.iModel != static_cast<int>(optics::LensModel::Table))
        record.dFieldOfView = 180.0;
    record.dCentreX = m_inForce.lens->Centre().x;
    record.dCentreY = m_inForce.lens->Centre().y;
    record.dFocalX = m_inForce.lens->FocalX();
    record.dFocalY = m_inForce.lens->FocalY();
    record.dCircleRadius = m_inForce.lens->MaxRadius();
    for (auto& row : record.adTable)
        row[1] *= scaleX;
    return record;
}

bool LensSetting::SetPictureSize(int width, int height)
{
    if (width == m_width && height == m_height)
        return false;
    m_width = width;
    m_height = height;
    m_circle.reset();
    m_rival.reset();
    Resolve();
    return true;
}

bool LensSetting::WantsCircle() const
{
    const bool open = std::isnan(m_record.dCentreX) || std::isnan(m_record.dCentreY) ||
                      (m_record.dCircleRadius == 0.0 && m_record.dFocalX == 0.0 &&
                       m_record.iModel != static_cast<int>(optics::LensModel::Table));
    return m_search && open;
}

void LensSetting::AddCircle(const optics::CircleFit& circle)
{
    if (m_circle && IsSame(*m_circle, circle)) {
        m_rival.reset();
    } else if (!m_circle || (m_rival && IsSame(*m_rival, circle))) {
        m_circle = circle;
        m_rival.reset();
        Resolve();
    } else {
        m_rival = circle;
    }
}

void LensSetting::Resolve()
{
    if (m_width == 0)
        return;
    const double scaleX =
        m_record.iWidth > 0 ? static_cast<double>(m_width) / m_record.iWidth : 1.0;
    const double scaleY =
        m_record.iHeight > 0 ? static_cast<double>(m_height) / m_record.iHeight : 1.0;
    const optics::Point middle = {(m_width - 1) / 2.0, (m_height - 1) / 2.0};
    const optics::Point centre = m_circle ? m_circle->stCentre : middle;
    const double radius = m_circle ? m_circle->dRadius : std::min(m_width, m_height) / 2.0;
    const auto lens =
        MakeLens(m_record, {(centre.x + 0.5) / scaleX - 0.5, (centre.y + 0.5) / scaleY - 0.5},
                 radius / scaleX);
    if (!lens)
        return;  // cannot be: the record was tried when it was set
    m_inForce.lens = scaleX == 1.0 && scaleY == 1.0 ? *lens : lens->ScaledBy(scaleX, scaleY);
    ++m_inForce.revision;
}

void LensSetting::SetOrientation(bool mirrored, bool flipped)
{
    m_inForce.mirrored = mirrored;
    m_inForce.flipped = flipped;
    ++m_inForce.revision;
}

}  // namespace engine
