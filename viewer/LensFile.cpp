#include "viewer/LensFile.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <map>
#include <vector>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QRegularExpression>

namespace viewer {

namespace {

/// What both forms come down to: a name and its numbers.
using Numbers = std::map<QString, std::vector<double>>;

void Flatten(const QJsonValue& value, std::vector<double>& out)
{
    if (value.isDouble())
        out.push_back(value.toDouble());
    for (const QJsonValue& element : value.toArray())
        Flatten(element, out);
}

/// A matrix is an object with "data" in OpenCV's own form, else nested arrays.
Numbers FromJson(const QJsonObject& object)
{
    Numbers numbers;
    for (auto it = object.begin(); it != object.end(); ++it)
        Flatten(it->isObject() ? it->toObject().value("data") : it.value(), numbers[it.key()]);
    return numbers;
}

std::vector<double> NumbersIn(const QString& text)
{
    static const QRegularExpression number(R"([-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?)");
    std::vector<double> found;
    for (auto it = number.globalMatch(text); it.hasNext();)
        found.push_back(it.next().captured().toDouble());
    return found;
}

/// The part of YAML that OpenCV writes: "name: number", "name: [numbers]", and matrices, whose
/// numbers stand in a "data: [...]" below the name and may run over several lines.
Numbers FromYaml(const QString& text)
{
    static const QRegularExpression scalar(R"(^(\w+)\s*:\s*([-+.\deE]+)\s*$)",
                                           QRegularExpression::MultilineOption);
    static const QRegularExpression list(
        R"(^(\w+)\s*:\s*(?:!!opencv-matrix\s*(?:\n[ \t]+\w+\s*:[^\n\[]*)*\n[ \t]+data\s*:\s*)?\[([^\]]*)\])",
        QRegularExpression::MultilineOption);
    Numbers numbers;
    for (const QRegularExpression* form : {&scalar, &list})
        for (auto it = form->globalMatch(text); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            numbers[match.captured(1)] = NumbersIn(match.captured(2));
        }
    return numbers;
}

const std::vector<double>* Find(const Numbers& numbers, std::initializer_list<const char*> names,
                                std::size_t count)
{
    for (const char* name : names) {
        const auto it = numbers.find(name);
        if (it != numbers.end() && it->second.size() == count)
            return &it->second;
    }
    return nullptr;
}

int Whole(const Numbers& numbers, const char* name)
{
    const std::vector<double>* const value = Find(numbers, {name}, 1);
    return nullptr != value && value->front() >= 0.0 && value->front() <= 100000.0
               ? static_cast<int>(value->front())
               : 0;
}

std::optional<LensCalibration> Refuse(QString* error, const QString& why)
{
    if (nullptr != error)
        *error = why;
    return std::nullopt;
}

}  // namespace

std::optional<LensCalibration> ParseLensCalibration(const QByteArray& text, QString* error)
{
    const QJsonDocument json = QJsonDocument::fromJson(text);
    const Numbers numbers = json.isObject()
                                ? FromJson(json.object())
                                : FromYaml(QString::fromUtf8(text).replace("\r\n", "\n"));
    const auto* const matrix = Find(numbers, {"camera_matrix", "K"}, 9);
    if (nullptr == matrix)
        return Refuse(error, QObject::tr("There is no 3 x 3 \"camera_matrix\" or \"K\" in it."));
    const auto* const k = Find(numbers, {"distortion_coefficients", "dist_coeffs", "D"}, 4);
    if (nullptr == k)
        return Refuse(error, QObject::tr("There are no four \"distortion_coefficients\" or \"D\" "
                                         "in it: OpenCV's fisheye calibration writes four."));
    LensCalibration lens;
    lens.width = Whole(numbers, "image_width");
    lens.height = Whole(numbers, "image_height");
    lens.focalX = (*matrix)[0];
    lens.centreX = (*matrix)[2];
    lens.focalY = (*matrix)[4];
    lens.centreY = (*matrix)[5];
    std::copy(k->begin(), k->end(), lens.k.begin());
    for (const double value : {lens.focalX, lens.focalY, lens.centreX, lens.centreY, lens.k[0],
                               lens.k[1], lens.k[2], lens.k[3]})
        if (!std::isfinite(value))
            return Refuse(error, QObject::tr("One of its numbers is not finite."));
    if (lens.focalX <= 0.0 || lens.focalY <= 0.0)
        return Refuse(error, QObject::tr("Its focal lengths are not above 0."));
    return lens;
}

std::optional<LensCalibration> ReadLensCalibration(const QString& path, QString* error)
{
    constexpr qint64 CONST_MOST_BYTES = 1 << 20;
    QFile file(path);
    QString why;
    std::optional<LensCalibration> lens;
    if (file.open(QIODevice::ReadOnly))
        lens = ParseLensCalibration(file.read(CONST_MOST_BYTES), &why);
    else
        why = file.errorString();
    return lens ? lens : Refuse(error, QObject::tr("%1: %2").arg(path, why));
}

}  // namespace viewer
