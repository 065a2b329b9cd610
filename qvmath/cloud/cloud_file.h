// SPDX-License-Identifier: MIT
// Point-cloud files by name: the format chosen from the file extension.
#pragma once

#include <qvmath/cloud/point_cloud.h>
#include <qvmath/platform/export.h>

#include <string>

namespace REmath {

/// Cloud file formats known by extension.
enum class ECloudFileFormat : int { Unknown, Ply, Xyz };

/// @return the format of `path` from its extension, case-insensitive: `.ply` is PLY;
///         `.xyz`, `.txt`, `.pts`, `.csv` and `.asc` are XYZ text; anything else Unknown.
QVMATH_API ECloudFileFormat CloudFileFormatOf(const std::string& path);

/// Reads `path` with the reader of its format (`ReadPlyCloudFile` or `ReadXyzCloudFile`).
/// @throws ECloudFileError "<path>: unknown file extension" or what the reader throws.
QVMATH_API void ReadCloudFile(const std::string& path, CPointCloud& cloud);

/// Writes `cloud` to `path` in the format of its extension: PLY binary little-endian, or
/// ASCII PLY when `asciiPly` is set; XYZ text.
/// @throws ECloudFileError "<path>: unknown file extension" or what the writer throws.
QVMATH_API void WriteCloudFile(const std::string& path, const CPointCloud& cloud,
                               bool asciiPly = false);

}  // namespace REmath
