#include "optics/Lens.h"

#include <limits>
#include <vector>

#include "optics/Projection.h"

namespace optics {
namespace {

constexpr double CONST_K_LIMIT = 1000.0;  // no lens is near; keeps the polynomial finite
constexpr double CONST_PIXEL_LIMIT = 1e6;
constexpr double CONST_MIN_END_RAD = PI / 180.0;

/// Where a function that is monotone on low..high crosses zero; it has different signs there.
template <typename Function>
double Bisect(Function function, double dLow, double dHigh)
{
    const bool blRises = function(dLow) < 0.0;
    for (int i = 0; i < 200; ++i) {
        const double dMiddle = 0.5 * (dLow + dHigh);
        if (dMiddle <= dLow || dMiddle >= dHigh)
            break;
        ((function(dMiddle) < 0.0) == blRises ? dLow : dHigh) = dMiddle;
    }
    return 0.5 * (dLow + dHigh);
}

/// A polynomial, lowest power first.
double Evaluate(const std::vector<double>& vecdCoefficients, double dX)
{
    double dSum = 0.0;
    for (auto it = vecdCoefficients.rbegin(); it != vecdCoefficients.rend(); ++it)
        dSum = dSum * dX + *it;
    return dSum;
}

/// The places in 0..dEnd where a polynomial changes its sign, in ascending order: between two
/// neighbouring ones of its derivative there is at most one.
std::vector<double> SignChanges(const std::vector<double>& vecdCoefficients, double dEnd)
{
    if (vecdCoefficients.size() < 2)
        return {};
    std::vector<double> vecdDerivative;
    for (std::size_t i = 1; i < vecdCoefficients.size(); ++i)
        vecdDerivative.push_back(static_cast<double>(i) * vecdCoefficients[i]);
    std::vector<double> vecdEdges = SignChanges(vecdDerivative, dEnd);
    vecdEdges.push_back(dEnd);

    const auto function = [&](double dX) { return Evaluate(vecdCoefficients, dX); };
    std::vector<double> vecdChanges;
    double dLow = 0.0;
    bool blNegative = function(dLow) < 0.0;
    for (const double dHigh : vecdEdges) {
        const double dValue = function(dHigh);
        if (dValue != 0.0 && (dValue < 0.0) != blNegative) {
            vecdChanges.push_back(function(dLow) == 0.0 ? dLow : Bisect(function, dLow, dHigh));
            blNegative = !blNegative;
        }
        dLow = dHigh;
    }
    return vecdChanges;
}

/// Newton's method kept within a bracket: the theta in low..high at which a rising function is
/// zero. The function returns its value and its derivative.
template <typename Function>
double SolveRising(Function function, double dLow, double dHigh, double dStart)
{
    double dTheta = std::clamp(dStart, dLow, dHigh);
    for (int i = 0; i < 100; ++i) {
        const auto [dValue, dSlope] = function(dTheta);
        if (dValue == 0.0)
            return dTheta;
        (dValue < 0.0 ? dLow : dHigh) = dTheta;
        double dNext = dTheta - dValue / dSlope;
        if (!(dNext > dLow && dNext < dHigh))  // also when the slope was zero
            dNext = 0.5 * (dLow + dHigh);
        if (std::abs(dNext - dTheta) <= 2.0 * std::numeric_limits<double>::epsilon() * dTheta)
            return dNext;
        dTheta = dNext;
    }
    return dTheta;
}

bool AnyNotFinite(std::initializer_list<double> values)
{
    return std::any_of(values.begin(), values.end(), [](double d) { return !std::isfinite(d); });
}

}  // namespace

/// Checks the parameters in order and fills a Lens; every step returns what is wrong, or nothing.
class LensBuilder
{
public:
    explicit LensBuilder(const LensParameters& stParameters) : m_st(stParameters) {}

    std::string Build()
    {
        for (const auto step : {&LensBuilder::TakeModel, &LensBuilder::TakePlace,
                                &LensBuilder::TakeFieldOfView, &LensBuilder::TakeScale}) {
            std::string strError = (this->*step)();
            if (!strError.empty())
                return strError;
        }
        return {};
    }

    Lens m_lens;

private:
    bool IsTable() const { return m_st.eModel == LensModel::Table; }

