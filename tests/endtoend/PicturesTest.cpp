// Every kind of view of every mount shows the room itself.
#include <gmock/gmock.h>

#include "tests/endtoend/Stream.h"

namespace {

using endtoend::CONST_LIKE_THE_ROOM;
using endtoend::Stream;

class Pictures : public testing::TestWithParam<int>
{};
INSTANTIATE_TEST_SUITE_P(EachMount, Pictures, testing::Values(1, 2, 3),
                         [](const auto& info) { return "type" + std::to_string(info.param); });

TEST_P(Pictures, OfEveryKindOfViewAreTheRoom)
{
    Stream stream(GetParam(), CORRECT_TYPE_360,
                  {{CORRECT_TYPE_PTZ, 3},
                   {CORRECT_TYPE_180, 1},
                   {CORRECT_TYPE_360, 1},
                   {CORRECT_TYPE_LAT, 1},
                   {CORRECT_TYPE_FISHEYE, 1}});
    ASSERT_TRUE(stream.IsLaidOut());
    stream.Feed();
    for (const int i : {0, 1, 2})
        EXPECT_GE(stream.LikeTheRoom({CORRECT_TYPE_PTZ, i}), CONST_LIKE_THE_ROOM) << "PTZ " << i;
    for (const int iKind :
         {CORRECT_TYPE_180, CORRECT_TYPE_360, CORRECT_TYPE_LAT, CORRECT_TYPE_FISHEYE})
        EXPECT_GE(stream.LikeTheRoom({iKind, 0}), CONST_LIKE_THE_ROOM) << "kind " << iKind;
}

TEST_P(Pictures, OfTheSourceAreTheLensesOwn)
{
    Stream stream(GetParam(), CORRECT_TYPE_360, {{CORRECT_TYPE_SOURCE, 1}});
    ASSERT_TRUE(stream.IsLaidOut());
    stream.Feed();
    const endtoend::Size stSize = endtoend::SizeOf(CORRECT_TYPE_FISHEYE);
    const double dScale = double(stSize.iWidth) / endtoend::CONST_CLIP;
    scene::Renderer stLens(optics::MountOf(GetParam()), stSize.iWidth, stSize.iHeight,
                           scene::ThroughLens(endtoend::ClipLens().ScaledBy(dScale, dScale)));
    const scene::Picture& stTruth = stLens.Render(endtoend::CONST_TIME);
    const auto [stPicture, blFound] =
        stream.PicturesOf({CORRECT_TYPE_FISHEYE, 0}).Await([&](const scene::Picture& st) {
            return st.vecRgb.size() == stTruth.vecRgb.size() &&
                   Psnr(st, stTruth) >= CONST_LIKE_THE_ROOM;
        });
    EXPECT_TRUE(blFound);
}

// The comparison tells the mounts and the lenses apart; otherwise it would prove nothing.
TEST(Comparison, NoticesAWrongMount)
{
    Stream stream(3, CORRECT_TYPE_360, {{CORRECT_TYPE_360, 1}});
    ASSERT_TRUE(stream.IsLaidOut());
    stream.Feed();
    ASSERT_GE(stream.LikeTheRoom({CORRECT_TYPE_360, 0}), CONST_LIKE_THE_ROOM);
    const auto [stPicture, blFound] =
        stream.PicturesOf({CORRECT_TYPE_360, 0}).Await([](const scene::Picture&) { return true; });
    const endtoend::Size stSize = endtoend::SizeOf(CORRECT_TYPE_360);
    const scene::Picture stOther =
        endtoend::Truth(1, stream.View({CORRECT_TYPE_360, 0}), stSize.iWidth, stSize.iHeight);
    EXPECT_LT(Psnr(stPicture, stOther), CONST_LIKE_THE_ROOM - 5);
}

}  // namespace
