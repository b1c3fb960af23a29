#pragma once

// How far points lie from each other and from lines, in the unit of their coordinates.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "optics/Vector.h"

namespace lines {

using Line = std::vector<optics::Point>;

inline double Distance(const optics::Point& a, const optics::Point& b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

/// From the piece of a straight line between two points, which may be the same.
inline double Distance(const optics::Point& st, const optics::Point& stFrom,
                       const optics::Point& stTo)
{
    const double dX = stTo.x - stFrom.x;
    const double dY = stTo.y - stFrom.y;
    const double dSquare = dX * dX + dY * dY;
    const double dAlong =
        dSquare > 0 ? ((st.x - stFrom.x) * dX + (st.y - stFrom.y) * dY) / dSquare : 0;
    const double dHeld = std::clamp(dAlong, 0.0, 1.0);
    return Distance(st, {stFrom.x + dX * dHeld, stFrom.y + dY * dHeld});
}

/// From the nearest of the lines; infinite where there is none of two points or more.
inline double Distance(const optics::Point& st, const std::vector<Line>& vecLines)
{
    double dNearest = HUGE_VAL;
    for (const Line& line : vecLines)
        for (std::size_t i = 1; i < line.size(); ++i)
            dNearest = std::min(dNearest, Distance(st, line[i - 1], line[i]));
    return dNearest;
}

}  // namespace lines
