#include "tools/fisheye-clip/Options.h"

#include <cmath>
#include <cstdio>
#include <limits>

#include <QCommandLineParser>

#include "tools/fisheye-clip/Failure.h"

namespace clip {
namespace {

constexpr int CONST_LARGEST_SIDE = 8192;   // pixels
constexpr double CONST_LONGEST = 86400.0;  // seconds
constexpr int CONST_ZOOM_MIN = 500;
constexpr int CONST_ZOOM_MAX = 10000;

/// An option by the word that names it on the command line.
struct OptionRow
{
    const char* szName;
    const char* szValue;
    const char* szText;
};

constexpr OptionRow CONST_OPTIONS[] = {
    {"o", "FILE", "Write a clip: .ts, .mkv, .mp4, .h264, .h265 or .mjpeg."},
    {"picture", "FILE", "Write one picture, as PNG."},
    {"mount", "MOUNT", "Where the camera is: ceiling (usual), wall or floor."},
    {"size", "SIZE", "Pixels: WIDTHxHEIGHT, or one number for a square; usually 2048."},
    {"lens", "MODEL",
     "equidistant (usual), stereographic, equisolid, orthographic, kannala-brandt or table."},
    {"fov", "DEGREES", "The lens's field of view, 90 to 235; usually 180."},
    {"centre", "X,Y", "The image circle's centre, in pixels; usually the picture's."},
    {"radius", "PIXELS", "The image circle's radius; usually the largest that fits."},
    {"focal", "X,Y", "Focal lengths in pixels per radian, instead of from the radius."},
    {"k", "K1,K2,K3,K4", "Coefficients of the kannala-brandt model."},
    {"table", "ROWS", "Rows DEGREES:PIXELS of the table model, parted by commas."},
    {"view", "VIEW", "Draw a corrected view directly: fisheye, panorama, 180, lat or ptz."},
    {"angle", "DEGREES", "Rotation of the panorama and the 180 view; usually 0."},
    {"position", "X,Y", "Centre of the ptz view in the fisheye picture, 0 to 10000; 5000,5000."},
    {"zoom", "ZOOM", "Width of the ptz view: 10000 (usual, 90 degrees) to 500."},
    {"time", "SECONDS", "The time of the first or only picture; usually 0."},
    {"seconds", "SECONDS", "The clip's length; usually 10."},
    {"rate", "RATE", "Pictures in a second, 25 or 30000/1001 for instance; usually 25."},
    {"codec", "CODEC", "h264, hevc or mjpeg; usually the file's own."},
    {"quality", "QUALITY", "h264, hevc: 0 (best) to 51; mjpeg: 1 (best) to 31."},
    {"bit-rate", "KBITS", "Kilobits in a second, instead of a quality."},
    {"pixel-format", "NAME", "yuv420p (usual), yuv422p, yuv444p, yuv420p10le and so on."},
    {"range", "RANGE", "limited or full."},
    {"matrix", "MATRIX", "bt709 or bt601."},
    {"key-frames", "PICTURES", "Pictures from one key frame to the next; usually one second's."},
};

template <typename T>
struct Word
{
    const char* szWord;
    T tMeaning;
};

using optics::LensModel;
using optics::Mount;
using optics::ViewKind;

constexpr Word<Mount> CONST_MOUNTS[] = {
    {"ceiling", Mount::Ceiling}, {"wall", Mount::Wall}, {"floor", Mount::Floor}};
constexpr Word<LensModel> CONST_MODELS[] = {
    {"equidistant", LensModel::Equidistant},      {"stereographic", LensModel::Stereographic},
    {"equisolid", LensModel::EquisolidAngle},     {"orthographic", LensModel::Orthographic},
    {"kannala-brandt", LensModel::KannalaBrandt}, {"table", LensModel::Table}};
constexpr Word<ViewKind> CONST_VIEWS[] = {{"fisheye", ViewKind::Fisheye},
                                          {"panorama", ViewKind::Panorama},
                                          {"180", ViewKind::Half},
                                          {"lat", ViewKind::Lat},
                                          {"ptz", ViewKind::PanTiltZoom}};
constexpr Word<bool> CONST_RANGES[] = {{"limited", false}, {"full", true}};
constexpr Word<bool> CONST_MATRICES[] = {{"bt601", false}, {"bt709", true}};

[[noreturn]] void Refuse(const QString& strText)
{
    throw BadUsage(strText.toStdString());
}

/// The values given on the command line, each read as what it must be.
class Values
{
public:
    explicit Values(const QCommandLineParser& stParser) : m_stParser(stParser) {}

    bool Has(const char* szName) const { return m_stParser.isSet(szName); }
    QString Text(const char* szName) const { return m_stParser.value(szName); }

    template <typename T, std::size_t N>
    T OneOf(const char* szName, const Word<T> (&astWords)[N]) const
    {
        QStringList lstKnown;
        for (const Word<T>& stWord : astWords) {
            if (Text(szName) == stWord.szWord)
                return stWord.tMeaning;
            lstKnown << stWord.szWord;
        }
        Refuse(QString("--%1 '%2' is none of %3").arg(szName, Text(szName), lstKnown.join(", ")));
    }

