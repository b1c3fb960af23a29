#include "tools/scene/Lettering.h"

#include <string>

#include <gmock/gmock.h>

namespace {

/// The text's ink, sampled in the middle of each cell of its grid.
std::string Drawn(std::string_view svText)
{
    std::string strPicture;
    const int iColumns = int(scene::TextWidth(svText) * 7 + 0.5);
    for (int iRow = 0; iRow < 7; ++iRow) {
        for (int iColumn = 0; iColumn < iColumns; ++iColumn)
            strPicture +=
                scene::TextCovers(svText, (iColumn + 0.5) / 7, 1 - (iRow + 0.5) / 7) ? '#' : '.';
        strPicture += '\n';
    }
    return strPicture;
}

TEST(Lettering, ReadsFromLeftToRightAndFromTheTop)
{
    EXPECT_EQ(Drawn("F7"), "#####.#####\n"
                           "#.........#\n"
                           "#........#.\n"
                           "####....#..\n"
                           "#......#...\n"
                           "#......#...\n"
                           "#......#...\n");
}

TEST(Lettering, KnowsEveryLetterAndDigitApart)
{
    std::string strSeen;
    for (const char cLetter : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-.")) {
        const std::string strDrawn = Drawn(std::string_view(&cLetter, 1));
        EXPECT_NE(strDrawn.find('#'), std::string::npos) << cLetter;
        EXPECT_EQ(strSeen.find(strDrawn), std::string::npos) << cLetter;
        strSeen += strDrawn;
    }
}

TEST(Lettering, HasNoInkOutsideItsBoxNorForUnknownCharacters)
{
    EXPECT_EQ(Drawn(" ?").find('#'), std::string::npos);
    EXPECT_EQ(scene::TextWidth(""), 0);
    EXPECT_FALSE(scene::TextCovers("", 0, 0));
    for (const double dOutside : {-0.01, 1.01}) {
        EXPECT_FALSE(scene::TextCovers("I", 0.3, dOutside));
        EXPECT_FALSE(scene::TextCovers("I", dOutside, 0.05));
    }
}

}  // namespace
