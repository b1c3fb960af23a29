// Pictures to files.
#pragma once

#include <cstdint>
#include <string>

namespace engine {

/// Writes BGRA pixels, rows without gaps, in the format that the file's ending names: .png, .jpg,
/// .jpeg or .bmp, in small or capital letters. False: another ending, or it could not be written.
bool WritePicture(const std::string& file, const std::uint8_t* pixels, int width, int height);

}  // namespace engine