    template <typename T, std::size_t N>
    T OneOf(const char* szName, const Word<T> (&astWords)[N], T tUsual) const
    {
        return Has(szName) ? OneOf(szName, astWords) : tUsual;
    }

    double Number(const char* szName, const QString& str, double dLow, double dHigh) const
    {
        bool blNumber = false;
        const double dValue = str.toDouble(&blNumber);
        if (!blNumber || !(dValue >= dLow && dValue <= dHigh))
            Refuse(QString("--%1: '%2' is not a number from %3 to %4")
                       .arg(szName, str)
                       .arg(dLow, 0, 'g', 10)
                       .arg(dHigh, 0, 'g', 10));
        return dValue;
    }

    double Number(const char* szName, double dUsual, double dLow, double dHigh) const
    {
        return Has(szName) ? Number(szName, Text(szName), dLow, dHigh) : dUsual;
    }

    int Whole(const char* szName, const QString& str, int iLow, int iHigh) const
    {
        bool blNumber = false;
        const int iValue = str.toInt(&blNumber);
        if (!blNumber || iValue < iLow || iValue > iHigh)
            Refuse(QString("--%1: '%2' is not a whole number from %3 to %4")
                       .arg(szName, str)
                       .arg(iLow)
                       .arg(iHigh));
        return iValue;
    }

    std::optional<int> Whole(const char* szName, int iLow, int iHigh) const
    {
        if (!Has(szName))
            return std::nullopt;
        return Whole(szName, Text(szName), iLow, iHigh);
    }

