#pragma once

#include <array>
#include <optional>

#include <QByteArray>
#include <QString>

namespace viewer {

/// A lens calibration as OpenCV's fisheye module writes it: the four coefficients of the
/// Kannala-Brandt polynomial, focal lengths in pixels per radian, the centre in pixels (pixel
/// centres at whole numbers), and the size of the pictures that it was made from.
struct LensCalibration
{
    int width = 0;  ///< 0 where the file does not say
    int height = 0;
    double focalX = 0.0;
    double focalY = 0.0;
    double centreX = 0.0;
    double centreY = 0.0;
    std::array<double, 4> k{};
};

/// Reads a calibration in OpenCV's YAML or JSON form: the matrix "camera_matrix" or "K" (3 x 3),
/// the coefficients "distortion_coefficients", "dist_coeffs" or "D" (4), and, where given,
/// "image_width" and "image_height". Nothing, and a message for people in error, where it is not
/// one.
std::optional<LensCalibration> ParseLensCalibration(const QByteArray& text, QString* error);

/// The same, of a file.
std::optional<LensCalibration> ReadLensCalibration(const QString& path, QString* error);

}  // namespace viewer
