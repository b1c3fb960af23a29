#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <hwy/highway.h>

#include "optics/Lens.h"
#include "tests/optics/Near.h"

namespace optics {
namespace {

constexpr double CONST_NAN = std::numeric_limits<double>::quiet_NaN();
constexpr double CONST_INFINITY = std::numeric_limits<double>::infinity();

Lens Made(const LensParameters& st)
{
    std::string strError;
    const std::optional<Lens> lens = Lens::Make(st, strError);
    if (!lens)
        throw std::runtime_error(strError);
    EXPECT_EQ(strError, "");
    return *lens;
}

/// What Make says of parameters that it refuses; empty when it takes them.
std::string Refusal(const LensParameters& st)
{
    std::string strError;
    const bool blMade = Lens::Make(st, strError).has_value();
    EXPECT_EQ(blMade, strError.empty());
    return strError;
}

LensParameters CircleOf(LensModel eModel, double dFovDeg = 180.0)
{
    LensParameters st;
    st.eModel = eModel;
    st.dFovDeg = dFovDeg;
    st.stCentre = {1000.0, 900.0};
    st.dCircleRadius = 800.0;
    return st;
}

LensParameters TableOf(std::initializer_list<LensTableRow> rows)
{
    LensParameters st;
    st.eModel = LensModel::Table;
    st.stCentre = {1000.0, 900.0};
    for (const LensTableRow& stRow : rows)
        st.astTable[st.iTableLength++] = stRow;
    return st;
}

/// A table of 32 rows of another lens, 0 to 110 degrees.
LensParameters TableOf(const Lens& lens)
{
    LensParameters st = TableOf({});
    for (int i = 0; i < LENS_TABLE_ROWS; ++i) {
        const double dDeg = 110.0 * i / (LENS_TABLE_ROWS - 1);
        st.astTable[st.iTableLength++] = {dDeg, lens.RadiusOf(RadFromDeg(dDeg))};
    }
    return st;
}

LensParameters KannalaBrandt(std::array<double, 4> adK, double dFovDeg = 180.0)
{
    LensParameters st;
    st.eModel = LensModel::KannalaBrandt;
    st.dFovDeg = dFovDeg;
    st.stCentre = {640.0, 480.0};
    st.dFocalX = 400.0;
    st.dFocalY = 410.0;
    st.adK = adK;
    return st;
}

struct NamedLens
{
    const char* pcName;
    LensParameters st;
};

void PrintTo(const NamedLens& st, std::ostream* out)
{
    *out << st.pcName;
}

class EveryLens : public testing::TestWithParam<NamedLens>
{};

INSTANTIATE_TEST_SUITE_P(
    Models, EveryLens,
    testing::Values(
        NamedLens{"Equidistant", CircleOf(LensModel::Equidistant)},
        NamedLens{"EquidistantNarrow", CircleOf(LensModel::Equidistant, 90.0)},
        NamedLens{"EquidistantWide", CircleOf(LensModel::Equidistant, 235.0)},
        NamedLens{"Stereographic", CircleOf(LensModel::Stereographic, 220.0)},
        NamedLens{"StereographicWide", CircleOf(LensModel::Stereographic, 235.0)},
        NamedLens{"EquisolidAngle", CircleOf(LensModel::EquisolidAngle, 235.0)},
        NamedLens{"Orthographic", CircleOf(LensModel::Orthographic)},
        NamedLens{"OrthographicAskedForMore", CircleOf(LensModel::Orthographic, 200.0)},
        NamedLens{"KannalaBrandt", KannalaBrandt({-0.02, 0.004, -0.002, 0.0003}, 200.0)},
        NamedLens{"KannalaBrandtTurningOver", KannalaBrandt({-0.3, 0.0, 0.0, 0.0}, 235.0)},
        NamedLens{"KannalaBrandtTurningTwice", KannalaBrandt({-0.9, 0.5, 0.0, 0.0}, 235.0)},
        NamedLens{"Table", TableOf({{30.0, 270.0}, {60.0, 520.0}, {92.5, 760.0}})},
        NamedLens{"TableFromTheAxis", TableOf({{0.0, 0.0}, {45.0, 400.0}, {90.0, 700.0}})},
        NamedLens{"TableOfTwoRows", TableOf({{10.0, 100.0}, {95.0, 300.0}})},
        NamedLens{"TableWithAStep",
                  TableOf({{20.0, 200.0}, {21.0, 201.0}, {22.0, 400.0}, {90.0, 401.0}})}),
    [](const auto& info) { return std::string(info.param.pcName); });

TEST_P(EveryLens, GoesThereAndBack)
{
    const Lens lens = Made(GetParam().st);
    for (int i = 0; i <= 500; ++i) {
        const double dTheta = lens.MaxTheta() * i / 500.0;
        for (int j = 0; j < 8; ++j) {
            const Vec3 stDirection = DirectionOf(0.1 + j * PI / 4, dTheta);
            const std::optional<Point> pixel = lens.Project(stDirection);
            ASSERT_TRUE(pixel) << dTheta;
            const std::optional<Vec3> back = lens.Unproject(*pixel);
            ASSERT_TRUE(back) << dTheta;
            // Where a map flattens out, a pixel's last digit is worth more than 1e-9 of an angle.
            const double dStep = 1e-6 * lens.MaxTheta();
            const double dRise = lens.RadiusOf(std::min(dTheta + dStep, lens.MaxTheta())) -
                                 lens.RadiusOf(std::max(dTheta - dStep, 0.0));
            if (i < 500 && dRise > 1e-3 * dStep * lens.FocalX()) {
                EXPECT_THAT(*back, NearDirection(stDirection, 1e-9)) << dTheta;
            }
            const std::optional<Point> again = lens.Project(*back);
            ASSERT_TRUE(again);
            EXPECT_THAT(*again, NearPoint(*pixel, 1e-9)) << dTheta;
        }
    }
}

/// Calls the function once for every instruction set that this processor has.
template <class Function>
void WithEveryInstructionSet(Function function)
{
    const std::vector<std::int64_t> vecTargets = hwy::SupportedAndGeneratedTargets();
    ASSERT_FALSE(vecTargets.empty());
    for (const std::int64_t iTarget : vecTargets) {
        hwy::SetSupportedTargetsForTest(iTarget);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        SCOPED_TRACE(hwy::TargetName(iTarget));
        function();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

void ExpectManyDirectionsAtTheRadiusOfTheirAngle(const Lens& lens)
{
    const double dAspect = lens.FocalY() / lens.FocalX();
    std::mt19937 random(11);
    std::uniform_real_distribution<double> part(0.0, 1.0);
    for (int iCount = 1; iCount < 20; ++iCount) {
        std::vector<Vec3> vecDirections;
        std::vector<Point> vecExpected;
        for (int i = 0; i < iCount; ++i) {
            const double dTheta = PI * part(random);
            const double dBearing = 2.0 * PI * part(random);
            vecDirections.push_back(DirectionOf(dBearing, dTheta) * (0.01 + 10.0 * part(random)));
            vecExpected.push_back({CONST_NAN, CONST_NAN});
            if (random() % 8 == 0) {
                vecDirections.back() = {CONST_NAN, CONST_NAN, CONST_NAN};
            } else if (random() % 8 == 0) {
                vecDirections.back() = {0.0, 0.0, 2.0};
                vecExpected.back() = lens.Centre();
            } else if (dTheta <= lens.MaxTheta()) {
                const double dRadius = lens.RadiusOf(dTheta);
                vecExpected.back() = {lens.Centre().x + dRadius * std::sin(dBearing),
                                      lens.Centre().y + dAspect * dRadius * std::cos(dBearing)};
            }
        }
        std::vector<Point> vecPixels(iCount + 1, Point{-7.0, -7.0});
        lens.Project(vecDirections.data(), iCount, vecPixels.data());
        for (int i = 0; i < iCount; ++i) {
            if (std::isnan(vecExpected[i].x))
                EXPECT_TRUE(std::isnan(vecPixels[i].x) && std::isnan(vecPixels[i].y)) << i;
            else
                EXPECT_THAT(vecPixels[i], NearPoint(vecExpected[i], 1e-8)) << i;
        }
        EXPECT_THAT(vecPixels[iCount], NearPoint(Point{-7.0, -7.0}, 0.0));
    }
}

TEST_P(EveryLens, ManyDirectionsAtOnceLieAtTheRadiusOfTheirAngle)
{
    const Lens lens = Made(GetParam().st);
    WithEveryInstructionSet([&] { ExpectManyDirectionsAtTheRadiusOfTheirAngle(lens); });
}

TEST_P(EveryLens, GrowsAllTheWayAndNeverFolds)
{
    const Lens lens = Made(GetParam().st);
    double dLast = 0.0;
    EXPECT_EQ(lens.RadiusOf(0.0), 0.0);
    for (int i = 1; i <= 20000; ++i) {
        const double dRadius = lens.RadiusOf(lens.MaxTheta() * i / 20000.0);
        ASSERT_GT(dRadius, dLast - 1e-9 * lens.MaxRadius()) << i;
        dLast = dRadius;
    }
    EXPECT_NEAR(dLast, lens.MaxRadius(), 1e-9 * dLast);
}

TEST_P(EveryLens, IsBlackBeyondItsEnd)
{
    const Lens lens = Made(GetParam().st);
    EXPECT_FALSE(lens.Project(DirectionOf(1.0, lens.MaxTheta() + 1e-6)));
    EXPECT_FALSE(lens.Project({0.0, 0.0, -1.0}));
    EXPECT_FALSE(lens.Unproject({lens.Centre().x + lens.MaxRadius() + 1e-3, lens.Centre().y}));
    EXPECT_FALSE(lens.Project({CONST_NAN, 0.0, 1.0}));
    EXPECT_FALSE(lens.Unproject({CONST_NAN, 3.0}));
    EXPECT_FALSE(lens.Unproject({CONST_INFINITY, 3.0}));
}

TEST_P(EveryLens, TheAxisIsAtTheCentreAndTheFocalLengthIsTheSlopeThere)
{
    const Lens lens = Made(GetParam().st);
    EXPECT_THAT(*lens.Project({0, 0, 2}), NearPoint(GetParam().st.stCentre, 0.0));
    EXPECT_THAT(*lens.Unproject(GetParam().st.stCentre), NearDirection(Vec3{0, 0, 1}, 0.0));
    const double dStep = 1e-5;
    EXPECT_NEAR(lens.Project({dStep, 0, 1})->x - lens.Centre().x, lens.FocalX() * dStep,
                1e-4 * lens.FocalX() * dStep);
    EXPECT_NEAR(lens.Project({0, dStep, 1})->y - lens.Centre().y, lens.FocalY() * dStep,
                1e-4 * lens.FocalY() * dStep);
}

TEST_P(EveryLens, ALensOfTheHalvedPictureShowsTheSame)
{
    const Lens lens = Made(GetParam().st);
    const Lens half = lens.ScaledBy(0.5, 0.25);
    const Vec3 stDirection = DirectionOf(0.7, 0.9 * lens.MaxTheta());
    const Point st = *lens.Project(stDirection);
    const Point stScaled{(st.x + 0.5) * 0.5 - 0.5, (st.y + 0.5) * 0.25 - 0.5};
    EXPECT_THAT(*half.Project(stDirection), NearPoint(stScaled, 1e-9));
    EXPECT_THAT(*half.Unproject(stScaled), NearDirection(stDirection, 1e-9));
}

TEST(Lens, RadiiWorkedOutByHand)
{
    // 800 pixels at 90 degrees; at 60 degrees each model has its own share of them.
    const double dTheta = RadFromDeg(60.0);
    EXPECT_NEAR(Made(CircleOf(LensModel::Equidistant)).RadiusOf(dTheta), 533.3333333333333, 1e-9);
    EXPECT_NEAR(Made(CircleOf(LensModel::Stereographic)).RadiusOf(dTheta), 800 / std::sqrt(3.0),
                1e-9);
    EXPECT_NEAR(Made(CircleOf(LensModel::EquisolidAngle)).RadiusOf(dTheta), 400 * std::sqrt(2.0),
                1e-9);
    EXPECT_NEAR(Made(CircleOf(LensModel::Orthographic)).RadiusOf(dTheta), 400 * std::sqrt(3.0),
                1e-9);
    const Lens lens = Made(KannalaBrandt({0.1, 0.01, 0.0, 0.0}));
    EXPECT_NEAR(lens.RadiusOf(1.0), 400 * 1.11, 1e-9);
    EXPECT_THAT(*lens.Project(DirectionOf(0.0, 1.0)),
                NearPoint(Point{640, 480 + 410 * 1.11}, 1e-9));
}

TEST(Lens, DirectionsOfAnyLengthGiveTheSamePixel)
{
    const Lens lens = Made(CircleOf(LensModel::Equidistant));
    const Vec3 stDirection = DirectionOf(2.0, 1.2);
    EXPECT_THAT(*lens.Project(stDirection * 1000.0), NearPoint(*lens.Project(stDirection), 1e-9));
}

TEST(Lens, OrthographicEndsAtNinetyDegreesWhateverIsAskedFor)
{
    const Lens lens = Made(CircleOf(LensModel::Orthographic, 220.0));
    EXPECT_DOUBLE_EQ(lens.MaxTheta(), PI / 2);
    EXPECT_DOUBLE_EQ(lens.MaxRadius(), 800.0);
}

TEST(Lens, APolynomialThatTurnsOverEndsAtItsTurningPoint)
{
    // d/dtheta (theta - 0.3 theta^3) = 0 at theta^2 = 1 / 0.9
    const Lens lens = Made(KannalaBrandt({-0.3, 0.0, 0.0, 0.0}, 235.0));
    EXPECT_NEAR(lens.MaxTheta(), std::sqrt(1.0 / 0.9), 1e-12);
    EXPECT_FALSE(lens.Project(DirectionOf(0.0, 1.2)));
    // It turns back up later on (k2 > 0); the map ends at the first turning point all the same.
    const Lens twice = Made(KannalaBrandt({-0.9, 0.5, 0.0, 0.0}, 235.0));
    const double dRoot = (2.7 - std::sqrt(2.7 * 2.7 - 4 * 2.5)) / 5.0;
    EXPECT_TRUE(std::isnan(dRoot));  // 7.29 < 10: this one only flattens
    EXPECT_NEAR(twice.MaxTheta(), RadFromDeg(117.5), 1e-12);
    const Lens folded = Made(KannalaBrandt({-1.2, 0.5, 0.0, 0.0}, 235.0));
    EXPECT_NEAR(folded.MaxTheta(), std::sqrt((3.6 - std::sqrt(3.6 * 3.6 - 10)) / 5.0), 1e-12);
}

TEST(Lens, AnyPolynomialIsRefusedOrMonotone)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> exponent(-4.0, 3.0);
    int iTaken = 0;
    for (int i = 0; i < 3000; ++i) {
        std::array<double, 4> adK;
        for (double& dK : adK)
            dK = (random() % 2 ? 1 : -1) * std::pow(10.0, exponent(random));
        std::string strError;
        const std::optional<Lens> lens = Lens::Make(KannalaBrandt(adK, 235.0), strError);
        if (!lens)
            continue;
        ++iTaken;
        double dLast = 0.0;
        for (int j = 1; j <= 400; ++j) {
            const double dRadius = lens->RadiusOf(lens->MaxTheta() * j / 400.0);
            ASSERT_GE(dRadius, dLast * (1.0 - 1e-12)) << adK[0] << " " << adK[1] << " " << adK[2];
            ASSERT_NEAR(lens->RadiusOf(lens->ThetaOf(dRadius)), dRadius, 1e-9 * dRadius);
            dLast = dRadius;
        }
    }
    EXPECT_GT(iTaken, 1000);
}

TEST(Lens, ATableStandsForTheLensThatItWasTakenFrom)
{
    const Lens lens = Made(KannalaBrandt({-0.02, 0.004, -0.002, 0.0003}, 220.0));
    const Lens table = Made(TableOf(lens));
    for (int i = 0; i <= 1000; ++i) {
        const double dTheta = table.MaxTheta() * i / 1000.0;
        EXPECT_NEAR(table.RadiusOf(dTheta), lens.RadiusOf(dTheta), 0.02) << dTheta;
    }
    EXPECT_NEAR(table.FocalX(), lens.FocalX(), 0.05);
}

TEST(Lens, ATableMeetsItsRows)
{
    const Lens lens = Made(TableOf({{30.0, 270.0}, {60.0, 520.0}, {92.5, 760.0}}));
    EXPECT_NEAR(lens.RadiusOf(RadFromDeg(30.0)), 270.0, 1e-9);
    EXPECT_NEAR(lens.RadiusOf(RadFromDeg(60.0)), 520.0, 1e-9);
    EXPECT_NEAR(lens.ThetaOf(520.0), RadFromDeg(60.0), 1e-9);
    EXPECT_NEAR(lens.MaxTheta(), RadFromDeg(92.5), 1e-12);
    LensParameters st = TableOf({{30.0, 270.0}, {60.0, 520.0}, {92.5, 760.0}});
    st.dFovDeg = 120.0;
    EXPECT_NEAR(Made(st).MaxTheta(), RadFromDeg(60.0), 1e-12);
    EXPECT_NEAR(Made(st).MaxRadius(), 520.0, 1e-9);
}

TEST(Lens, TheCirclesRadiusEndsALensWhoseScaleIsGiven)
{
    LensParameters st = KannalaBrandt({0.0, 0.0, 0.0, 0.0});
    st.dCircleRadius = 400.0;
    EXPECT_NEAR(Made(st).MaxTheta(), 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(Made(st).MaxRadius(), 400.0);
    st.dCircleRadius = 5000.0;
    EXPECT_NEAR(Made(st).MaxTheta(), PI / 2, 1e-12);
    LensParameters stTable = TableOf({{30.0, 270.0}, {60.0, 520.0}, {92.5, 760.0}});
    stTable.dCircleRadius = 520.0;
    EXPECT_NEAR(Made(stTable).MaxTheta(), RadFromDeg(60.0), 1e-12);
}

TEST(Lens, TwoFocalLengthsMakeAnEllipse)
{
    const Lens lens = Made(KannalaBrandt({0.0, 0.0, 0.0, 0.0}));
    EXPECT_THAT(*lens.Project({1, 0, 0}), NearPoint(Point{640 + 200 * PI, 480}, 1e-9));
    EXPECT_THAT(*lens.Project({0, 1, 0}), NearPoint(Point{640, 480 + 205 * PI}, 1e-9));
}

TEST(Lens, FieldsOfViewOutsideTheRangeAreRefused)
{
    for (const double dFov : {89.9, 235.1, -180.0, 1e300, CONST_NAN, CONST_INFINITY})
        EXPECT_THAT(Refusal(CircleOf(LensModel::Equidistant, dFov)),
                    testing::HasSubstr("field of view"));
    EXPECT_EQ(Refusal(CircleOf(LensModel::Equidistant, 90.0)), "");
    EXPECT_EQ(Refusal(CircleOf(LensModel::Equidistant, 235.0)), "");
    EXPECT_DOUBLE_EQ(Made(CircleOf(LensModel::Equidistant, 0.0)).MaxTheta(), PI / 2);
}

TEST(Lens, GarbageInAnyFieldIsRefused)
{
    EXPECT_THAT(Refusal(CircleOf(static_cast<LensModel>(6))), testing::HasSubstr("unknown"));
    EXPECT_THAT(Refusal(CircleOf(static_cast<LensModel>(-1))), testing::HasSubstr("unknown"));
    for (const double dBad : {CONST_NAN, CONST_INFINITY, -CONST_INFINITY, 1e300, -1e300}) {
        for (double LensParameters::*pField :
             {&LensParameters::dFocalX, &LensParameters::dFocalY, &LensParameters::dCircleRadius}) {
            LensParameters st = KannalaBrandt({});
            st.*pField = dBad;
            EXPECT_NE(Refusal(st), "") << dBad;
        }
        LensParameters st = CircleOf(LensModel::Equidistant);
        st.stCentre.x = dBad;
        EXPECT_NE(Refusal(st), "");
        st.stCentre = {1.0, dBad};
        EXPECT_NE(Refusal(st), "");
        for (std::size_t i = 0; i < 4; ++i) {
            LensParameters stPolynomial = KannalaBrandt({});
            stPolynomial.adK[i] = dBad;
            EXPECT_NE(Refusal(stPolynomial), "") << dBad;
        }
    }
}

TEST(Lens, ZerosWhereAScaleIsNeededAreRefused)
{
    EXPECT_THAT(Refusal(LensParameters{}), testing::HasSubstr("neither"));
    LensParameters st = KannalaBrandt({});
    st.dFocalY = 0.0;
    EXPECT_THAT(Refusal(st), testing::HasSubstr("only one"));
    st.dFocalX = st.dFocalY = 0.0;
    EXPECT_THAT(Refusal(st), testing::HasSubstr("neither"));
    st.dFocalX = st.dFocalY = -300.0;
    EXPECT_NE(Refusal(st), "");
}

TEST(Lens, ScalesThatNoLensHasAreRefused)
{
    LensParameters st = KannalaBrandt({});
    st.dFocalX = st.dFocalY = 1e-7;
    EXPECT_THAT(Refusal(st), testing::HasSubstr("out of proportion"));
    st.dFocalX = 400.0;
    for (const double dFocalY : {0.3, 500000.0}) {
        st.dFocalY = dFocalY;
        EXPECT_THAT(Refusal(st), testing::HasSubstr("out of proportion")) << dFocalY;
    }
    LensParameters stCircle = CircleOf(LensModel::Equidistant);
    stCircle.dFocalY = -3.0;
    EXPECT_NE(Refusal(stCircle), "");
}

TEST(Lens, MalformedTablesAreRefused)
{
    EXPECT_THAT(Refusal(TableOf({})), testing::HasSubstr("2 to 32 rows"));
    EXPECT_THAT(Refusal(TableOf({{90.0, 500.0}})), testing::HasSubstr("2 to 32 rows"));
    LensParameters st = TableOf({{30.0, 200.0}, {90.0, 500.0}});
    st.iTableLength = 33;
    EXPECT_THAT(Refusal(st), testing::HasSubstr("2 to 32 rows"));
    st.iTableLength = -1;
    EXPECT_THAT(Refusal(st), testing::HasSubstr("2 to 32 rows"));
    EXPECT_THAT(Refusal(TableOf({{30.0, 300.0}, {60.0, 290.0}})), testing::HasSubstr("not grow"));
    EXPECT_THAT(Refusal(TableOf({{60.0, 300.0}, {30.0, 390.0}})), testing::HasSubstr("not grow"));
    EXPECT_THAT(Refusal(TableOf({{60.0, 300.0}, {60.0, 300.0}})), testing::HasSubstr("not grow"));
    EXPECT_THAT(Refusal(TableOf({{60.0, 300.0}, {90.0, 300.0}})), testing::HasSubstr("not grow"));
    EXPECT_THAT(Refusal(TableOf({{0.0, 10.0}, {60.0, 300.0}})), testing::HasSubstr("not grow"));
    EXPECT_THAT(Refusal(TableOf({{0.0, 0.0}, {0.0, 0.0}})), testing::HasSubstr("not grow"));
    EXPECT_THAT(Refusal(TableOf({{10.0, CONST_NAN}, {60.0, 300.0}})), testing::HasSubstr("range"));
    EXPECT_THAT(Refusal(TableOf({{CONST_NAN, 10.0}, {60.0, 300.0}})), testing::HasSubstr("range"));
    for (const double dRadius : {-10.0, 1e7, CONST_INFINITY})
        EXPECT_THAT(Refusal(TableOf({{60.0, 300.0}, {90.0, dRadius}})), testing::HasSubstr("range"))
            << dRadius;
    EXPECT_THAT(Refusal(TableOf({{10.0, 10.0}, {181.0, 300.0}})), testing::HasSubstr("range"));
    EXPECT_THAT(Refusal(TableOf({{-10.0, 10.0}, {81.0, 300.0}})), testing::HasSubstr("range"));
    EXPECT_THAT(Refusal(TableOf({{0.0, 0.0}, {0.5, 10.0}})), testing::HasSubstr("first degree"));
}

TEST(Lens, FieldsThatTheModelDoesNotUseAreNotLookedAt)
{
    LensParameters st = CircleOf(LensModel::Equidistant);
    st.adK.fill(CONST_NAN);
    st.iTableLength = -7;
    EXPECT_EQ(Refusal(st), "");
}

}  // namespace
}  // namespace optics
