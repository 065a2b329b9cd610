// SPDX-License-Identifier: MIT
// `qvmath reconstruct INPUT... -o MESH.ply`: a triangle mesh through the samples of a scan,
// on the file's normals or on normals estimated and oriented as `qvmath normals` does,
// with a report of its topology and of the distances of the samples to it.
#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/cloud_reconstruct.h>
#include <qvmath/cloud/ply_io.h>
#include <qvmath/infra/progress_counter.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "cloud_steps.h"
#include "commands.h"
#include "output_file.h"

namespace qvtool {

namespace {

struct ReconstructOptions {
  CommonOptions common;
  double cell = 0;
  double band = 3;
  int neighbours = 10;
  int normalsK = 16;
  bool recompute = false;
  std::string maxMemory;
};

// "512M", "2G", "1.5GiB", "300000" (bytes): binary multiples K, M, G, T of 1024, an
// optional trailing B or iB, case-insensitive. @return -1 when the text is not a size.
double ParseSize(const std::string& text) {
  std::size_t used = 0;
  double v;
  try {
    v = std::stod(text, &used);
  } catch (const std::exception&) {
    return -1;
  }
  std::string unit;
  for (std::size_t i = used; i < text.size(); ++i)
    unit += static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
  static const char* const kUnits = "KMGT";
  double scale = 1;
  if (!unit.empty() && unit != "B") {
    const char* at = std::strchr(kUnits, unit[0]);
    if (!at || !*at || !(unit.size() == 1 || unit.substr(1) == "B" || unit.substr(1) == "IB"))
      return -1;
    scale = std::pow(1024.0, double(at - kUnits + 1));
  }
  return std::isfinite(v) && v >= 0 ? v * scale : -1;
}

std::string Megabytes(double bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.0f MB", std::ceil(bytes / (1 << 20)));
  return text;
}

void RunReconstruct(const ReconstructOptions& o, Job& job) {
  Stopwatch clock;
  REmath::CPointCloud cloud;
  LoadCloud(job, cloud, clock);
  const int finite = cloud.Size() - CountNonFinite(cloud);
  if (finite < 2) throw InputError(job.input + ": fewer than two points with finite coordinates");

  CProgressCounter progress;
  REmath::CCloudIndex index;
  {
    CPrgCntSubPhase phase(&progress, 0.0, 0.05, CPrgCntSubPhase::PhaseFloat);
    index.Build(cloud.Positions().data(), cloud.Size(), &progress, job.threads);
  }
  const double spacing = REmath::EstimatePointSpacing(index);
  const double cell = o.cell > 0 ? o.cell : 2.0 * spacing;
  job.report["timings"]["index"] = clock.Lap();

  // The limit is checked here, before the normals are estimated, with the library's own
  // estimate over every finite point; the library checks it again over the samples it uses.
  const double limit = o.maxMemory.empty() ? 0 : ParseSize(o.maxMemory);
  if (limit > 0 && cell > 0) {
    const double bytes = double(REmath::EstimateReconstructBytes(int(finite), spacing, cell));
    if (bytes > limit)
      throw InputError(job.input + ": estimated memory of " + Megabytes(bytes) +
                       " exceeds the limit of " + Megabytes(limit) + " (--max-memory)");
  }

  NormalSet normals;
  std::string normalsHow = "normals from the file";
  if (o.recompute || !NormalsFromFile(cloud, normals)) {
    const int k = std::min(o.normalsK, finite);
    EstimateOrientedNormals(job, index, k, progress, 0.05, 0.3, normals);
    normalsHow = "normals estimated with k = " + std::to_string(k) + ", oriented over the surface";
  } else {
    job.report["normals"]["source"] = "file";
  }
  // Samples whose normal is unusable are left out of the surface.
  for (std::size_t i = 0; i < normals.normals.size(); ++i)
    if (!normals.valid[i]) normals.normals[i] = REmath::Point3D(0.0f, 0.0f, 0.0f);
  cloud.Normals() = std::move(normals.normals);
  job.report["timings"]["normals"] = clock.Lap();

  REmath::CReconstructParams rp;
  rp.cellSize = o.cell;
  rp.band = o.band;
  rp.neighbours = o.neighbours;
  rp.maxMemory = static_cast<std::int64_t>(std::min(limit, 9e18));
  rp.nThreads = job.threads;
  REmath::CTriangleMesh mesh;
  REmath::CReconstructReport rr;
  try {
    CPrgCntSubPhase phase(&progress, 0.3, 0.7, CPrgCntSubPhase::PhaseFloat);
    REmath::ReconstructCloudMesh(cloud, rp, mesh, rr, &progress);
  } catch (const std::length_error& e) {
    // "reconstruct: estimated memory of ..." told about the input instead.
    const std::string why = e.what(), prefix = "reconstruct: ";
    if (why.compare(0, prefix.size() + 9, prefix + "estimated") != 0) throw;
    throw InputError(job.input + ": " + why.substr(prefix.size()) + " (--max-memory)");
  }
  job.report["timings"]["reconstruct"] = clock.Lap();

  OutputFile file(job.output);
  try {
    REmath::WritePlyMeshFile(
        file.TempPath(), mesh,
        job.ascii ? REmath::EPlyEncoding::Ascii : REmath::EPlyEncoding::BinaryLittleEndian);
  } catch (const REmath::ECloudFileError& e) {
    const std::string why = e.what();
    const std::size_t colon = why.rfind(": ");
    throw std::runtime_error(job.output + ": cannot write" +
                             (colon == std::string::npos ? "" : why.substr(colon)));
  }
  file.Commit();
  job.report["timings"]["write"] = clock.Lap();

  const REmath::CMeshEdgeStats& e = rr.edges;
  const double usedSpacing = rr.pointSpacing > 0 ? rr.pointSpacing : spacing;
  Json& r = job.report;
  r["cell_size"] = rr.cellSize;
  r["cell_size_given"] = o.cell > 0;
  r["point_spacing"] = usedSpacing;
  r["band_cells"] = o.band;
  r["neighbours"] = o.neighbours;
  r["estimated_memory_bytes"] = rr.estimatedBytes;
  r["samples_used"] = rr.samplesUsed;
  r["pieces"] = rr.pieces;
  Json& m = r["mesh"];
  m["vertices"] = mesh.VertexCount();
  m["triangles"] = mesh.TriangleCount();
  m["closed"] = e.closed;
  m["euler_characteristic"] = e.euler;
  m["edges"] = e.edges;
  m["boundary_edges"] = e.boundaryEdges;
  m["non_manifold_edges"] = e.nonManifoldEdges;
  m["components"] = e.components;
  Json& d = r["sample_distance"];
  d["mean"] = rr.meanDistance;
  d["rms"] = rr.rmsDistance;
  d["max"] = rr.maxDistance;

  job.Say("%s: %d points, %s, %d threads", job.input.c_str(), cloud.Size(), normalsHow.c_str(),
          job.threads);
  job.Say("  cell size %.6g (%s), point spacing %.6g; band %g cells, %d neighbours", rr.cellSize,
          o.cell > 0 ? "--cell" : "2 x point spacing", usedSpacing, o.band, o.neighbours);
  job.Say("  mesh: %d vertices, %d triangles, %d component%s, %s, Euler characteristic %lld",
          mesh.VertexCount(), mesh.TriangleCount(), e.components, e.components == 1 ? "" : "s",
          e.closed ? "closed" : "not closed", static_cast<long long>(e.euler));
  job.Say("  %lld boundary edges, %lld non-manifold edges; %d samples used",
          static_cast<long long>(e.boundaryEdges), static_cast<long long>(e.nonManifoldEdges),
          rr.samplesUsed);
  job.Say("  sample-to-mesh distance: mean %.3g, RMS %.3g, max %.3g", rr.meanDistance,
          rr.rmsDistance, rr.maxDistance);
  job.Say("  -> %s (%.2f s)", job.output.c_str(), job.Elapsed());
}

}  // namespace

void AddReconstructCommand(CLI::App& app, Runner& run) {
  auto o = std::make_shared<ReconstructOptions>();
  CLI::App* sub = app.add_subcommand(
      "reconstruct",
      "Reconstruct a triangle mesh (PLY) from a scan; normals are estimated and oriented "
      "when the file has none");
  AddCommonOptions(*sub, o->common, true, false);
  sub->add_flag("--ascii", o->common.ascii, "Write ASCII PLY instead of binary little-endian");
  sub->add_option("--cell", o->cell,
                  "Edge of the polygonizer's cells (default: 2 x the median "
                  "point spacing)")
      ->check(CLI::PositiveNumber);
  sub->add_option("--band", o->band,
                  "Half-width in cells of the band around the samples where the surface may "
                  "lie; wider gaps stay open")
      ->default_val(3)
      ->check(CLI::Range(1.75, 1000.0));
  sub->add_option("--neighbours", o->neighbours, "Samples blended per evaluation")
      ->default_val(10)
      ->check(CLI::Range(1, 64));
  sub->add_option("--normals-k", o->normalsK, "Neighbours for the normals when they are estimated")
      ->default_val(16)
      ->check(CLI::Range(3, 100000));
  sub->add_flag("--recompute-normals", o->recompute,
                "Estimate and orient normals even when the file has them");
  sub->add_option("--max-memory", o->maxMemory,
                  "Refuse a scan whose estimated working memory exceeds this, before any work; "
                  "bytes or with a unit K, M, G, T (powers of 1024), e.g. 512M, 2G; 0: no limit")
      ->check(CLI::Validator(
          [](std::string& s) {
            return ParseSize(s) < 0 ? "not a size (bytes, or a number with K, M, G or T)"
                                    : std::string();
          },
          "SIZE"));
  sub->callback([o, &run] {
    run = [o] {
      if (o->common.inputs.size() == 1 &&
          REmath::CloudFileFormatOf(o->common.output) != REmath::ECloudFileFormat::Ply) {
        std::fprintf(stderr, "qvmath: %s: a mesh is written as PLY (use .ply)\n",
                     o->common.output.c_str());
        return kExitFailed;
      }
      Json params = Json::Object();
      params["cell"] = o->cell;
      params["band"] = o->band;
      params["neighbours"] = o->neighbours;
      params["max_memory"] = o->maxMemory;
      return RunBatch("reconstruct", o->common, ".ply", std::move(params),
                      [o](Job& job) { RunReconstruct(*o, job); });
    };
  });
}

}  // namespace qvtool
