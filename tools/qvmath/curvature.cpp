// SPDX-License-Identifier: MIT
// `qvmath curvature INPUT... -o OUTPUT`: signed principal curvatures k1 >= k2, mean and
// Gaussian curvature of every point, coloured by mean curvature.
#include <qvmath/cloud/cloud_curvature.h>
#include <qvmath/infra/progress_counter.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "cloud_steps.h"
#include "colouring.h"
#include "commands.h"
#include "truth.h"

namespace qvtool {

namespace {

struct CurvatureOptions {
  CommonOptions common;
  int k = 30;
  bool kGiven = false;
  float radius = 0;
  int normalsK = 16;
  bool recompute = false;
  std::string colour = "mean";
};

void RunCurvature(const CurvatureOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);
  const int nonFinite = CountNonFinite(cloud);
  std::string how;
  REmath::CCloudCurvatureParams cp;
  cp.k = ChooseK(o.kGiven, o.k, 30, cloud.Size() - nonFinite, how);
  cp.radius = o.radius;
  cp.nThreads = job.threads;
  if (o.radius > 0) how = "radius " + std::to_string(o.radius);

  CProgressCounter progress;
  REmath::CCloudIndex index;
  {
    CPrgCntSubPhase phase(&progress, 0.0, 0.1, CPrgCntSubPhase::PhaseFloat);
    index.Build(cloud.Positions().data(), cloud.Size(), &progress, job.threads);
  }
  job.report["timings"]["index"] = clock.Lap();
  NormalSet normals;
  std::string normalsHow = "from the file";
  if (o.recompute || !NormalsFromFile(cloud, normals)) {
    const int nk = std::min(o.normalsK, cloud.Size() - nonFinite);
    EstimateOrientedNormals(job, index, nk, progress, 0.1, 0.4, normals);
    cloud.Normals() = normals.normals;
    normalsHow = "estimated with k = " + std::to_string(nk) + ", oriented over the surface";
  } else {
    job.report["normals"]["source"] = "file";
  }
  job.report["timings"]["normals"] = clock.Lap();
  REmath::CCloudCurvatures curv;
  {
    CPrgCntSubPhase phase(&progress, 0.4, 0.6, CPrgCntSubPhase::PhaseFloat);
    REmath::ComputeCloudCurvatures(index, normals.normals, normals.valid, cp, curv, &progress);
  }
  job.report["timings"]["curvature"] = clock.Lap();

  std::string truth;
  const Json accuracy = CurvatureAccuracy(cloud, curv.k1, curv.k2, curv.valid, truth);
  SetField(cloud, "k1", curv.k1);
  SetField(cloud, "k2", curv.k2);
  SetField(cloud, "mean", curv.mean);
  SetField(cloud, "gauss", curv.gauss);
  float lo = 0, hi = 0;
  if (o.colour != "none")
    RampColours(cloud.FindField(o.colour)->values, true, cloud.Colours(), lo, hi);
  WriteOutputCloud(job, cloud, clock);

  Json& r = job.report;
  r["k"] = cp.k;
  r["radius"] = o.radius;
  r["non_finite_points"] = nonFinite;
  r["invalid_points"] = curv.invalidCount;
  if (o.colour != "none") {
    Json& range = r["colour_range"] = Json::Array();
    range.Push(lo);
    range.Push(hi);
  }
  if (accuracy.GetKind() != Json::Kind::Null) r["accuracy"] = accuracy;
  job.Say("%s: %d points, curvature %s, normals %s, %d threads", job.input.c_str(), cloud.Size(),
          how.c_str(), normalsHow.c_str(), job.threads);
  job.Say("  %d invalid points (%d with non-finite coordinates)", curv.invalidCount, nonFinite);
  if (o.colour != "none")
    job.Say("  colours: %s curvature from %.4g (blue) to %.4g (red)", o.colour.c_str(), lo, hi);
  if (!truth.empty()) job.Say("  %s", truth.c_str());
  job.Say("  -> %s (%.2f s)", job.output.c_str(), job.Elapsed());
}

}  // namespace

void AddCurvatureCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<CurvatureOptions>();
  CLI::App* sub =
      app.add_subcommand("curvature",
                         "Signed principal curvatures per point (fields k1 k2 mean gauss), on the "
                         "file's normals when it has them");
  AddCommonOptions(*sub, o->common, true, true);
  CLI::Option* k = sub->add_option("-k,--neighbours", o->k,
                                   "Neighbours per point, itself included (default 30, at most "
                                   "the cloud size)")
                       ->check(CLI::Range(6, 100000));
  sub->add_option("--radius", o->radius,
                  "Use the neighbours within this distance instead of the k nearest")
      ->check(CLI::PositiveNumber);
  sub->add_option("--normals-k", o->normalsK, "Neighbours for the normals when they are estimated")
      ->default_val(16)
      ->check(CLI::Range(3, 100000));
  sub->add_flag("--recompute-normals", o->recompute,
                "Estimate and orient normals even when the file has them");
  sub->add_option("--colour", o->colour, "Colour the points by: mean, gauss, k1, k2 or none")
      ->check(CLI::IsMember({"mean", "gauss", "k1", "k2", "none"}))
      ->default_val("mean");
  sub->callback([o, k, &run] {
    o->kGiven = k->count() > 0;
    run = [o] {
      Json params = Json::Object();
      params["colour"] = o->colour;
      return RunBatch("curvature", o->common, ".ply", std::move(params),
                      [o](Job& job) { RunCurvature(*o, job); });
    };
  });
}

}  // namespace qvtool