    std::string TakeModel()
    {
        const int iModel = static_cast<int>(m_st.eModel);
        if (iModel < 0 || iModel > static_cast<int>(LensModel::Table))
            return "unknown lens model " + std::to_string(iModel);
        m_lens.m_eModel = m_st.eModel;
        if (m_st.eModel == LensModel::KannalaBrandt) {
            for (const double dK : m_st.adK) {
                if (!(std::abs(dK) <= CONST_K_LIMIT))
                    return "a distortion coefficient is not a number within -1000..1000";
            }
            m_lens.m_adK = m_st.adK;
        }
        return IsTable() ? TakeTable() : std::string();
    }

    std::string TakeTable()
    {
        if (m_st.iTableLength < 2 || m_st.iTableLength > LENS_TABLE_ROWS)
            return "a lens table has 2 to 32 rows, not " + std::to_string(m_st.iTableLength);
        const LensTableRow& stFirst = m_st.astTable[0];
        int iKnots = 0;
        if (stFirst.dDeg != 0.0 ||
            stFirst.dRadius != 0.0)  // the axis is at the centre, said or not
            m_lens.m_astKnots[iKnots++] = {};
        for (int i = 0; i < m_st.iTableLength; ++i) {
            const LensTableRow& st = m_st.astTable[i];
            if (!(st.dDeg >= 0.0 && st.dDeg <= 180.0) ||
                !(st.dRadius >= 0.0 && st.dRadius <= CONST_PIXEL_LIMIT))
                return "row " + std::to_string(i) + " of the lens table is out of range";
            if (iKnots > 0 && (RadFromDeg(st.dDeg) <= m_lens.m_astKnots[iKnots - 1].dTheta ||
                               st.dRadius <= m_lens.m_astKnots[iKnots - 1].dRadius))
                return "row " + std::to_string(i) + " of the lens table does not grow";
            m_lens.m_astKnots[iKnots++] = {RadFromDeg(st.dDeg), st.dRadius, 0.0};
        }
        m_lens.m_iKnots = iKnots;
        TakeSlopes();
        return {};
    }

    // Three-point slopes, kept below three times the smaller secant on either side, which makes the
    // cubic monotone (Fritsch and Carlson, 1980). On the axis the map is odd, so the first secant.
    void TakeSlopes()
    {
        auto& ast = m_lens.m_astKnots;
        const int iLast = m_lens.m_iKnots - 1;
        const auto secant = [&](int i) {
            return (ast[i + 1].dRadius - ast[i].dRadius) / (ast[i + 1].dTheta - ast[i].dTheta);
        };
        ast[0].dSlope = secant(0);
        for (int i = 1; i < iLast; ++i) {
            const double dLeft = ast[i].dTheta - ast[i - 1].dTheta;
            const double dRight = ast[i + 1].dTheta - ast[i].dTheta;
            const double dSlope = (dRight * secant(i - 1) + dLeft * secant(i)) / (dLeft + dRight);
            ast[i].dSlope = std::min(dSlope, 3.0 * std::min(secant(i - 1), secant(i)));
        }
        const double dEnd = secant(iLast - 1);
        const double dExtrapolated = iLast > 1 ? 2.0 * dEnd - ast[iLast - 1].dSlope : dEnd;
        ast[iLast].dSlope = std::clamp(dExtrapolated, 0.0, 3.0 * dEnd);
        m_lens.m_dSlopeOnAxis = ast[0].dSlope;
    }

    std::string TakePlace()
    {
        if (!(std::abs(m_st.stCentre.x) <= CONST_PIXEL_LIMIT) ||
            !(std::abs(m_st.stCentre.y) <= CONST_PIXEL_LIMIT))
            return "the centre is not a pixel position";
        m_lens.m_stCentre = m_st.stCentre;
        return {};
    }

    std::string TakeFieldOfView()
    {
        if (m_st.dFovDeg != 0.0 &&
            !(m_st.dFovDeg >= LENS_FOV_MIN_DEG && m_st.dFovDeg <= LENS_FOV_MAX_DEG))
            return "the field of view is not within 90..235 degrees";
        const double dDefaultDeg = IsTable() ? LENS_FOV_MAX_DEG : 180.0;
        const double dEnd = RadFromDeg((m_st.dFovDeg != 0.0 ? m_st.dFovDeg : dDefaultDeg) / 2.0);
        m_lens.m_dMaxTheta = std::min(dEnd, EndOfModel(dEnd));
        if (m_lens.m_dMaxTheta < CONST_MIN_END_RAD)
            return "the lens's map ends within the first degree";
        return {};
    }

