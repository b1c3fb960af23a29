#include "tools/scene/Paint.h"

#include <cmath>
#include <string_view>

#include "tools/scene/Lettering.h"

namespace scene {
namespace {

using optics::Vec3;

constexpr double CONST_TILE = 0.5;  // metres along a tile of the floor

constexpr Colour CONST_LIGHT_TILE = {0.71f, 0.70f, 0.67f};
constexpr Colour CONST_DARK_TILE = {0.58f, 0.57f, 0.55f};
constexpr Colour CONST_INK = {0.36f, 0.38f, 0.45f};
constexpr Colour CONST_WOOD = {0.55f, 0.42f, 0.30f};
constexpr Colour CONST_SKY = {0.80f, 0.90f, 0.98f};
constexpr Colour CONST_FRAME = {0.92f, 0.92f, 0.90f};
constexpr Colour CONST_LAMP = {1.25f, 1.24f,
                               1.18f};  // shines: more than the light on it gives back
constexpr Colour CONST_SKIRTING = {0.48f, 0.46f, 0.44f};

/// A painted rectangle.
struct Patch
{
    Surface eSurface;
    double dLeft, dBottom, dRight, dTop;  // metres, as in OnSurface
    Colour stColour;
};

/// In the order in which they are painted: a later patch covers an earlier one.
constexpr Patch CONST_PATCHES[] = {
    {Surface::North, -4.0, 0.0, 4.0, 0.12, CONST_SKIRTING},
    {Surface::North, -3.3, 0.0, -2.3, 2.1, CONST_FRAME},  // door
    {Surface::North, -3.22, 0.0, -2.38, 2.02, CONST_WOOD},
    {Surface::North, -2.55, 1.0, -2.45, 1.06, CONST_FRAME},  // its handle
    {Surface::North, 2.0, 0.9, 3.6, 2.2, CONST_FRAME},       // window, two panes
    {Surface::North, 2.08, 0.98, 2.76, 2.12, CONST_SKY},
    {Surface::North, 2.84, 0.98, 3.52, 2.12, CONST_SKY},
    {Surface::East, -3.0, 0.0, 3.0, 0.12, CONST_SKIRTING},
    {Surface::East, -2.4, 1.1, -1.2, 1.9, {0.35f, 0.30f, 0.28f}},  // picture
    {Surface::East, -2.32, 1.18, -1.28, 1.5, {0.40f, 0.58f, 0.36f}},
    {Surface::East, -2.32, 1.5, -1.28, 1.82, {0.60f, 0.74f, 0.86f}},
    {Surface::South, -4.0, 0.0, 4.0, 0.12, CONST_SKIRTING},
    {Surface::South, -3.2, 0.9, -0.9, 1.9, {0.20f, 0.34f, 0.28f}},  // blackboard
    {Surface::South, 2.2, 0.0, 3.2, 2.1, CONST_FRAME},              // door
    {Surface::South, 2.28, 0.0, 3.12, 2.02, {0.36f, 0.46f, 0.58f}},
    {Surface::West, -3.0, 0.0, 3.0, 0.12, CONST_SKIRTING},
    {Surface::West, -2.5, 0.9, -0.9, 2.2, CONST_FRAME},  // window
    {Surface::West, -2.42, 0.98, -1.74, 2.12, CONST_SKY},
    {Surface::West, -1.66, 0.98, -0.98, 2.12, CONST_SKY},
    {Surface::West, 0.9, 1.2, 1.3, 1.6, {0.80f, 0.28f, 0.24f}},  // colour samples
    {Surface::West, 1.4, 1.2, 1.8, 1.6, {0.30f, 0.66f, 0.32f}},
    {Surface::West, 1.9, 1.2, 2.3, 1.6, {0.25f, 0.38f, 0.78f}},
    {Surface::Ceiling, -2.6, -1.2, -2.2, 1.2, CONST_LAMP},
    {Surface::Ceiling, 2.2, -1.2, 2.6, 1.2, CONST_LAMP},
    {Surface::TableTop, -0.55, -0.35, 0.55, 0.35, {0.66f, 0.58f, 0.46f}},  // cloth
};

/// A text, by the lower left corner of its box.
struct Sign
{
    Surface eSurface;
    std::string_view svText;
    double dLeft, dBottom, dHeight;  // metres
    Colour stInk;
};

/// Every side of the room bears a word of its own, so that a mirrored or turned picture shows.
constexpr Sign CONST_SIGNS[] = {
    {Surface::North, "NORTH", -1.6, 1.6, 0.7, CONST_INK},
    {Surface::North, "ROOM 12", -1.55, 1.2, 0.24, {0.62f, 0.22f, 0.20f}},
    {Surface::East, "EAST", -0.8, 1.6, 0.7, CONST_INK},
    {Surface::East, "ABCDEFGH", -0.75, 1.26, 0.2, CONST_INK},
    {Surface::East, "JKLMNPQRST", -0.75, 1.08, 0.1, CONST_INK},
    {Surface::East, "0123456789", -0.75, 0.98, 0.05, CONST_INK},
    {Surface::South, "SOUTH", -1.0, 2.05, 0.7, CONST_INK},
    {Surface::South, "FISHEYE", -2.9, 1.45, 0.28, {0.86f, 0.88f, 0.84f}},
    {Surface::South, "R - F A", -2.9, 1.05, 0.2, {0.86f, 0.80f, 0.56f}},
    {Surface::West, "WEST", -0.6, 1.75, 0.7, CONST_INK},
    {Surface::Floor, "N", -0.1, 1.55, 0.4, {0.52f, 0.24f, 0.22f}},
    {Surface::Floor, "EXIT", -3.2, 2.4, 0.3, {0.30f, 0.40f, 0.28f}},
    {Surface::Ceiling, "UP", -0.35, 0.6, 0.6, CONST_INK},
    {Surface::TableTop, "TABLE", -0.34, 0.16, 0.14, {0.28f, 0.22f, 0.20f}},
};

Colour Ground(Surface eSurface, const OnSurface& st)
{
    switch (eSurface) {
    case Surface::North:
        return {0.72f, 0.76f, 0.80f};
    case Surface::East:
        return {0.82f, 0.78f, 0.66f};
    case Surface::South:
        return {0.70f, 0.78f, 0.70f};
    case Surface::West:
        return {0.82f, 0.72f, 0.68f};
    case Surface::Ceiling:
        return {0.98f, 0.98f, 0.96f};
    case Surface::TableTop:
        return CONST_WOOD;
    case Surface::Floor: {
        const long lTiles =
            std::lround(std::floor(st.dAcross / CONST_TILE) + std::floor(st.dUp / CONST_TILE));
        return lTiles & 1 ? CONST_DARK_TILE : CONST_LIGHT_TILE;
    }
    case Surface::Plain:
        break;
    }
    return {0.5f, 0.5f, 0.5f};
}

}  // namespace

OnSurface OnSurfaceAt(Surface eSurface, const Vec3& st)
{
    switch (eSurface) {
    case Surface::North:
        return {st.x, st.z};
    case Surface::East:
        return {-st.y, st.z};
    case Surface::South:
        return {-st.x, st.z};
    case Surface::West:
        return {st.y, st.z};
    case Surface::Ceiling:
        return {-st.x, st.y};
    default:
        return {st.x, st.y};
    }
}

Vec3 PointOn(Surface eSide, const OnSurface& st)
{
    switch (eSide) {
    case Surface::North:
        return {st.dAcross, CONST_HALF_NORTH, st.dUp};
    case Surface::East:
        return {CONST_HALF_EAST, -st.dAcross, st.dUp};
    case Surface::South:
        return {-st.dAcross, -CONST_HALF_NORTH, st.dUp};
    case Surface::West:
        return {-CONST_HALF_EAST, st.dAcross, st.dUp};
    case Surface::Ceiling:
        return {-st.dAcross, st.dUp, CONST_HEIGHT};
    default:
        return {st.dAcross, st.dUp, 0.0};
    }
}

Colour PaintAt(Surface eSurface, const Vec3& stPoint)
{
    const OnSurface st = OnSurfaceAt(eSurface, stPoint);
    Colour stColour = Ground(eSurface, st);
    for (const Patch& stPatch : CONST_PATCHES) {
        if (stPatch.eSurface == eSurface && st.dAcross >= stPatch.dLeft &&
            st.dAcross < stPatch.dRight && st.dUp >= stPatch.dBottom && st.dUp < stPatch.dTop)
            stColour = stPatch.stColour;
    }
    for (const Sign& stSign : CONST_SIGNS) {
        if (stSign.eSurface == eSurface &&
            TextCovers(stSign.svText, (st.dAcross - stSign.dLeft) / stSign.dHeight,
                       (st.dUp - stSign.dBottom) / stSign.dHeight))
            stColour = stSign.stInk;
    }
    return stColour;
}

}  // namespace scene
