// SPDX-License-Identifier: MIT
// `qvmath planes INPUT... -o OUTPUT`: every plane of the cloud, a `plane` label per point
// (-1: none), colours per plane, and a JSON list of the planes.
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <memory>

#include "cloud_steps.h"
#include "colouring.h"
#include "commands.h"
#include "interrupt.h"
#include "output_file.h"
#include "truth.h"

namespace qvtool {

namespace {

struct PlanesOptions {
  CommonOptions common;
  double distance = 0;
  double connection = 0;
  double angle = 10;
  int minPoints = 50;
  int maxPlanes = 100;
  unsigned long long seed = 1;
  int normalsK = 16;
  std::string json;
  bool noColour = false;
};

Json PlaneJson(int label, const REmath::CCloudPlane& p) {
  Json j = Json::Object();
  j["label"] = label;
  j["normal"] = Json::Numbers(p.equation.NormalDir(), 3);
  j["d"] = p.equation.FreeTerm();
  const double origin[3] = {p.origin.x(), p.origin.y(), p.origin.z()};
  j["centroid"] = Json::Numbers(origin, 3);
  j["inliers"] = p.inliers;
  j["rms_error"] = p.rmsError;
  j["mean_error"] = p.meanError;
  j["max_error"] = p.maxError;
  Json& extent = j["extent"];
  for (int i = 0; i < 2; ++i) {
    Json& axis = extent[i == 0 ? "u" : "v"];
    axis["direction"] = Json::Numbers(p.limits.GetBasisVector(i), 3);
    axis["range"] = Json::Numbers(p.limits.GetLimitsInDir(i), 2);
  }
  return j;
}

void RunPlanes(const PlanesOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);
  const int nonFinite = CountNonFinite(cloud);
  // Both outputs go to temporaries first and are renamed only when both are complete.
  const std::string jsonPath = !o.json.empty() && job.output == o.common.output
                                   ? o.json
                                   : ReplaceExtension(job.output, ".json");
  OutputFile jsonFile(jsonPath);

  CProgressCounter progress;
  REmath::CCloudIndex index;
  {
    CPrgCntSubPhase phase(&progress, 0.0, 0.1, CPrgCntSubPhase::PhaseFloat);
    index.Build(cloud.Positions().data(), cloud.Size(), &progress, job.threads);
  }
  job.report["timings"]["index"] = clock.Lap();
  const double spacing = REmath::EstimatePointSpacing(index);
  NormalSet normals;
  std::string normalsHow = "from the file";
  if (!NormalsFromFile(cloud, normals)) {
    const int nk = std::min(o.normalsK, cloud.Size() - nonFinite);
    EstimateOrientedNormals(job, index, nk, progress, 0.1, 0.5, normals);
    cloud.Normals() = normals.normals;
    normalsHow = "estimated with k = " + std::to_string(nk);
  }
  job.report["timings"]["normals"] = clock.Lap();

  REmath::CCloudPlaneParams pp;
  pp.distance = o.distance;
  pp.connection = o.connection;
  pp.maxAngle = o.angle * 0.017453292519943295;
  pp.minPoints = o.minPoints;
  pp.maxPlanes = o.maxPlanes;
  pp.seed = o.seed;
  pp.nThreads = job.threads;
  REmath::CCloudPlanes planes;
  {
    CPrgCntSubPhase phase(&progress, 0.5, 0.5, CPrgCntSubPhase::PhaseFloat);
    REmath::FindCloudPlanes(index, normals.normals, normals.valid, pp, planes, &progress);
  }
  job.report["timings"]["planes"] = clock.Lap();

  std::string truth;
  const Json accuracy = PlaneAccuracy(cloud, planes, truth);
  REmath::CCloudScalarField& label = cloud.SetField("plane", REmath::ECloudFieldType::Int32);
  label.fileType = REmath::ECloudFieldType::Int32;
  label.values.assign(planes.labels.begin(), planes.labels.end());
  int labelled = 0;
  for (const int l : planes.labels) labelled += l >= 0;
  if (!o.noColour) {
    cloud.Colours().resize(planes.labels.size());
    for (std::size_t i = 0; i < planes.labels.size(); ++i)
      cloud.Colours()[i] = LabelColour(planes.labels[i]);
  }