    /// The angle up to which the model grows, looked for up to dEnd.
    double EndOfModel(double dEnd) const
    {
        switch (m_st.eModel) {
        case LensModel::Orthographic:
            return PI / 2.0;
        case LensModel::Table:
            return m_lens.m_astKnots[m_lens.m_iKnots - 1].dTheta;
        case LensModel::KannalaBrandt: {
            const auto& k = m_st.adK;  // the derivative, in powers of theta squared
            const std::vector<double> vecdTurns =
                SignChanges({1.0, 3.0 * k[0], 5.0 * k[1], 7.0 * k[2], 9.0 * k[3]}, dEnd * dEnd);
            return vecdTurns.empty() ? dEnd : std::sqrt(vecdTurns.front());
        }
        default:
            return dEnd;
        }
    }

    std::string TakeScale()
    {
        const double dX = m_st.dFocalX;
        const double dY = m_st.dFocalY;
        const double dCircle = m_st.dCircleRadius;
        if (AnyNotFinite({dX, dY, dCircle}) || dX < 0.0 || dY < 0.0 || dCircle < 0.0 ||
            std::max({dX, dY, dCircle}) > CONST_PIXEL_LIMIT)
            return "a focal length or the circle's radius is not a number of pixels";
        if ((dX > 0.0) != (dY > 0.0))
            return "of the two focal lengths only one is given";
        if (dX > 0.0)
            m_lens.m_dAspect = dY / dX;
        if (!IsTable() && dX == 0.0 && dCircle == 0.0)
            return "neither focal lengths nor the circle's radius are given";
        if (!IsTable())
            m_lens.m_dFocal = dX > 0.0 ? dX : dCircle / m_lens.Map(m_lens.m_dMaxTheta);
        if (!(m_lens.m_dFocal > 1e-6) || !(m_lens.m_dAspect > 1e-3 && m_lens.m_dAspect < 1e3))
            return "the focal lengths are out of proportion";
        m_lens.m_dMaxRadius = m_lens.RadiusOf(m_lens.m_dMaxTheta);
        if (dCircle > 0.0 && dCircle < m_lens.m_dMaxRadius && (IsTable() || dX > 0.0)) {
            m_lens.m_dMaxTheta = m_lens.ThetaOf(dCircle);
            m_lens.m_dMaxRadius = dCircle;
        }
        m_lens.m_dMaxHalfTangent = std::tan(0.5 * m_lens.m_dMaxTheta);
        return {};
    }

