// SPDX-License-Identifier: MIT
// Steps shared by the cloud subcommands: loading an input, taking normals from the file or
// estimating them, storing result fields, writing the output cloud.
#pragma once

#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/point_cloud.h>

#include <vector>

#include "command.h"
#include "output_file.h"

class CProgressCounter;

namespace qvtool {

/// Reads `job.input` into `cloud` (timed into the report as "read").
/// @throws ECloudFileError for an unreadable or malformed file; InputError for a file
///         without points.
void LoadCloud(Job& job, REmath::CPointCloud& cloud, Stopwatch& clock);

/// @return the number of points with a NaN or infinite coordinate.
int CountNonFinite(const REmath::CPointCloud& cloud);

/// Unit normals with validity flags, in the input order.
struct NormalSet {
  std::vector<REmath::Point3D> normals;
  std::vector<unsigned char> valid;
  int invalid = 0;
};

/// Takes the normals stored in the file (valid where finite and of non-zero length).
/// @return false when the cloud has none.
bool NormalsFromFile(const REmath::CPointCloud& cloud, NormalSet& out);

/// Estimates normals over `index` with k neighbours and orients them over the surface by
/// the spanning tree (the result of the `normals` subcommand with its defaults), between
/// fractions [from, to] of `progress`. Says what it did and records it under
/// report["normals"].
void EstimateOrientedNormals(Job& job, const REmath::CCloudIndex& index, int k,
                             CProgressCounter& progress, double from, double to, NormalSet& out);

/// Stores `values` as the float field `name` (replacing one of that name).
void SetField(REmath::CPointCloud& cloud, const std::string& name,
              const std::vector<float>& values);

/// Writes `cloud` to the temporary of `file` in the format of `job.output`'s extension.
/// @throws std::runtime_error "<output>: cannot write: <reason>".
void WriteCloudTemporary(const Job& job, const REmath::CPointCloud& cloud, OutputFile& file);

/// Writes `cloud` to `job.output` under a temporary name and renames it into place
/// (timed into the report as "write").
void WriteOutputCloud(Job& job, const REmath::CPointCloud& cloud, Stopwatch& clock);

/// `k` as given, or `fallback` lowered to the number of finite points; "k = 16 (default)".
int ChooseK(bool given, int k, int fallback, int finitePoints, std::string& how);

}  // namespace qvtool
