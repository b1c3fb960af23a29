// Matchers and printers for points and directions.
#pragma once

#include <ostream>

#include <gmock/gmock.h>

#include "optics/Vector.h"

namespace optics {

inline void PrintTo(const Point& st, std::ostream* out)
{
    *out << "(" << st.x << ", " << st.y << ")";
}

inline void PrintTo(const Vec3& st, std::ostream* out)
{
    *out << "(" << st.x << ", " << st.y << ", " << st.z << ")";
}

MATCHER_P2(NearPoint, stExpected, dTolerance, "")
{
    return std::abs(arg.x - stExpected.x) <= dTolerance &&
           std::abs(arg.y - stExpected.y) <= dTolerance;
}

MATCHER_P2(NearDirection, stExpected, dTolerance, "")
{
    return Length(arg - stExpected) <= dTolerance;
}

}  // namespace optics
