// SPDX-License-Identifier: MIT
// `qvmath preview INPUT... -o OUTPUT.png`: a PNG picture of a cloud, rendered without a
// display, coloured by plane label, curvature, normal, height, the file's colours or a field.
#include <CLI/CLI.hpp>
#include <memory>

#include "cloud_steps.h"
#include "colouring.h"
#include "commands.h"
#include "output_file.h"
#include "png_file.h"
#include "splat_renderer.h"

namespace qvtool {

namespace {

struct PreviewOptions {
  CommonOptions common;
  std::string colourBy = "auto";
  int width = 1024, height = 768, pointSize = 0;
  std::vector<double> view{1.0, -1.3, 0.9};
};

// auto: the most telling thing the file holds.
std::string ChooseColouring(const REmath::CPointCloud& cloud, const std::string& asked) {
  if (asked != "auto") return asked;
  if (cloud.FindField("plane")) return "plane";
  if (cloud.FindField("mean")) return "curvature";
  if (cloud.HasColours()) return "rgb";
  if (cloud.HasNormals()) return "normal";
  return "height";
}

void RunPreview(const PreviewOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);
  const std::string by = ChooseColouring(cloud, o.colourBy);
  std::vector<std::uint32_t> colours;
  std::string range;
  float lo = 0, hi = 0;
  if (by == "plane") {
    const REmath::CCloudScalarField* f = cloud.FindField("plane");
    if (!f) throw InputError(job.input + ": no plane field (run qvmath planes first)");
    for (const float l : f->values) colours.push_back(LabelColour(static_cast<int>(l)));
  } else if (by == "normal") {
    if (!cloud.HasNormals())
      throw InputError(job.input + ": no normals (run qvmath normals first)");
    for (const REmath::Point3D& n : cloud.Normals()) colours.push_back(NormalColour(n));
  } else if (by == "rgb") {
    if (!cloud.HasColours()) throw InputError(job.input + ": no colours");
    colours = cloud.Colours();
  } else if (by == "height") {
    std::vector<float> z;
    for (const REmath::Point3D& p : cloud.Positions()) z.push_back(p.z());
    RampColours(z, false, colours, lo, hi);
    range = "z";
  } else {
    const std::string name = by == "curvature" ? "mean" : by;
    const REmath::CCloudScalarField* f = cloud.FindField(name);
    if (!f)
      throw InputError(job.input + ": no field " + name +
                       (by == "curvature" ? " (run qvmath curvature first)" : ""));
    RampColours(f->values, by == "curvature", colours, lo, hi);
    range = name;
  }
  SplatView view;
  for (int i = 0; i < 3; ++i) view.towardViewer[i] = o.view[std::size_t(i)];
  view.width = o.width, view.height = o.height, view.radius = o.pointSize;
  std::vector<unsigned char> rgb;
  const int radius = RenderSplats(cloud.Positions(), colours,
                                  cloud.HasNormals() ? &cloud.Normals() : nullptr, view, rgb);
  job.report["timings"]["render"] = clock.Lap();
  OutputFile file(job.output);
  WritePng(file.TempPath(), o.width, o.height, rgb);
  file.Commit();
  job.report["timings"]["write"] = clock.Lap();
  job.report["colour_by"] = by;
  job.report["splat_radius"] = radius;
  job.Say("%s: %d points, coloured by %s, %dx%d, splat radius %d px", job.input.c_str(),
          cloud.Size(), by.c_str(), o.width, o.height, radius);
  if (!range.empty()) job.Say("  %s from %.4g (blue) to %.4g (red)", range.c_str(), lo, hi);
  job.Say("  -> %s (%.2f s)", job.output.c_str(), job.Elapsed());
}

}  // namespace

void AddPreviewCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<PreviewOptions>();
  CLI::App* sub =
      app.add_subcommand("preview", "Render a PNG picture of a cloud (no display needed)");
  AddCommonOptions(*sub, o->common, true, false);
  sub->add_option("--colour-by", o->colourBy,
                  "auto, plane, curvature, normal, height, rgb or the name of a field "
                  "(auto: plane, curvature, rgb, normal, height, the first the file holds)")
      ->default_val("auto");
  sub->add_option("--width", o->width, "Image width in pixels")
      ->default_val(1024)
      ->check(CLI::Range(16, 16384));
  sub->add_option("--height", o->height, "Image height in pixels")
      ->default_val(768)
      ->check(CLI::Range(16, 16384));
  sub->add_option("--view", o->view, "Direction from the cloud towards the viewer, X Y Z")
      ->expected(3);
  sub->add_option("--point-size", o->pointSize, "Splat radius in pixels (0: automatic)")
      ->default_val(0)
      ->check(CLI::Range(0, 64));
  sub->callback([o, &run] {
    run = [o] {
      Json params = Json::Object();
      params["width"] = o->width;
      params["height"] = o->height;
      return RunBatch("preview", o->common, ".png", std::move(params),
                      [o](Job& job) { RunPreview(*o, job); });
    };
  });
}

}  // namespace qvtool
