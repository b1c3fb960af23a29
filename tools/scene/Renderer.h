#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "optics/Lens.h"
#include "optics/Vector.h"
#include "optics/View.h"

#include "tools/scene/Room.h"

namespace scene {

/// Which direction (camera frame, unit length) is seen at a position of a picture, in pixels with
/// pixel centres at whole numbers; nothing where the picture is black. Neighbouring pixels have
/// neighbouring directions. Called from several threads at once.
using Mapping = std::function<std::optional<optics::Vec3>(const optics::Point&)>;

/// A decoded picture of a lens.
Mapping ThroughLens(const optics::Lens& stLens);

/// A view of iWidth x iHeight pixels; black where the lens, if there is one, sees nothing.
Mapping ThroughView(const optics::View& stView, int iWidth, int iHeight,
                    const std::optional<optics::Lens>& stLens = std::nullopt);

struct Picture
{
    int iWidth;
    int iHeight;
    std::vector<std::uint8_t> vecRgb;  ///< red, green, blue; rows from the top, without padding
};

/// Draws the room through a mapping, picture after picture.
///
/// A pixel is the mean of 16 rays that part its square evenly. What never moves is drawn once; for
/// each picture only the tiles that people are near are looked at again. There, a pixel of which
/// all four corners show the same person's limb takes its colour from the corners alone. Pictures
/// depend on nothing but the arguments: not on the number of threads, nor on earlier pictures.
class Renderer
{
public:
    /// Sizes are at least 1. Uses all cores; not itself to be called from two threads at once.
    Renderer(optics::Mount eMount, int iWidth, int iHeight, Mapping fnMapping);

    /// The picture at a time, in seconds; valid until the next call.
    const Picture& Render(double dSeconds);

private:
    struct Direction  // of a pixel's corner; x is NaN where there is none
    {
        float fX, fY, fZ;
    };
    struct Tile
    {
        int iLeft, iTop, iRight, iBottom;  // pixels, right and bottom excluded
        optics::Vec3 stAxis;               // a cone about everything that the tile shows
        double dAngleRad;                  // negative: the tile is black
        bool blPeople;                     // people are drawn on it
    };

    void FindCorners(int iRow);
    void MeasureTile(Tile& stTile) const;
    void DrawStill(const Room& stRoom, const Tile& stTile);
    void DrawPeople(const Room& stRoom, const Tile& stTile);
    void EraseTile(const Tile& stTile);
    Colour Supersample(const Room& stRoom, const std::vector<int>& vecSolids, int iX, int iY) const;
    const Direction& Corner(int iX, int iY) const;
    int LitCorners(int iX, int iY) const;
    template <typename Function>
    void ForEachRay(int iX, int iY, Function fn) const;
    std::uint8_t* Pixel(Picture& stPicture, int iX, int iY) const;

    optics::Mount m_eMount;
    Mapping m_fnMapping;
    std::vector<Direction> m_vecCorners;  // (width + 1) x (height + 1)
    std::vector<Tile> m_vecTiles;
    Picture m_stStill;
    Picture m_stPicture;
};

/// 10 log10(255^2 / mean square difference) over all samples of two pictures of one size, in
/// decibels; infinite where they are the same.
double Psnr(const Picture& a, const Picture& b);

}  // namespace scene
