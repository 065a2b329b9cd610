// SPDX-License-Identifier: MIT
// `qvmath sample NAME -o OUTPUT`: writes a built-in synthetic scan with its truth fields.
#include <qvmath/cloud/cloud_samples.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "cloud_steps.h"
#include "commands.h"
#include "truth.h"

namespace qvtool {

namespace {

struct SampleOptions {
  std::string name;
  CommonOptions common;
  int n = 100000;
  double noise = 0.001;
  unsigned long long seed = 1;
  bool noTruth = false;
};

void MakeSample(const SampleOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CSampleScan scan;
  Json& p = job.report["sample"];
  if (o.name == "torus") {
    REmath::MakeSampleTorus(o.n, 1.0, 0.3, o.noise, o.seed, scan);
    p["shape"] = "torus R = 1, r = 0.3 about z";
  } else {
    REmath::MakeSampleBox(o.n, 1.0, 0.8, 0.6, o.noise, o.seed, scan);
    p["shape"] = "box 1 x 0.8 x 0.6 centred at the origin";
  }
  p["points"] = o.n;
  p["noise"] = o.noise;
  p["seed"] = o.seed;
  job.report["timings"]["generate"] = clock.Lap();
  REmath::CPointCloud& cloud = scan.cloud;
  if (!o.noTruth) {
    std::vector<float> c[3];
    for (const REmath::Point3D& t : scan.trueNormals) {
      c[0].push_back(t.x()), c[1].push_back(t.y()), c[2].push_back(t.z());
    }
    for (int i = 0; i < 3; ++i) SetField(cloud, kTrueNormal[i], c[i]);
    SetField(cloud, kTrueK1, scan.trueK1);
    SetField(cloud, kTrueK2, scan.trueK2);
    if (!scan.trueFace.empty()) {
      REmath::CCloudScalarField& f = cloud.SetField(kTrueFace, REmath::ECloudFieldType::UInt8);
      f.values.assign(scan.trueFace.begin(), scan.trueFace.end());
    }
  }
  WriteOutputCloud(job, cloud, clock);
  job.Say("%s: %d points on a %s, noise %g, seed %llu%s -> %s (%.2f s)", o.name.c_str(), o.n,
          o.name == "torus" ? "torus (R = 1, r = 0.3)" : "box (1 x 0.8 x 0.6)", o.noise, o.seed,
          o.noTruth ? "" : ", with truth fields", job.output.c_str(), job.Elapsed());
}

}  // namespace

void AddSampleCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<SampleOptions>();
  CLI::App* sub = app.add_subcommand(
      "sample", "Write a built-in synthetic scan with known truth (a noisy torus or box)");
  sub->add_option("name", o->name, "torus or box")
      ->required()
      ->check(CLI::IsMember({"torus", "box"}));
  sub->add_option("-o,--output", o->common.output, "Output cloud (.ply or .xyz)")->required();
  sub->add_option("-n,--points", o->n, "Number of points")
      ->default_val(100000)
      ->check(CLI::Range(1, 100000000));
  sub->add_option("--noise", o->noise, "Standard deviation of the Gaussian noise per coordinate")
      ->default_val(0.001)
      ->check(CLI::NonNegativeNumber);
  sub->add_option("--seed", o->seed, "Random seed (same seed, same points)")->default_val(1);
  sub->add_flag("--no-truth", o->noTruth,
                "Leave out the truth fields (true_nx true_ny true_nz true_k1 true_k2 "
                "[true_face])");
  sub->add_option("--report", o->common.report, "Write a JSON report");
  sub->add_flag("-q,--quiet", o->common.quiet, "No summary line");
  sub->add_flag("--ascii", o->common.ascii, "Write ASCII PLY instead of binary little-endian");
  sub->callback([o, &run] {
    run = [o] {
      o->common.inputs = {o->name};
      Json params = Json::Object();
      params["name"] = o->name;
      return RunBatch("sample", o->common, ".ply", std::move(params),
                      [o](Job& job) { MakeSample(*o, job); });
    };
  });
}

}  // namespace qvtool
