// SPDX-License-Identifier: MIT
// `qvmath info INPUT...`: what a cloud file holds: points, attributes, fields with their
// ranges, the bounding box and the median point spacing.
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/infra/progress_counter.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "cloud_steps.h"
#include "commands.h"

namespace qvtool {

namespace {

const char* TypeName(REmath::ECloudFieldType t) {
  static const char* const kNames[] = {"int8",  "uint8",  "int16",   "uint16",
                                       "int32", "uint32", "float32", "float64"};
  return kNames[static_cast<int>(t)];
}

void RunInfo(Job& job) {
  Stopwatch clock;
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);
  const int nonFinite = CountNonFinite(cloud);
  double lo[3], hi[3];
  for (int c = 0; c < 3; ++c) {
    lo[c] = std::numeric_limits<double>::infinity();
    hi[c] = -lo[c];
  }
  for (const REmath::Point3D& p : cloud.Positions()) {
    const float* a = p.asArray();
    if (!(std::isfinite(a[0]) && std::isfinite(a[1]) && std::isfinite(a[2]))) continue;
    for (int c = 0; c < 3; ++c)
      lo[c] = std::min(lo[c], double(a[c])), hi[c] = std::max(hi[c], double(a[c]));
  }
  double spacing = 0;
  if (nonFinite < cloud.Size()) {
    CProgressCounter progress;
    REmath::CCloudIndex index;
    index.Build(cloud.Positions().data(), cloud.Size(), &progress, job.threads);
    spacing = REmath::EstimatePointSpacing(index);
  }
  job.report["timings"]["spacing"] = clock.Lap();

  Json& r = job.report;
  r["non_finite_points"] = nonFinite;
  r["normals"] = cloud.HasNormals();
  r["colours"] = cloud.HasColours();
  r["box_min"] = Json::Numbers(lo, 3);
  r["box_max"] = Json::Numbers(hi, 3);
  r["point_spacing"] = spacing;
  job.Say("%s: %d points (%d with non-finite coordinates)%s%s", job.input.c_str(), cloud.Size(),
          nonFinite, cloud.HasNormals() ? ", normals" : "", cloud.HasColours() ? ", colours" : "");
  job.Say("  box: [%.6g, %.6g] x [%.6g, %.6g] x [%.6g, %.6g]", lo[0], hi[0], lo[1], hi[1], lo[2],
          hi[2]);
  job.Say("  median point spacing: %.6g (planes --distance default: %.6g)", spacing, 3 * spacing);
  Json& fields = r["fields"] = Json::Array();
  for (const REmath::CCloudScalarField& f : cloud.Fields()) {
    float fmin = std::numeric_limits<float>::infinity(), fmax = -fmin;
    int nan = 0;
    for (const float v : f.values) {
      if (std::isnan(v)) {
        ++nan;
        continue;
      }
      fmin = std::min(fmin, v), fmax = std::max(fmax, v);
    }
    Json& j = fields.Push(Json::Object());
    j["name"] = f.name;
    j["type"] = TypeName(f.fileType);
    j["min"] = double(fmin);
    j["max"] = double(fmax);
    j["nan"] = nan;
    job.Say("  field %-20s %-7s [%.6g, %.6g]%s", f.name.c_str(), TypeName(f.fileType), fmin, fmax,
            nan ? (", " + std::to_string(nan) + " NaN").c_str() : "");
  }
}

}  // namespace

void AddInfoCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<CommonOptions>();
  CLI::App* sub = app.add_subcommand(
      "info", "Describe cloud files: points, attributes, field ranges, box, point spacing");
  AddCommonOptions(*sub, *o, false, false);
  sub->callback(
      [o, &run] { run = [o] { return RunBatch("info", *o, "", Json::Object(), RunInfo); }; });
}

}  // namespace qvtool
