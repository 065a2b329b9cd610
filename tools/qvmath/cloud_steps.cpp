// SPDX-License-Identifier: MIT
#include "cloud_steps.h"

#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/infra/progress_counter.h>

#include <cmath>
#include <stdexcept>

namespace qvtool {

using REmath::CPointCloud;
using REmath::Point3D;

void LoadCloud(Job& job, CPointCloud& cloud, Stopwatch& clock) {
  REmath::ReadCloudFile(job.input, cloud);
  if (cloud.Size() == 0) throw InputError(job.input + ": the file holds no points");
  job.report["points"] = cloud.Size();
  job.report["timings"]["read"] = clock.Lap();
}

int CountNonFinite(const CPointCloud& cloud) {
  int n = 0;
  for (const Point3D& p : cloud.Positions())
    n += !(std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()));
  return n;
}

bool NormalsFromFile(const CPointCloud& cloud, NormalSet& out) {
  if (!cloud.HasNormals()) return false;
  out.normals = cloud.Normals();
  out.valid.assign(out.normals.size(), 0);
  out.invalid = 0;
  for (std::size_t i = 0; i < out.normals.size(); ++i) {
    const Point3D& n = out.normals[i];
    const double len2 = double(n.x()) * n.x() + double(n.y()) * n.y() + double(n.z()) * n.z();
    const Point3D& p = cloud.Positions()[i];
    const bool ok = std::isfinite(len2) && len2 > 0.25 && std::isfinite(p.x()) &&
                    std::isfinite(p.y()) && std::isfinite(p.z());
    out.valid[i] = ok;
    out.invalid += !ok;
  }
  return true;
}

void EstimateOrientedNormals(Job& job, const REmath::CCloudIndex& index, int k,
                             CProgressCounter& progress, double from, double to, NormalSet& out) {
  Stopwatch clock;
  REmath::CCloudNormalParams np;
  np.k = k;
  np.nThreads = job.threads;
  REmath::CCloudNormals normals;
  {
    CPrgCntSubPhase phase(&progress, from, (to - from) * 0.6, CPrgCntSubPhase::PhaseFloat);
    REmath::ComputeCloudNormals(index, np, normals, &progress);
  }
  REmath::CCloudOrientParams op;
  op.k = k;
  op.nThreads = job.threads;
  int flipped = 0;
  {
    CPrgCntSubPhase phase(&progress, from + (to - from) * 0.6, (to - from) * 0.4,
                          CPrgCntSubPhase::PhaseFloat);
    flipped = REmath::OrientCloudNormals(index, op, normals.normals, normals.valid, &progress);
  }
  out.normals = std::move(normals.normals);
  out.valid = std::move(normals.valid);
  out.invalid = normals.invalidCount;
  Json& r = job.report["normals"];
  r["source"] = "estimated";
  r["k"] = k;
  r["orientation"] = "spanning tree";
  r["flipped"] = flipped;
  r["invalid"] = out.invalid;
  r["seconds"] = clock.Lap();
}

void SetField(CPointCloud& cloud, const std::string& name, const std::vector<float>& values) {
  REmath::CCloudScalarField& f = cloud.SetField(name);
  f.fileType = REmath::ECloudFieldType::Float32;
  f.values = values;
}

void WriteCloudTemporary(const Job& job, const CPointCloud& cloud, OutputFile& file) {
  try {
    REmath::WriteCloudFile(file.TempPath(), cloud, job.ascii);
  } catch (const REmath::ECloudFileError& e) {
    // The writer names the temporary; the user knows the output by its final name.
    std::string why = e.what();
    const std::size_t colon = why.rfind(": ");
    throw std::runtime_error(job.output + ": cannot write" +
                             (colon == std::string::npos ? "" : why.substr(colon)));
  }
}

void WriteOutputCloud(Job& job, const CPointCloud& cloud, Stopwatch& clock) {
  OutputFile file(job.output);
  WriteCloudTemporary(job, cloud, file);
  file.Commit();
  job.report["timings"]["write"] = clock.Lap();
}

int ChooseK(bool given, int k, int fallback, int finitePoints, std::string& how) {
  if (given) {
    how = "k = " + std::to_string(k);
    return k;
  }
  if (fallback > finitePoints) {
    how = "k = " + std::to_string(finitePoints) + " (the whole cloud)";
    return finitePoints;
  }
  how = "k = " + std::to_string(fallback) + " (default)";
  return fallback;
}

}  // namespace qvtool
