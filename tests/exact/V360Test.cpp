// The same frame corrected by FFmpeg's v360 filter, where the ffmpeg program is installed: two
// implementations that share nothing must agree.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>

#include "engine/PlaySdk.h"
#include "optics/FisheyePicture.h"
#include "tests/exact/Corrected.h"

namespace {

using optics::Mount;

class V360 : public testing::Test
{
protected:
    void SetUp() override
    {
        if (std::system("ffmpeg -version >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "the ffmpeg program is not installed";
        std::string strPattern = (std::filesystem::temp_directory_path() / "v360-XXXXXX").string();
        m_stDirectory = mkdtemp(strPattern.data());
        std::ofstream(m_stDirectory / "in", std::ios::binary)
            .write(reinterpret_cast<const char*>(m_stSource.vecLuma.data()),
                   std::streamsize(m_stSource.vecLuma.size()));
    }
    ~V360() override
    {
        if (!m_stDirectory.empty())
            std::filesystem::remove_all(m_stDirectory);
    }

    /// The filter's grey picture.
    std::vector<std::uint8_t> Filtered(const std::string& strFilter) const
    {
        const std::string strSide = std::to_string(exact::CONST_SOURCE);
        const std::string strCommand =
            "ffmpeg -v error -y -f rawvideo -pix_fmt gray -s " + strSide + "x" + strSide + " -i " +
            (m_stDirectory / "in").string() + " -vf " + strFilter + " -f rawvideo -pix_fmt gray " +
            (m_stDirectory / "out").string();
        EXPECT_EQ(std::system(strCommand.c_str()), 0) << strCommand;
        std::ifstream stFile(m_stDirectory / "out", std::ios::binary);
        return {std::istreambuf_iterator<char>(stFile), std::istreambuf_iterator<char>()};
    }

    const exact::Source m_stSource = exact::GreySourceOf(Mount::Wall);

private:
    std::filesystem::path m_stDirectory;
};

double MeanDifference(const scene::Picture& stOurs, const std::vector<std::uint8_t>& vecTheirs)
{
    if (vecTheirs.size() * 3 != stOurs.vecRgb.size())
        return HUGE_VAL;
    double dSum = 0;
    for (std::size_t i = 0; i < vecTheirs.size(); ++i)
        dSum += std::abs(double(stOurs.vecRgb[i * 3 + 1]) - vecTheirs[i]);
    return dSum / double(vecTheirs.size());
}

// Turning the head: a wall camera's view has no roll, as the filter's flat output.
TEST_F(V360, AgreesOnFlatViews)
{
    constexpr int iSide = 960;
    for (const auto& [iYawDeg, iPitchDeg] :
         {std::pair(0, 0), std::pair(30, 0), std::pair(-40, 20), std::pair(20, -35)}) {
        const double dYaw = optics::RadFromDeg(iYawDeg);
        const double dPitch = optics::RadFromDeg(iPitchDeg);
        const optics::Point stCentre =
            optics::FisheyeFraction({std::cos(dPitch) * std::sin(dYaw), -std::sin(dPitch),
                                     std::cos(dPitch) * std::cos(dYaw)});
        const engine::ViewSettings st =
            exact::PanTiltZoom(Mount::Wall, int(std::lround(stCentre.x * 10000)),
                               int(std::lround(stCentre.y * 10000)), 8000);
        const double dFovDeg = 2 * optics::DegFromRad(std::atan(0.8));
        const std::string strFilter =
            "v360=fisheye:flat:interp=linear:ih_fov=180:iv_fov=180:w=960:h=960:h_fov=" +
            std::to_string(dFovDeg) + ":v_fov=" + std::to_string(dFovDeg) +
            ":yaw=" + std::to_string(iYawDeg) + ":pitch=" + std::to_string(iPitchDeg);
        const double dMean =
            MeanDifference(exact::Corrected(m_stSource, st, iSide, iSide), Filtered(strFilter));
        std::printf("flat, yaw %d, pitch %d: %.3f grey levels\n", iYawDeg, iPitchDeg, dMean);
        EXPECT_LE(dMean, 1.5) << "yaw " << iYawDeg << " pitch " << iPitchDeg;
    }
}

// The view by longitude and latitude is the front half of an equirectangular picture.
TEST_F(V360, AgreesOnTheEquirectangularPicture)
{
    engine::ViewSettings st;
    st.mode = RV_MODE_LAT;
    st.mount = Mount::Wall;
    const double dMean = MeanDifference(
        exact::Corrected(m_stSource, st, 1024, 1024),
        Filtered("v360=fisheye:equirect:interp=linear:ih_fov=180:iv_fov=180:w=2048:h=1024,"
                 "crop=1024:1024:512:0"));
    std::printf("equirectangular: %.3f grey levels\n", dMean);
    EXPECT_LE(dMean, 1.5);
}

}  // namespace
