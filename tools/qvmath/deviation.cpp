// SPDX-License-Identifier: MIT
// `qvmath deviation SCAN MESH -o OUTPUT`: the signed distance of every scanned point to a
// reference mesh (field `deviation`, coloured), its histogram and statistics, and an
// optional picture of the coloured cloud.
#include <qvmath/cloud/cloud_deviation.h>
#include <qvmath/cloud/ply_io.h>
#include <qvmath/infra/progress_counter.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "cloud_steps.h"
#include "colouring.h"
#include "commands.h"
#include "output_file.h"
#include "png_file.h"
#include "splat_renderer.h"

namespace qvtool {

namespace {

struct DeviationOptions {
  std::string scan, meshPath, png;
  CommonOptions common;
  float tolerance = 0;
  bool toleranceGiven = false;
  std::vector<float> range;
  int bins = 16;
};

// The histogram as text bars, one line per bin: "[lo, hi)  ####  count"; the end bins also
// hold the distances beyond the range, and say so with "<" and ">".
void SayHistogram(const Job& job, const REmath::CDeviationStats& s) {
  const int most =
      s.histogram.empty() ? 0 : *std::max_element(s.histogram.begin(), s.histogram.end());
  const int bins = static_cast<int>(s.histogram.size());
  const double w = (s.histogramMax - s.histogramMin) / bins;
  constexpr int kWidth = 40;
  for (int b = 0; b < bins; ++b) {
    const int count = s.histogram[std::size_t(b)];
    const int len = most ? static_cast<int>(std::lround(double(count) * kWidth / most)) : 0;
    const std::string bar = std::string(std::size_t(len), '#') + (count > 0 && len == 0 ? "." : "");
    job.Say("  %s%+10.3e, %+10.3e%s %-*s %d", b == 0 ? "<" : "[", s.histogramMin + b * w,
            s.histogramMin + (b + 1) * w, b == bins - 1 ? ">" : ")", kWidth, bar.c_str(), count);
  }
}

void RunDeviation(const DeviationOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CTriangleMesh mesh;
  REmath::ReadPlyMeshFile(o.meshPath, mesh);
  if (mesh.TriangleCount() == 0)
    throw InputError(o.meshPath + ": the mesh has no triangles (faces)");
  job.report["mesh"]["path"] = o.meshPath;
  job.report["mesh"]["vertices"] = mesh.VertexCount();
  job.report["mesh"]["triangles"] = mesh.TriangleCount();
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);

  REmath::CDeviationParams dp;
  dp.nThreads = job.threads;
  dp.tolerance = o.tolerance;
  dp.histogramBins = o.bins;
  REmath::CCloudDeviation dev;
  {
    CProgressCounter progress;
    REmath::ComputeCloudDeviation(cloud, mesh, dp, dev, &progress);
  }
  job.report["timings"]["deviation"] = clock.Lap();

  // Colours and histogram share one range: the one given, or symmetric about 0 out to the
  // 98th percentile of |d|, so that a few outliers do not wash out the picture.
  float lo, hi;
  std::vector<std::uint32_t>& colours = cloud.Colours();
  if (o.range.size() == 2) {
    lo = o.range[0], hi = o.range[1];
    RampColoursInRange(dev.distance, lo, hi, colours);
  } else {
    RampColours(dev.distance, true, colours, lo, hi);
  }
  if (lo < hi) {
    dp.histogramMin = lo, dp.histogramMax = hi;
    REmath::ComputeDeviationStats(dev.distance, dp, dev.stats);
  }
  const REmath::CDeviationStats& s = dev.stats;
  SetField(cloud, "deviation", dev.distance);

  // Both outputs are written to temporaries first and renamed only when both are complete.
  OutputFile cloudFile(job.output);
  WriteCloudTemporary(job, cloud, cloudFile);
  std::unique_ptr<OutputFile> pngFile;
  if (!o.png.empty()) {
    SplatView view;
    std::vector<unsigned char> rgb;
    RenderSplats(cloud.Positions(), colours, cloud.HasNormals() ? &cloud.Normals() : nullptr, view,
                 rgb);
    pngFile = std::make_unique<OutputFile>(o.png);
    try {
      WritePng(pngFile->TempPath(), view.width, view.height, rgb);
    } catch (const std::runtime_error&) {
      throw std::runtime_error(o.png + ": cannot write the PNG image");
    }
  }
  cloudFile.Commit();
  if (pngFile) pngFile->Commit();
  job.report["timings"]["write"] = clock.Lap();

