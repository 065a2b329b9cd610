// SPDX-License-Identifier: MIT
// `qvmath normals INPUT... -o OUTPUT`: unit normals (nx ny nz), their orientation and the
// surface variation of every point.
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/infra/progress_counter.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "cloud_steps.h"
#include "colouring.h"
#include "commands.h"
#include "truth.h"

namespace qvtool {

namespace {

struct NormalsOptions {
  CommonOptions common;
  int k = 16;
  bool kGiven = false;
  float radius = 0;
  std::string method = "covariance";
  std::string orient = "surface";
  std::vector<double> viewpoint{0, 0, 0};
  std::vector<double> direction{0, 0, 1};
  bool colour = false;
};

void RunNormals(const NormalsOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);
  const int nonFinite = CountNonFinite(cloud);
  std::string how;
  REmath::CCloudNormalParams np;
  np.k = ChooseK(o.kGiven, o.k, 16, cloud.Size() - nonFinite, how);
  np.radius = o.radius;
  np.method = o.method == "quadric" ? REmath::ECloudNormalMethod::Quadric
                                    : REmath::ECloudNormalMethod::Covariance;
  np.nThreads = job.threads;
  if (o.radius > 0) how = "radius " + std::to_string(o.radius);

  CProgressCounter progress;
  REmath::CCloudIndex index;
  {
    CPrgCntSubPhase phase(&progress, 0.0, 0.1, CPrgCntSubPhase::PhaseFloat);
    index.Build(cloud.Positions().data(), cloud.Size(), &progress, job.threads);
  }
  job.report["timings"]["index"] = clock.Lap();
  REmath::CCloudNormals normals;
  {
    CPrgCntSubPhase phase(&progress, 0.1, 0.6, CPrgCntSubPhase::PhaseFloat);
    REmath::ComputeCloudNormals(index, np, normals, &progress);
  }
  job.report["timings"]["normals"] = clock.Lap();
  int flipped = 0;
  if (o.orient != "none") {
    static const std::map<std::string, REmath::ECloudOrientation> kModes = {
        {"surface", REmath::ECloudOrientation::SpanningTree},
        {"viewpoint", REmath::ECloudOrientation::TowardViewpoint},
        {"direction", REmath::ECloudOrientation::AlongDirection}};
    REmath::CCloudOrientParams op;
    op.mode = kModes.at(o.orient);
    op.viewpoint = REmath::Point3D_d(o.viewpoint.data());
    op.direction = REmath::Point3D_d(o.direction.data());
    op.k = np.k;
    op.nThreads = job.threads;
    CPrgCntSubPhase phase(&progress, 0.7, 0.3, CPrgCntSubPhase::PhaseFloat);
    flipped = REmath::OrientCloudNormals(index, op, normals.normals, normals.valid, &progress);
  }
  job.report["timings"]["orient"] = clock.Lap();

  std::string truth;
  const Json accuracy = NormalAccuracy(cloud, normals.normals, normals.valid, truth);
  cloud.Normals() = normals.normals;
  SetField(cloud, "surface_variation", normals.surfaceVariation);
  if (o.colour) {
    float lo, hi;
    RampColours(normals.surfaceVariation, false, cloud.Colours(), lo, hi);
  }
  WriteOutputCloud(job, cloud, clock);

  Json& r = job.report;
  r["k"] = np.k;
  r["radius"] = o.radius;
  r["method"] = o.method;
  r["orientation"] = o.orient;
  r["flipped"] = flipped;
  r["non_finite_points"] = nonFinite;
  r["invalid_normals"] = normals.invalidCount;
  if (accuracy.GetKind() != Json::Kind::Null) r["accuracy"] = accuracy;
  job.Say("%s: %d points, %s, %s normals, oriented: %s (%d flipped), %d threads", job.input.c_str(),
          cloud.Size(), how.c_str(), o.method.c_str(), o.orient.c_str(), flipped, job.threads);
  job.Say("  %d invalid normals (%d points with non-finite coordinates)", normals.invalidCount,
          nonFinite);
  if (!truth.empty()) job.Say("  %s", truth.c_str());
  job.Say("  -> %s (%.2f s)", job.output.c_str(), job.Elapsed());
}

}  // namespace

void AddNormalsCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<NormalsOptions>();
  CLI::App* sub =
      app.add_subcommand("normals",
                         "Estimate and orient a unit normal per point (fields nx ny nz, "
                         "surface_variation)");
  AddCommonOptions(*sub, o->common, true, true);
  CLI::Option* k = sub->add_option("-k,--neighbours", o->k,
                                   "Neighbours per point, itself included (default 16, at most "
                                   "the cloud size)")
                       ->check(CLI::Range(3, 100000));
  sub->add_option("--radius", o->radius,
                  "Use the neighbours within this distance instead of the k nearest")
      ->check(CLI::PositiveNumber);
  sub->add_option("--method", o->method, "covariance (plane fit) or quadric (quadric fit)")
      ->check(CLI::IsMember({"covariance", "quadric"}))
      ->default_val("covariance");
  sub->add_option("--orient", o->orient,
                  "surface: consistent over each connected piece, outward on closed surfaces; "
                  "viewpoint: towards --viewpoint; direction: along --direction; none")
      ->check(CLI::IsMember({"surface", "viewpoint", "direction", "none"}))
      ->default_val("surface");
  sub->add_option("--viewpoint", o->viewpoint, "Viewpoint X Y Z")->expected(3);
  sub->add_option("--direction", o->direction, "Direction X Y Z")->expected(3);
  sub->add_flag("--colour", o->colour, "Colour the points by surface variation (red green blue)");
  sub->callback([o, k, &run] {
    o->kGiven = k->count() > 0;
    run = [o] {
      Json params = Json::Object();
      params["method"] = o->method;
      params["orientation"] = o->orient;
      return RunBatch("normals", o->common, ".ply", std::move(params),
                      [o](Job& job) { RunNormals(*o, job); });
    };
  });
}

}  // namespace qvtool
