// What the viewer takes for a lens calibration.
#include "viewer/LensFile.h"

#include <gtest/gtest.h>

namespace viewer {
namespace {

const char* const CONST_YAML = R"(%YAML:1.0
---
calibration_time: "Tue 1 Oct 2019"
image_width: 1280
image_height: 960
camera_matrix: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [ 4.1e+02, 0., 6.395e+02, 0., 4.2e+02,
       4.795e+02, 0., 0., 1. ]
distortion_coefficients: !!opencv-matrix
   rows: 4
   cols: 1
   dt: d
   data: [ -1.5e-02, 2.0e-03, -.5e-3, 1e-4 ]
avg_reprojection_error: 0.3
)";

void ExpectSample(const std::optional<LensCalibration>& lens)
{
    ASSERT_TRUE(lens);
    EXPECT_EQ(lens->width, 1280);
    EXPECT_EQ(lens->height, 960);
    EXPECT_DOUBLE_EQ(lens->focalX, 410.0);
    EXPECT_DOUBLE_EQ(lens->focalY, 420.0);
    EXPECT_DOUBLE_EQ(lens->centreX, 639.5);
    EXPECT_DOUBLE_EQ(lens->centreY, 479.5);
    EXPECT_DOUBLE_EQ(lens->k[0], -0.015);
    EXPECT_DOUBLE_EQ(lens->k[1], 0.002);
    EXPECT_DOUBLE_EQ(lens->k[2], -0.0005);
    EXPECT_DOUBLE_EQ(lens->k[3], 0.0001);
}

TEST(LensFile, OpenCvYamlIsRead)
{
    QString error;
    ExpectSample(ParseLensCalibration(CONST_YAML, &error));
    EXPECT_EQ(error, "");
}

TEST(LensFile, OpenCvYamlWithWindowsLineEndsIsRead)
{
    ExpectSample(ParseLensCalibration(QByteArray(CONST_YAML).replace("\n", "\r\n"), nullptr));
}

TEST(LensFile, OpenCvJsonIsRead)
{
    ExpectSample(ParseLensCalibration(R"({"image_width": 1280, "image_height": 960,
        "camera_matrix": {"type_id": "opencv-matrix", "rows": 3, "cols": 3, "dt": "d",
                          "data": [410, 0, 639.5, 0, 420, 479.5, 0, 0, 1]},
        "distortion_coefficients": {"type_id": "opencv-matrix", "rows": 4, "cols": 1, "dt": "d",
                          "data": [-0.015, 0.002, -0.0005, 0.0001]}})",
                                      nullptr));
}

TEST(LensFile, NestedListsUnderTheShortNamesAreRead)
{
    ExpectSample(ParseLensCalibration(
        R"({"image_width": 1280, "image_height": 960, "K": [[410, 0, 639.5], [0, 420, 479.5],
            [0, 0, 1]], "D": [[-0.015], [0.002], [-0.0005], [0.0001]]})",
        nullptr));
}

struct Refused
{
    const char* name;
    const char* text;
    const char* says;
};

class LensFileRefuses : public ::testing::TestWithParam<Refused>
{};

TEST_P(LensFileRefuses, WithAMessage)
{
    QString error;
    EXPECT_FALSE(ParseLensCalibration(GetParam().text, &error));
    EXPECT_TRUE(error.contains(GetParam().says)) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LensFileRefuses,
    ::testing::Values(
        Refused{"Nothing", "", "camera_matrix"},
        Refused{"OtherText", "hello: world\n", "camera_matrix"},
        Refused{"AMatrixOfTheWrongSize", R"({"K": [1, 2], "D": [0, 0, 0, 0]})", "camera_matrix"},
        Refused{"FiveCoefficients",
                R"({"K": [[410, 0, 1], [0, 420, 1], [0, 0, 1]], "D": [0, 0, 0, 0, 0]})", "four"},
        Refused{"NoFocalLength", R"({"K": [[0, 0, 1], [0, 420, 1], [0, 0, 1]], "D": [0, 0, 0, 0]})",
                "focal"}),
    [](const auto& info) { return info.param.name; });

TEST(LensFile, AMissingFileIsNamedByTheSystemsMessage)
{
    QString error;
    EXPECT_FALSE(ReadLensCalibration("/nowhere/at/all.yml", &error));
    EXPECT_FALSE(error.isEmpty());
}

}  // namespace
}  // namespace viewer
