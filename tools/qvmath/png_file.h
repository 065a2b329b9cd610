// SPDX-License-Identifier: MIT
// Writing an 8-bit RGB image as a PNG file with libpng.
#pragma once

#include <string>
#include <vector>

namespace qvtool {

/// Writes the width × height RGB image `rgb` (rows top to bottom, 3 bytes per pixel) to
/// `path`.
/// @throws std::runtime_error "<path>: cannot write ..." on failure (the file may then
///         hold part of the image: write to a temporary).
void WritePng(const std::string& path, int width, int height,
              const std::vector<unsigned char>& rgb);

}  // namespace qvtool
