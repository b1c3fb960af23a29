#include "tools/scene/Renderer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <utility>

namespace scene {
namespace {

using optics::Point;
using optics::Vec3;

constexpr int CONST_TILE = 16;  // pixels along a tile
constexpr int CONST_RAYS_ACROSS = 4;
constexpr int CONST_RAYS = CONST_RAYS_ACROSS * CONST_RAYS_ACROSS;

/// In tiles that show no more than this, pixels are so small beside every part of a person that
/// nothing hides between their corners.
constexpr double CONST_FINE_TILE_RAD = 0.15;

/// Where a ray passes through a pixel, 0..1 each way. A sheared grid: no two rays share a column or
/// a row, so that edges along the pixels' sides come out in 17 steps rather than 5.
constexpr Point RayInPixel(int iRay)
{
    const int iX = iRay % CONST_RAYS_ACROSS;
    const int iY = iRay / CONST_RAYS_ACROSS;
    return {(iX + (iY + 0.5) / CONST_RAYS_ACROSS) / CONST_RAYS_ACROSS,
            (iY + (iX + 0.5) / CONST_RAYS_ACROSS) / CONST_RAYS_ACROSS};
}

/// Calls fn(0) ... fn(iCount - 1), in any order, on all cores.
template <typename Function>
void ForEachInParallel(int iCount, Function fn)
{
    std::atomic<int> iNext{0};
    const auto Work = [&] {
        for (int i = iNext++; i < iCount; i = iNext++)
            fn(i);
    };
    std::vector<std::thread> vecThreads;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
        vecThreads.emplace_back(Work);
    Work();
    for (std::thread& stThread : vecThreads)
        stThread.join();
}

std::uint8_t ByteOf(float fValue)
{
    return std::uint8_t(std::clamp(fValue, 0.0f, 1.0f) * 255.0f + 0.5f);
}

void Store(const Colour& stColour, std::uint8_t* pPixel)
{
    pPixel[0] = ByteOf(stColour.fRed);
    pPixel[1] = ByteOf(stColour.fGreen);
    pPixel[2] = ByteOf(stColour.fBlue);
}

}  // namespace

Mapping ThroughLens(const optics::Lens& stLens)
{
    return [stLens](const Point& stPixel) { return stLens.Unproject(stPixel); };
}

Mapping ThroughView(const optics::View& stView, int iWidth, int iHeight,
                    const std::optional<optics::Lens>& stLens)
{
    return [=](const Point& stPixel) -> std::optional<Vec3> {
        const std::optional<Vec3> stDirection =
            stView.Direction({(stPixel.x + 0.5) / iWidth, (stPixel.y + 0.5) / iHeight});
        if (stDirection && stLens && !stLens->Project(*stDirection))
            return std::nullopt;
        return stDirection;
    };
}

Renderer::Renderer(optics::Mount eMount, int iWidth, int iHeight, Mapping fnMapping)
    : m_eMount(eMount),
      m_fnMapping(std::move(fnMapping)), m_stStill{iWidth, iHeight,
                                                   std::vector<std::uint8_t>(std::size_t(iWidth) *
                                                                             iHeight * 3)}
{
    m_vecCorners.resize((std::size_t(iWidth) + 1) * (std::size_t(iHeight) + 1));
    ForEachInParallel(iHeight + 1, [this](int iRow) { FindCorners(iRow); });
    for (int iTop = 0; iTop < iHeight; iTop += CONST_TILE) {
        for (int iLeft = 0; iLeft < iWidth; iLeft += CONST_TILE)
            m_vecTiles.push_back({iLeft,
                                  iTop,
                                  std::min(iLeft + CONST_TILE, iWidth),
                                  std::min(iTop + CONST_TILE, iHeight),
                                  {},
                                  -1.0,
                                  false});
    }
    const Room stRoom(eMount);
    ForEachInParallel(int(m_vecTiles.size()), [&](int i) {
        MeasureTile(m_vecTiles[std::size_t(i)]);
        DrawStill(stRoom, m_vecTiles[std::size_t(i)]);
    });
    m_stPicture = m_stStill;
}

const Picture& Renderer::Render(double dSeconds)
{
    const Room stRoom(m_eMount, dSeconds);
    ForEachInParallel(int(m_vecTiles.size()), [&](int i) {
        Tile& stTile = m_vecTiles[std::size_t(i)];
        if (stTile.dAngleRad < 0)
            return;
        if (std::exchange(stTile.blPeople, stRoom.IsSomebodyNear(stTile.stAxis, stTile.dAngleRad)))
            EraseTile(stTile);
        if (stTile.blPeople)
            DrawPeople(stRoom, stTile);
    });
    return m_stPicture;
}

void Renderer::FindCorners(int iRow)
{
    constexpr float fNone = std::numeric_limits<float>::quiet_NaN();
    Direction* pCorner = &m_vecCorners[std::size_t(iRow) * (m_stStill.iWidth + 1)];
    for (int iX = 0; iX <= m_stStill.iWidth; ++iX) {
        const std::optional<Vec3> st = m_fnMapping({iX - 0.5, iRow - 0.5});
        *pCorner++ = st ? Direction{float(st->x), float(st->y), float(st->z)}
                        : Direction{fNone, fNone, fNone};
    }
}

const Renderer::Direction& Renderer::Corner(int iX, int iY) const
{
    return m_vecCorners[std::size_t(iY) * (m_stStill.iWidth + 1) + iX];
}

int Renderer::LitCorners(int iX, int iY) const
{
    int iLit = 0;
    for (const int iCorner : {0, 1, 2, 3})
        iLit += !std::isnan(Corner(iX + iCorner % 2, iY + iCorner / 2).fX);
    return iLit;
}

/// Calls fn(direction) for each ray of a pixel that sees something. Between four lit corners a
/// direction is interpolated, which the smallness of pixels makes exact; at the border of the
/// picture's lit part the mapping itself is asked.
template <typename Function>
void Renderer::ForEachRay(int iX, int iY, Function fn) const
{
    const int iLit = LitCorners(iX, iY);
    if (iLit == 0)
        return;
    for (int iRay = 0; iRay < CONST_RAYS; ++iRay) {
        const Point stIn = RayInPixel(iRay);
        if (iLit < 4) {
            if (const auto stDirection = m_fnMapping({iX - 0.5 + stIn.x, iY - 0.5 + stIn.y}))
                fn(*stDirection);
            continue;
        }
        const auto Between = [&](float Direction::*pField) {
            const double dTop =
                Corner(iX, iY).*pField * (1 - stIn.x) + Corner(iX + 1, iY).*pField * stIn.x;
            const double dBottom =
                Corner(iX, iY + 1).*pField * (1 - stIn.x) + Corner(iX + 1, iY + 1).*pField * stIn.x;
            return dTop * (1 - stIn.y) + dBottom * stIn.y;
        };
        fn(optics::Normalised(
            {Between(&Direction::fX), Between(&Direction::fY), Between(&Direction::fZ)}));
    }
}

void Renderer::MeasureTile(Tile& stTile) const
{
    std::vector<Vec3> vecDirections;
    for (int iY = stTile.iTop; iY <= stTile.iBottom; ++iY) {
        for (int iX = stTile.iLeft; iX <= stTile.iRight; ++iX) {
            const Direction& st = Corner(iX, iY);
            if (!std::isnan(st.fX))
                vecDirections.push_back({st.fX, st.fY, st.fZ});
        }
    }
    // Where the lit part ends within a pixel, its rays may lie beyond the lit corners.
    for (int iY = stTile.iTop; iY < stTile.iBottom; ++iY) {
        for (int iX = stTile.iLeft; iX < stTile.iRight; ++iX) {
            if (LitCorners(iX, iY) < 4)
                ForEachRay(iX, iY, [&](const Vec3& st) { vecDirections.push_back(st); });
        }
    }
    if (vecDirections.empty())
        return;
    Vec3 stSum{};
    for (const Vec3& st : vecDirections)
        stSum = stSum + st;
    stTile.dAngleRad = optics::PI;
    if (Length(stSum) < 1e-3 * double(vecDirections.size()))
        return;  // it shows all sides
    stTile.stAxis = Normalised(stSum);
    double dCosine = 1;
    for (const Vec3& st : vecDirections)
        dCosine = std::min(dCosine, Dot(st, stTile.stAxis));
    // Corners are single precision numbers.
    stTile.dAngleRad = std::acos(std::max(-1.0, dCosine)) + 1e-6;
    if (stTile.dAngleRad >= optics::PI / 2)
        stTile.dAngleRad = optics::PI;  // what lies between the corners may lie outside the cone
}

Colour Renderer::Supersample(const Room& stRoom, const std::vector<int>& vecSolids, int iX,
                             int iY) const
{
    Colour stSum{};
    ForEachRay(iX, iY, [&](const Vec3& stDirection) {
        stSum = stSum + stRoom.Look(stDirection, vecSolids).stColour;
    });
    return stSum * (1.0f / CONST_RAYS);
}

std::uint8_t* Renderer::Pixel(Picture& stPicture, int iX, int iY) const
{
    return &stPicture.vecRgb[(std::size_t(iY) * stPicture.iWidth + iX) * 3];
}

void Renderer::DrawStill(const Room& stRoom, const Tile& stTile)
{
    if (stTile.dAngleRad < 0)
        return;
    const std::vector<int> vecSolids = stRoom.NearbySolids(stTile.stAxis, stTile.dAngleRad);
    for (int iY = stTile.iTop; iY < stTile.iBottom; ++iY) {
        for (int iX = stTile.iLeft; iX < stTile.iRight; ++iX)
            Store(Supersample(stRoom, vecSolids, iX, iY), Pixel(m_stStill, iX, iY));
    }
}

void Renderer::EraseTile(const Tile& stTile)
{
    for (int iY = stTile.iTop; iY < stTile.iBottom; ++iY) {
        const std::uint8_t* pFrom = Pixel(m_stStill, stTile.iLeft, iY);
        std::copy(pFrom, pFrom + 3 * (stTile.iRight - stTile.iLeft),
                  Pixel(m_stPicture, stTile.iLeft, iY));
    }
}

void Renderer::DrawPeople(const Room& stRoom, const Tile& stTile)
{
    const std::vector<int> vecSolids = stRoom.NearbySolids(stTile.stAxis, stTile.dAngleRad);
    const int iAcross = stTile.iRight - stTile.iLeft + 1;
    std::array<Sight, (CONST_TILE + 1) * (CONST_TILE + 1)> astCorners{};
    const auto SightAt = [&](int iX, int iY) -> Sight& {
        return astCorners[std::size_t((iY - stTile.iTop) * iAcross + iX - stTile.iLeft)];
    };
    for (int iY = stTile.iTop; iY <= stTile.iBottom; ++iY) {
        for (int iX = stTile.iLeft; iX <= stTile.iRight; ++iX) {
            const Direction& st = Corner(iX, iY);
            if (!std::isnan(st.fX))
                SightAt(iX, iY) = stRoom.Look({st.fX, st.fY, st.fZ}, vecSolids);
        }
    }
    const bool blFine = stTile.dAngleRad < CONST_FINE_TILE_RAD;
    for (int iY = stTile.iTop; iY < stTile.iBottom; ++iY) {
        for (int iX = stTile.iLeft; iX < stTile.iRight; ++iX) {
            const Sight* const apCorners[] = {&SightAt(iX, iY), &SightAt(iX + 1, iY),
                                              &SightAt(iX, iY + 1), &SightAt(iX + 1, iY + 1)};
            const bool blSure = blFine && LitCorners(iX, iY) == 4;
            const auto All = [&](auto fn) {
                return std::all_of(std::begin(apCorners), std::end(apCorners), fn);
            };
            if (blSure && All([](const Sight* p) { return !p->blMoves; }))
                continue;
            std::uint8_t* pPixel = Pixel(m_stPicture, iX, iY);
            const int iLimb = apCorners[0]->iSolid;
            if (blSure && iLimb >= 0 && All([&](const Sight* p) { return p->iSolid == iLimb; }))
                Store((apCorners[0]->stColour + apCorners[1]->stColour + apCorners[2]->stColour +
                       apCorners[3]->stColour) *
                          0.25f,
                      pPixel);
            else
                Store(Supersample(stRoom, vecSolids, iX, iY), pPixel);
        }
    }
}

double Psnr(const Picture& a, const Picture& b)
{
    double dSquares = 0;
    for (std::size_t i = 0; i < a.vecRgb.size(); ++i) {
        const double dDifference = double(a.vecRgb[i]) - double(b.vecRgb[i]);
        dSquares += dDifference * dDifference;
    }
    return 10 * std::log10(255.0 * 255.0 * double(a.vecRgb.size()) / dSquares);
}

}  // namespace scene