  Json& r = job.report;
  if (!o.png.empty()) r["png"] = o.png;
  Json& st = r["statistics"];
  st["valid"] = s.validCount;
  st["invalid"] = s.invalidCount;
  st["mean"] = s.mean;
  st["mean_abs"] = s.meanAbs;
  st["rms"] = s.rms;
  st["max_abs"] = s.maxAbs;
  st["min"] = s.minSigned;
  st["max"] = s.maxSigned;
  if (o.toleranceGiven) {
    st["tolerance"] = double(o.tolerance);
    st["within_tolerance"] = s.withinTolerance;
  }
  Json& h = r["histogram"];
  h["min"] = s.histogramMin;
  h["max"] = s.histogramMax;
  Json& counts = h["counts"] = Json::Array();
  for (const int c : s.histogram) counts.Push(c);
  Json& range = r["colour_range"] = Json::Array();
  range.Push(double(lo));
  range.Push(double(hi));

  job.Say("%s: %d points against %s (%d triangles), %d threads", job.input.c_str(), cloud.Size(),
          o.meshPath.c_str(), mesh.TriangleCount(), job.threads);
  job.Say("  signed distance: mean %.4g, RMS %.4g, max |d| %.4g (from %.4g to %.4g)", s.mean, s.rms,
          s.maxAbs, s.minSigned, s.maxSigned);
  if (s.invalidCount) job.Say("  %d points not measured (non-finite coordinates)", s.invalidCount);
  if (o.toleranceGiven)
    job.Say("  within +-%g: %.2f %% of the points", double(o.tolerance), 100 * s.withinTolerance);
  SayHistogram(job, s);
  job.Say("  colours: %.4g (blue) .. %.4g (green) .. %.4g (red)", double(lo),
          0.5 * (double(lo) + hi), double(hi));
  job.Say("  -> %s%s%s (%.2f s)", job.output.c_str(), o.png.empty() ? "" : ", ", o.png.c_str(),
          job.Elapsed());
}

}  // namespace

void AddDeviationCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<DeviationOptions>();
  CLI::App* sub = app.add_subcommand(
      "deviation",
      "Signed distance of every point of a scan to a mesh (field deviation, coloured), with "
      "a histogram and statistics");
  sub->add_option("scan", o->scan, "The scanned cloud (.ply, .xyz, ...)")->required();
  sub->add_option("mesh", o->meshPath,
                  "The reference mesh (PLY with faces); the sign is negative behind the "
                  "triangles' front sides (inside an outward-oriented closed mesh)")
      ->required();
  sub->add_option("-o,--output", o->common.output,
                  "Output cloud with the field deviation and colours (.ply or .xyz)")
      ->required();
  CLI::Option* tol = sub->add_option("--tolerance", o->tolerance,
                                     "Report the share of points with |deviation| <= this")
                         ->check(CLI::NonNegativeNumber);
  sub->add_option("--range", o->range,
                  "Colour and histogram range LO HI (default: symmetric about 0, out to the "
                  "98th percentile of |deviation|)")
      ->expected(2);
  sub->add_option("--bins", o->bins, "Histogram bins")->default_val(16)->check(CLI::Range(1, 1000));
  sub->add_option("--png", o->png, "Also write a picture of the coloured cloud");
  sub->add_option("--report", o->common.report, "Write a JSON report");
  sub->add_flag("-q,--quiet", o->common.quiet, "No progress bar and no summary lines");
  sub->add_option("-j,--threads", o->common.threads, "Worker threads (0: one per hardware thread)")
      ->default_val(0)
      ->check(CLI::NonNegativeNumber);
  sub->add_flag("--ascii", o->common.ascii, "Write ASCII PLY instead of binary little-endian");
  sub->callback([o, tol, &run] {
    o->toleranceGiven = tol->count() > 0;
    if (o->range.size() == 2 && !(o->range[0] < o->range[1]))
      throw CLI::ValidationError("--range", "LO must be below HI");
    run = [o] {
      o->common.inputs = {o->scan};
      Json params = Json::Object();
      params["mesh"] = o->meshPath;
      if (o->toleranceGiven) params["tolerance"] = double(o->tolerance);
      params["bins"] = o->bins;
      return RunBatch("deviation", o->common, ".ply", std::move(params),
                      [o](Job& job) { RunDeviation(*o, job); });
    };
  });
}

}  // namespace qvtool
