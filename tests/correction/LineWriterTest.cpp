// The limits of a caller's table and buffer, which no outline of a square view reaches.
#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "correction/LineWriter.h"

namespace correction {
namespace {

constexpr tagFcuPoint CONST_GUARD = {-7.5f, -7.5f};

struct Room
{
    std::vector<tagFcuPoint> vecBuffer = std::vector<tagFcuPoint>(FCU_MAX_POINTS + 16, CONST_GUARD);
    tagFcuLineTable stTable = {};

    bool IsBehindUntouched() const
    {
        return std::all_of(vecBuffer.begin() + FCU_MAX_POINTS, vecBuffer.end(),
                           [](const tagFcuPoint& st) { return st.fX == CONST_GUARD.fX; });
    }
    int Points() const
    {
        int iPoints = 0;
        for (int i = 0; i < stTable.iLines; ++i)
            iPoints += stTable.astLines[i].iPoints;
        return iPoints;
    }
};

/// A point unlike its neighbours.
optics::Point Some(int i)
{
    return {(i % 1000) / 1000.0, 0.5};
}

TEST(LineWriter, DropsTheLinesThatTheTableHasNoRoomFor)
{
    Room room;
    LineWriter writer(room.vecBuffer.data());
    for (int i = 0; i < 3 * (FCU_MAX_LINES + 5); ++i) {
        writer.Add(Some(i));
        if (i % 3 == 2)
            writer.Break();
    }
    writer.Finish(room.stTable);
    EXPECT_EQ(room.stTable.iLines, FCU_MAX_LINES);
    EXPECT_EQ(room.Points(), 3 * FCU_MAX_LINES);
    EXPECT_EQ(room.vecBuffer[3 * FCU_MAX_LINES].fX, CONST_GUARD.fX);
    EXPECT_EQ(room.stTable.aiReserved[0], 0);
}

TEST(LineWriter, DropsThePointsThatTheBufferHasNoRoomFor)
{
    Room room;
    LineWriter writer(room.vecBuffer.data());
    for (int i = 0; i < FCU_MAX_POINTS + 5000; ++i)
        writer.Add(Some(i));
    writer.Finish(room.stTable);
    EXPECT_EQ(room.Points(), FCU_MAX_POINTS);
    EXPECT_TRUE(room.IsBehindUntouched());
    EXPECT_EQ(room.stTable.iLines, FCU_MAX_POINTS / FCU_MAX_POINTS_OF_LINE);
}

TEST(LineWriter, TakesAPointOnce)
{
    Room room;
    LineWriter writer(room.vecBuffer.data());
    for (const int i : {1, 1, 2, 2, 2, 1})
        writer.Add(Some(i));
    writer.Finish(room.stTable);
    EXPECT_EQ(room.Points(), 3);
}

TEST(LineWriter, KeepsPointsWithinThePicture)
{
    Room room;
    LineWriter writer(room.vecBuffer.data());
    writer.Add({-1e-9, 1.0 + 1e-9});
    writer.Add({1.5, -0.5});
    writer.Finish(room.stTable);
    ASSERT_EQ(room.Points(), 2);
    EXPECT_EQ(room.vecBuffer[0].fX, 0.0f);
    EXPECT_EQ(room.vecBuffer[0].fY, 1.0f);
    EXPECT_EQ(room.vecBuffer[1].fX, 1.0f);
    EXPECT_EQ(room.vecBuffer[1].fY, 0.0f);
}

}  // namespace
}  // namespace correction