    const LensParameters& m_st;
};

std::optional<Lens> Lens::Make(const LensParameters& stParameters, std::string& strError)
{
    LensBuilder builder(stParameters);
    strError = builder.Build();
    if (!strError.empty())
        return std::nullopt;
    return builder.m_lens;
}

std::optional<Point> Lens::Project(const Vec3& stDirection) const
{
    Point st;
    Project(&stDirection, 1, &st);
    if (std::isnan(st.x))
        return std::nullopt;
    return st;
}

void Lens::Project(const Vec3* pstDirections, int iCount, Point* pstOut) const
{
    const auto table = [](const Lens& lens, double* pdTheta, int iAngles) {
        for (int i = 0; i < iAngles; ++i)
            pdTheta[i] = lens.TableValue(pdTheta[i]);
    };
    ProjectAll(*this, {m_eModel, m_dMaxHalfTangent, m_adK, table, m_dFocal, m_dAspect, m_stCentre},
               pstDirections, iCount, pstOut);
}

std::optional<Vec3> Lens::Unproject(const Point& stPixel) const
{
    const double dX = stPixel.x - m_stCentre.x;
    const double dY = (stPixel.y - m_stCentre.y) / m_dAspect;
    const double dRadius = std::sqrt(dX * dX + dY * dY);
    if (!(dRadius <= m_dMaxRadius * (1.0 + CONST_END_TOLERANCE)))
        return std::nullopt;
    if (dRadius == 0.0)
        return Vec3{0.0, 0.0, 1.0};
    const double dTheta = ThetaOf(std::min(dRadius, m_dMaxRadius));
    const double dScale = std::sin(dTheta) / dRadius;
    return Vec3{dScale * dX, dScale * dY, std::cos(dTheta)};
}

double Lens::RadiusOf(double dThetaRad) const
{
    return m_dFocal * Map(dThetaRad);
}

double Lens::ThetaOf(double dRadius) const
{
    return MapInverse(dRadius / m_dFocal);
}

Lens Lens::ScaledBy(double dScaleX, double dScaleY) const
{
    Lens lens = *this;  // pixel centres at whole numbers: the picture begins at -0.5
    lens.m_stCentre.x = (m_stCentre.x + 0.5) * dScaleX - 0.5;
    lens.m_stCentre.y = (m_stCentre.y + 0.5) * dScaleY - 0.5;
    lens.m_dFocal = m_dFocal * dScaleX;
    lens.m_dMaxRadius = m_dMaxRadius * dScaleX;
    lens.m_dAspect = m_dAspect * dScaleY / dScaleX;
    return lens;
}

double Lens::Map(double dTheta) const
{
    switch (m_eModel) {
    case LensModel::Stereographic:
        return 2.0 * std::tan(0.5 * dTheta);
    case LensModel::EquisolidAngle:
        return 2.0 * std::sin(0.5 * dTheta);
    case LensModel::Orthographic:
        return std::sin(dTheta);
    case LensModel::KannalaBrandt:
        return Polynomial(dTheta);
    case LensModel::Table:
        return TableValue(dTheta);
    default:
        return dTheta;
    }
}

double Lens::MapInverse(double dMapped) const
{
    switch (m_eModel) {
    case LensModel::Stereographic:
        return 2.0 * std::atan(0.5 * dMapped);
    case LensModel::EquisolidAngle:
        return 2.0 * std::asin(std::min(0.5 * dMapped, 1.0));
    case LensModel::Orthographic:
        return std::asin(std::min(dMapped, 1.0));
    case LensModel::KannalaBrandt:
        return PolynomialInverse(dMapped);
    case LensModel::Table:
        return TableInverse(dMapped);
    default:
        return dMapped;
    }
}

double Lens::Polynomial(double dTheta) const
{
    const double dSquare = dTheta * dTheta;
    return dTheta *
           (1.0 + dSquare * (m_adK[0] +
                             dSquare * (m_adK[1] + dSquare * (m_adK[2] + dSquare * m_adK[3]))));
}

double Lens::PolynomialInverse(double dMapped) const
{
    const auto& k = m_adK;
    const auto function = [&](double dTheta) {
        const double s = dTheta * dTheta;
        const double dSlope =
            1.0 + s * (3.0 * k[0] + s * (5.0 * k[1] + s * (7.0 * k[2] + s * 9.0 * k[3])));
        return ValueAndSlope{Polynomial(dTheta) - dMapped, dSlope};
    };
    return SolveRising(function, 0.0, m_dMaxTheta, dMapped);
}

double Lens::TableInverse(double dRadius) const
{
    int i = 0;
    while (i + 2 < m_iKnots && dRadius > m_astKnots[i + 1].dRadius)
        ++i;
    const double dLow = m_astKnots[i].dTheta;
    const double dHigh = m_astKnots[i + 1].dTheta;
    const auto function = [&](double dTheta) {
        const ValueAndSlope st = TableCubic(i, dTheta);
        return ValueAndSlope{st.dValue - dRadius, st.dSlope};
    };
    return SolveRising(function, dLow, dHigh, 0.5 * (dLow + dHigh));
}

double Lens::TableValue(double dTheta) const
{
    int i = 0;
    while (i + 2 < m_iKnots && dTheta > m_astKnots[i + 1].dTheta)
        ++i;
    return TableCubic(i, dTheta).dValue;
}

// The Hermite cubic from knot i to the next, as a line that its end slopes bend.
Lens::ValueAndSlope Lens::TableCubic(int i, double dTheta) const
{
    const Knot& stA = m_astKnots[i];
    const Knot& stB = m_astKnots[i + 1];
    const double dWidth = stB.dTheta - stA.dTheta;
    const double dRise = stB.dRadius - stA.dRadius;
    const double t = (dTheta - stA.dTheta) / dWidth;
    const double dBendA = stA.dSlope * dWidth - dRise;
    const double dBendB = dRise - stB.dSlope * dWidth;
    const double dBend = dBendA + t * (dBendB - dBendA);
    const double dSlope = dRise + (1.0 - 2.0 * t) * dBend + t * (1.0 - t) * (dBendB - dBendA);
    return {stA.dRadius + t * dRise + t * (1.0 - t) * dBend, dSlope / dWidth};
}

}  // namespace optics
