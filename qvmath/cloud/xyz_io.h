// SPDX-License-Identifier: MIT
// XYZ text point clouds: one point per line, numbers separated by white space or commas,
// read from a file or a memory buffer and written with a header line naming the columns.
#pragma once

#include <qvmath/cloud/point_cloud.h>
#include <qvmath/platform/export.h>

#include <cstddef>
#include <string>

namespace REmath {

/// Reads the XYZ text held in data[0..size) into `cloud`, replacing its contents.
///
/// Lines end in LF or CR LF; numbers are separated by spaces, tabs or commas; empty lines
/// and lines starting with '#' are skipped. Columns: when the first '#' line before the data
/// reads "# x y z name..." (the form `WriteXyzCloud` writes), the names decide as in the
/// PLY reader (`nx ny nz`/`normal_x...` normals, `red green blue`/`diffuse_red...`/`r g b`
/// colours, 0..255, rounded and clamped; everything else a float field). Without such a
/// line: 3 columns are x y z, 6 columns x y z nx ny nz, and any other count from 4 up gives
/// x y z and fields named `field3`, `field4`, ... Every data line must have the same number
/// of columns.
/// @throws ECloudFileError "XYZ: line <n>: <problem>" for a token that is not a number, a
///         line with another column count, fewer than three columns, or a header naming a
///         column twice or not starting with x y z. `cloud` is then unspecified.
/// Suitable as a fuzzing entry point: any input either fills `cloud` or throws
/// `ECloudFileError`.
QVMATH_API void ReadXyzCloud(const char* data, std::size_t size, CPointCloud& cloud);

/// Reads the XYZ file `path` into `cloud` as `ReadXyzCloud` does.
/// @throws ECloudFileError "<path>: <problem>".
QVMATH_API void ReadXyzCloudFile(const std::string& path, CPointCloud& cloud);

/// Writes `cloud` as XYZ text into `out` (replacing it): a header line "# x y z" followed by
/// `nx ny nz`, `red green blue` and the field names when present, then one line per point
/// with space-separated values (floats in the shortest form that reads back exactly, colour
/// channels and integer-typed fields as integers).
/// @throws std::invalid_argument when the cloud breaks its size invariant or a field name
///         holds white space, a comma or '#'.
QVMATH_API void WriteXyzCloud(const CPointCloud& cloud, std::string& out);

/// Writes `cloud` to the file `path` as `WriteXyzCloud` does.
/// @throws ECloudFileError "<path>: <problem>" when the file cannot be written;
///         std::invalid_argument as `WriteXyzCloud`.
QVMATH_API void WriteXyzCloudFile(const std::string& path, const CPointCloud& cloud);

}  // namespace REmath
