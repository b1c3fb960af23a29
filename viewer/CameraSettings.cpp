#include "viewer/CameraSettings.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <QCryptographicHash>
#include <QSettings>

#include "viewer/Layouts.h"

namespace viewer {

namespace {

template <typename Value>
struct Word
{
    const char* word;
    Value value;
};

constexpr Word<Mount> CONST_MOUNTS[] = {
    {"ceiling", Mount::Ceiling}, {"wall", Mount::Wall}, {"floor", Mount::Floor}};
constexpr Word<OverlayKind> CONST_OVERLAYS[] = {
    {"off", OverlayKind::Off}, {"traced", OverlayKind::Traced}, {"square", OverlayKind::Square}};

template <typename Value, std::size_t size>
std::optional<Value> ValueOf(const Word<Value> (&words)[size], const QString& word)
{
    for (const Word<Value>& entry : words)
        if (word == entry.word)
            return entry.value;
    return std::nullopt;
}

template <typename Value, std::size_t size>
QString WordFor(const Word<Value> (&words)[size], Value value)
{
    for (const Word<Value>& entry : words)
        if (value == entry.value)
            return entry.word;
    return {};
}

/// A source's name holds slashes, and perhaps a password; its group has neither.
QString GroupOf(const QString& source)
{
    const QByteArray hash =
        QCryptographicHash::hash(source.toUtf8(), QCryptographicHash::Sha256).toHex();
    return "camera-" + QString::fromLatin1(hash.left(16));
}

std::optional<RvLens> StoredLens(const QByteArray& bytes)
{
    RvLens lens{};
    if (bytes.size() != int{sizeof(lens)})
        return std::nullopt;
    std::memcpy(&lens, bytes.constData(), sizeof(lens));
    return lens;
}

}  // namespace

RvLens UnknownLens()
{
    RvLens lens{};
    lens.iSize = int{sizeof(lens)};
    lens.dCentreX = lens.dCentreY = std::numeric_limits<double>::quiet_NaN();
    return lens;
}

RvLens LensFrom(const LensCalibration& calibration)
{
    constexpr int CONST_KANNALA_BRANDT = 4;
    RvLens lens = UnknownLens();
    lens.iModel = CONST_KANNALA_BRANDT;
    lens.iWidth = calibration.width;
    lens.iHeight = calibration.height;
    lens.dCentreX = calibration.centreX;
    lens.dCentreY = calibration.centreY;
    lens.dFocalX = calibration.focalX;
    lens.dFocalY = calibration.focalY;
    std::copy(calibration.k.begin(), calibration.k.end(), lens.adK);
    return lens;
}

std::optional<Mount> MountOf(const QString& word)
{
    return ValueOf(CONST_MOUNTS, word);
}

std::optional<OverlayKind> OverlayOf(const QString& word)
{
    return ValueOf(CONST_OVERLAYS, word);
}

QString WordOf(Mount mount)
{
    return WordFor(CONST_MOUNTS, mount);
}

QString WordOf(OverlayKind overlay)
{
    return WordFor(CONST_OVERLAYS, overlay);
}

CameraSettings LoadCamera(QSettings& store, const QString& source)
{
    CameraSettings settings;
    store.beginGroup(GroupOf(source));
    settings.mount = MountOf(store.value("mount").toString()).value_or(settings.mount);
    settings.overlay = OverlayOf(store.value("overlay").toString()).value_or(settings.overlay);
    const QString layout = store.value("layout").toString();
    if (nullptr != FindLayout(layout))
        settings.layout = layout;
    settings.lens = StoredLens(store.value("lens").toByteArray());
    settings.mirrored = store.value("mirrored").toBool();
    settings.flipped = store.value("flipped").toBool();
    const int count = store.beginReadArray("presets");
    for (int i = 0; i < count; ++i) {
        store.setArrayIndex(i);
        settings.presets[store.value("name").toString()] = {store.value("centre").toPointF(),
                                                            store.value("zoom").toInt()};
    }
    store.endArray();
    store.endGroup();
    return settings;
}

void SaveCamera(QSettings& store, const QString& source, const CameraSettings& settings)
{
    store.beginGroup(GroupOf(source));
    store.remove("");
    store.setValue("mount", WordOf(settings.mount));
    store.setValue("overlay", WordOf(settings.overlay));
    store.setValue("layout", settings.layout);
    store.setValue("mirrored", settings.mirrored);
    store.setValue("flipped", settings.flipped);
    if (settings.lens)
        store.setValue("lens", QByteArray(reinterpret_cast<const char*>(&*settings.lens),
                                          int{sizeof(RvLens)}));
    store.beginWriteArray("presets", settings.presets.size());
    int i = 0;
    for (auto preset = settings.presets.cbegin(); preset != settings.presets.cend(); ++preset) {
        store.setArrayIndex(i++);
        store.setValue("name", preset.key());
        store.setValue("centre", preset->centre);
        store.setValue("zoom", preset->zoom);
    }
    store.endArray();
    store.endGroup();
}

}  // namespace viewer