    optics::Point Pair(const char* szName, const optics::Point& stUsual, double dLow,
                       double dHigh) const
    {
        if (!Has(szName))
            return stUsual;
        const QStringList lst = Text(szName).split(',');
        if (lst.size() != 2)
            Refuse(QString("--%1: '%2' is not X,Y").arg(szName, Text(szName)));
        return {Number(szName, lst[0], dLow, dHigh), Number(szName, lst[1], dLow, dHigh)};
    }

private:
    const QCommandLineParser& m_stParser;
};

void ReadSize(const Values& stValues, Options& stOptions)
{
    stOptions.iWidth = stOptions.iHeight = 2048;
    if (!stValues.Has("size"))
        return;
    const QStringList lst = stValues.Text("size").split('x');
    if (lst.size() > 2)
        Refuse(QString("--size: '%1' is not WIDTHxHEIGHT").arg(stValues.Text("size")));
    stOptions.iWidth = stValues.Whole("size", lst.first(), 16, CONST_LARGEST_SIDE);
    stOptions.iHeight = stValues.Whole("size", lst.last(), 16, CONST_LARGEST_SIDE);
}

void ReadTable(const Values& stValues, optics::LensParameters& stLens)
{
    const QStringList lstRows = stValues.Text("table").split(',', Qt::SkipEmptyParts);
    if (lstRows.size() > optics::LENS_TABLE_ROWS)
        Refuse(QString("--table has more than %1 rows").arg(optics::LENS_TABLE_ROWS));
    for (const QString& strRow : lstRows) {
        const QStringList lst = strRow.split(':');
        if (lst.size() != 2)
            Refuse(QString("--table: '%1' is not DEGREES:PIXELS").arg(strRow));
        stLens.astTable[std::size_t(stLens.iTableLength++)] = {
            stValues.Number("table", lst[0], 0, 180),
            stValues.Number("table", lst[1], 0, CONST_LARGEST_SIDE)};
    }
}

/// The largest circle of the picture, unless the command line says otherwise.
optics::LensParameters ReadLens(const Values& stValues, int iWidth, int iHeight)
{
    constexpr double dFar = 10.0 * CONST_LARGEST_SIDE;
    optics::LensParameters stLens;
    stLens.eModel = stValues.OneOf("lens", CONST_MODELS, LensModel::Equidistant);
    stLens.dFovDeg = stValues.Number("fov", 0, optics::LENS_FOV_MIN_DEG, optics::LENS_FOV_MAX_DEG);
    stLens.stCentre =
        stValues.Pair("centre", {(iWidth - 1) / 2.0, (iHeight - 1) / 2.0}, -dFar, dFar);
    const optics::Point stFocal = stValues.Pair("focal", {0, 0}, 1, dFar);
    stLens.dFocalX = stFocal.x;
    stLens.dFocalY = stFocal.y;
    const bool blOwnScale = stValues.Has("focal") || stLens.eModel == LensModel::Table;
    stLens.dCircleRadius =
        stValues.Number("radius", blOwnScale ? 0 : std::min(iWidth, iHeight) / 2.0, 1, dFar);
    const QStringList lstK = stValues.Text("k").split(',', Qt::SkipEmptyParts);
    if (lstK.size() > int(stLens.adK.size()))
        Refuse(QString("--k has more than %1 coefficients").arg(stLens.adK.size()));
    for (int i = 0; i < lstK.size(); ++i)
        stLens.adK[std::size_t(i)] = stValues.Number("k", lstK[i], -1e6, 1e6);
    ReadTable(stValues, stLens);
    return stLens;
}

std::optional<optics::ViewParameters> ReadView(const Values& stValues, const Options& stOptions)
{
    if (!stValues.Has("view"))
        return std::nullopt;
    optics::ViewParameters stView;
    stView.eKind = stValues.OneOf("view", CONST_VIEWS);
    stView.eMount = stOptions.eMount;
    stView.dAngleDeg = stValues.Number("angle", 0, -1e6, 1e6);
    const optics::Point stPosition = stValues.Pair("position", {5000, 5000}, 0, 10000);
    stView.stCentre = {stPosition.x / 10000, stPosition.y / 10000};
    stView.dZoom = stValues.Number("zoom", CONST_ZOOM_MAX, CONST_ZOOM_MIN, CONST_ZOOM_MAX);
    stView.iWidth = stOptions.iWidth;
    stView.iHeight = stOptions.iHeight;
    return stView;
}

Rate ReadRate(const Values& stValues)
{
    if (!stValues.Has("rate"))
        return {};
    const QStringList lst = stValues.Text("rate").split('/');
    if (lst.size() > 2)
        Refuse(
            QString("--rate: '%1' is neither a number nor a fraction").arg(stValues.Text("rate")));
    const Rate stRate{stValues.Whole("rate", lst.first(), 1, 240000),
                      lst.size() < 2 ? 1 : stValues.Whole("rate", lst.last(), 1, 10000)};
    if (stRate.iNumerator > 240 * stRate.iDenominator)
        Refuse("--rate goes up to 240");
    return stRate;
}

EncoderSettings ReadEncoder(const Values& stValues)
{
    EncoderSettings st;
    st.strCodec = stValues.Text("codec").toStdString();
    st.strPixelFormat = stValues.Text("pixel-format").toStdString();
    st.iQuality = stValues.Whole("quality", 0, 51);
    st.iKilobits = stValues.Whole("bit-rate", 1, 1000000);
    if (st.iQuality && st.iKilobits)
        Refuse("give --quality or --bit-rate, not both");
    if (stValues.Has("range"))
        st.blFull = stValues.OneOf("range", CONST_RANGES);
    if (stValues.Has("matrix"))
        st.blBt709 = stValues.OneOf("matrix", CONST_MATRICES);
    st.iKeyframes = stValues.Whole("key-frames", 1, 100000);
    st.stRate = ReadRate(stValues);
    return st;
}

Options ReadOptions(const Values& stValues)
{
    Options st{};
    st.strClip = stValues.Text("o").toStdString();
    st.strPicture = stValues.Text("picture").toStdString();
    if (st.strClip.empty() == st.strPicture.empty())
        Refuse("name one file: a clip with -o or a picture with --picture");
    st.eMount = stValues.OneOf("mount", CONST_MOUNTS, Mount::Ceiling);
    ReadSize(stValues, st);
    st.stLens = ReadLens(stValues, st.iWidth, st.iHeight);
    st.stView = ReadView(stValues, st);
    st.dStart = stValues.Number("time", 0, -CONST_LONGEST, CONST_LONGEST);
    st.stEncoder = ReadEncoder(stValues);
    const double dSeconds = stValues.Number("seconds", 10, 0.001, CONST_LONGEST);
    const Rate& stRate = st.stEncoder.stRate;
    st.iPictures =
        std::max(1, int(std::lround(dSeconds * stRate.iNumerator / stRate.iDenominator)));
    st.blQuiet = stValues.Has("quiet");
    return st;
}

}  // namespace

std::optional<Options> ParseOptions(const QStringList& lstArguments)
{
    QCommandLineParser stParser;
    stParser.setApplicationDescription(
        "Films a synthetic room through a fisheye lens, or draws a corrected view of it directly.");
    for (const OptionRow& stRow : CONST_OPTIONS)
        stParser.addOption({QString(stRow.szName), stRow.szText, stRow.szValue});
    stParser.addOption({{"q", "quiet"}, "Do not tell the progress."});
    stParser.addOption({{"h", "help"}, "Print this help."});
    stParser.addOption({"version", "Print the version."});
    if (!stParser.parse(lstArguments))
        Refuse(stParser.errorText());
    if (stParser.isSet("help")) {
        std::fputs(qPrintable(stParser.helpText()), stdout);
        return std::nullopt;
    }
    if (stParser.isSet("version")) {
        std::puts("fisheye-clip " FISHEYE_VERSION);
        return std::nullopt;
    }
    if (!stParser.positionalArguments().isEmpty())
        Refuse(QString("unexpected '%1'").arg(stParser.positionalArguments().first()));
    return ReadOptions(Values(stParser));
}

}  // namespace clip