  Json list = Json::Object();
  list["input"] = job.input;
  list["distance"] = planes.distance;
  list["connection"] = planes.connection;
  list["max_angle_deg"] = o.angle;
  list["seed"] = o.seed;
  Json& items = list["planes"] = Json::Array();
  for (std::size_t i = 0; i < planes.planes.size(); ++i)
    items.Push(PlaneJson(static_cast<int>(i), planes.planes[i]));
  {
    std::ofstream out(jsonFile.TempPath(), std::ios::binary);
    out << list.Dump();
    if (!out.flush()) throw std::runtime_error(jsonPath + ": cannot write");
  }
  OutputFile cloudFile(job.output);
  WriteCloudTemporary(job, cloud, cloudFile);
  // Both complete: rename them together (a Ctrl-C noticed here removes both).
  if (Interrupted()) throw CUserIntrException();
  cloudFile.Commit();
  jsonFile.Commit();
  job.report["timings"]["write"] = clock.Lap();

  Json& r = job.report;
  r["point_spacing"] = spacing;
  r["distance"] = planes.distance;
  r["distance_source"] = o.distance > 0 ? "given" : "3 x point spacing";
  r["connection"] = planes.connection;
  r["connection_source"] = o.connection > 0 ? "given" : "4 x point spacing";
  r["planes"] = planes.planes.size();
  r["labelled_points"] = labelled;
  r["non_finite_points"] = nonFinite;
  r["invalid_normals"] = normals.invalid;
  r["planes_json"] = jsonPath;
  if (accuracy.GetKind() != Json::Kind::Null) r["accuracy"] = accuracy;
  job.Say(
      "%s: %d points, median point spacing %.4g, distance %.4g (%s), connection %.4g (%s), "
      "angle %g deg, normals %s, %d threads",
      job.input.c_str(), cloud.Size(), spacing, planes.distance,
      o.distance > 0 ? "given" : "default: 3 x spacing", planes.connection,
      o.connection > 0 ? "given" : "default: 4 x spacing", o.angle, normalsHow.c_str(),
      job.threads);
  job.Say("  %zu planes, %d points on a plane, %d left over", planes.planes.size(), labelled,
          cloud.Size() - labelled);
  if (!truth.empty()) job.Say("  %s", truth.c_str());
  job.Say("  -> %s, %s (%.2f s)", job.output.c_str(), jsonPath.c_str(), job.Elapsed());
}

}  // namespace

void AddPlanesCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<PlanesOptions>();
  CLI::App* sub = app.add_subcommand(
      "planes",
      "Find every plane (field plane: the label, -1 for none; colours per plane) and "
      "write their list as JSON");
  AddCommonOptions(*sub, o->common, true, true);
  sub->add_option("--distance", o->distance,
                  "Largest point-to-plane distance (default: 3 x the median point spacing)")
      ->check(CLI::PositiveNumber);
  sub->add_option("--connection", o->connection,
                  "Largest gap within one plane: the edge of the grid cells that split a plane's "
                  "points into connected pieces (default: 4 x the median point spacing)")
      ->check(CLI::PositiveNumber);
  sub->add_option("--angle", o->angle, "Largest normal deviation from the plane, degrees")
      ->default_val(10)
      ->check(CLI::Range(0.0, 90.0));
  sub->add_option("--min-points", o->minPoints, "Smallest plane")
      ->default_val(50)
      ->check(CLI::Range(3, 1000000000));
  sub->add_option("--max-planes", o->maxPlanes, "Largest number of planes")
      ->default_val(100)
      ->check(CLI::Range(1, 1000000));
  sub->add_option("--seed", o->seed, "Seed of the random proposals (same seed, same planes)")
      ->default_val(1);
  sub->add_option("--normals-k", o->normalsK, "Neighbours for the normals when the file has none")
      ->default_val(16)
      ->check(CLI::Range(3, 100000));
  sub->add_option("--json", o->json,
                  "The plane list (default: the output with the extension .json)");
  sub->add_flag("--no-colour", o->noColour, "Keep the input colours");
  sub->callback([o, &run] {
    run = [o] {
      Json params = Json::Object();
      params["angle_deg"] = o->angle;
      params["min_points"] = o->minPoints;
      params["seed"] = o->seed;
      return RunBatch("planes", o->common, ".ply", std::move(params),
                      [o](Job& job) { RunPlanes(*o, job); });
    };
  });
}

}  // namespace qvtool
