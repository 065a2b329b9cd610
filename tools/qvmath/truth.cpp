// SPDX-License-Identifier: MIT
#include "truth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace qvtool {

using REmath::CPointCloud;
using REmath::Point3D;

const char* const kTrueNormal[3] = {"true_nx", "true_ny", "true_nz"};
const char* const kTrueK1 = "true_k1";
const char* const kTrueK2 = "true_k2";
const char* const kTrueFace = "true_face";

namespace {

constexpr double kDeg = 57.29577951308232;

double Quantile(std::vector<double> v, double q) {
  if (v.empty()) return NAN;
  const std::size_t i = static_cast<std::size_t>(q * double(v.size() - 1));
  std::nth_element(v.begin(), v.begin() + std::ptrdiff_t(i), v.end());
  return v[i];
}

bool TrueNormals(const CPointCloud& cloud, const std::vector<float>* t[3]) {
  for (int c = 0; c < 3; ++c) {
    const REmath::CCloudScalarField* f = cloud.FindField(kTrueNormal[c]);
    if (!f) return false;
    t[c] = &f->values;
  }
  return true;
}

double Dot(const Point3D& n, const std::vector<float>* t[3], std::size_t i) {
  return double(n.x()) * (*t[0])[i] + double(n.y()) * (*t[1])[i] + double(n.z()) * (*t[2])[i];
}

}  // namespace

Json NormalAccuracy(const CPointCloud& cloud, const std::vector<Point3D>& normals,
                    const std::vector<unsigned char>& valid, std::string& line) {
  const std::vector<float>* t[3];
  if (!TrueNormals(cloud, t)) return Json();
  std::vector<double> angles;
  std::size_t wrongSide = 0;
  for (std::size_t i = 0; i < normals.size(); ++i) {
    if (!valid[i]) continue;
    const double c = Dot(normals[i], t, i);
    angles.push_back(std::acos(std::min(1.0, std::fabs(c))) * kDeg);
    wrongSide += c < 0;
  }
  Json r = Json::Object();
  r["median_deg"] = Quantile(angles, 0.5);
  r["p95_deg"] = Quantile(angles, 0.95);
  r["wrong_side_percent"] =
      angles.empty() ? 0.0 : 100.0 * double(wrongSide) / double(angles.size());
  char buf[160];
  std::snprintf(buf, sizeof buf,
                "against the true normals: median %.2f deg, 95%% within %.2f deg, %.2f%% on the "
                "wrong side",
                Quantile(angles, 0.5), Quantile(angles, 0.95),
                angles.empty() ? 0.0 : 100.0 * double(wrongSide) / double(angles.size()));
  line = buf;
  return r;
}

Json CurvatureAccuracy(const CPointCloud& cloud, const std::vector<float>& k1,
                       const std::vector<float>& k2, const std::vector<unsigned char>& valid,
                       std::string& line) {
  const REmath::CCloudScalarField* t1 = cloud.FindField(kTrueK1);
  const REmath::CCloudScalarField* t2 = cloud.FindField(kTrueK2);
  if (!t1 || !t2) return Json();
  std::vector<double> rel1, abs2;
  for (std::size_t i = 0; i < k1.size(); ++i) {
    if (!valid[i]) continue;
    const double a = t1->values[i];
    if (a != 0) rel1.push_back(std::fabs(k1[i] - a) / std::fabs(a));
    abs2.push_back(std::fabs(double(k2[i]) - t2->values[i]));
  }
  Json r = Json::Object();
  r["k1_median_relative_error"] = Quantile(rel1, 0.5);
  r["k2_median_absolute_error"] = Quantile(abs2, 0.5);
  char buf[160];
  std::snprintf(buf, sizeof buf,
                "against the true curvatures: k1 median relative error %.2f%%, k2 median "
                "absolute error %.3g",
                100.0 * Quantile(rel1, 0.5), Quantile(abs2, 0.5));
  line = buf;
  return r;
}

Json PlaneAccuracy(const CPointCloud& cloud, const REmath::CCloudPlanes& planes,
                   std::string& line) {
  const REmath::CCloudScalarField* face = cloud.FindField(kTrueFace);
  const std::vector<float>* t[3];
  if (!face || !TrueNormals(cloud, t)) return Json();
  const std::size_t n = planes.labels.size();
  std::map<int, std::size_t> facePoints;
  for (std::size_t i = 0; i < n; ++i) ++facePoints[static_cast<int>(face->values[i])];
  // The face most points of each plane come from, and one point of that face.
  std::vector<std::map<int, std::size_t>> votes(planes.planes.size());
  std::map<int, std::size_t> facePoint;
  for (std::size_t i = 0; i < n; ++i) {
    const int f = static_cast<int>(face->values[i]);
    facePoint.emplace(f, i);
    if (planes.labels[i] >= 0) ++votes[std::size_t(planes.labels[i])][f];
  }
  double worst = 0;
  std::vector<int> planeFace(planes.planes.size(), -1);
  for (std::size_t p = 0; p < planes.planes.size(); ++p) {
    std::size_t best = 0;
    for (const auto& v : votes[p])
      if (v.second > best) best = v.second, planeFace[p] = v.first;
    if (planeFace[p] < 0) continue;
    const std::size_t i = facePoint[planeFace[p]];
    const double* e = planes.planes[p].equation.NormalDir();
    const double c = e[0] * (*t[0])[i] + e[1] * (*t[1])[i] + e[2] * (*t[2])[i];
    worst = std::max(worst, std::acos(std::min(1.0, std::fabs(c))) * kDeg);
  }
  std::size_t right = 0;
  for (std::size_t i = 0; i < n; ++i)
    right += planes.labels[i] >= 0 &&
             planeFace[std::size_t(planes.labels[i])] == static_cast<int>(face->values[i]);
  Json r = Json::Object();
  r["true_faces"] = facePoints.size();
  r["worst_angle_deg"] = worst;
  r["correct_label_percent"] = n ? 100.0 * double(right) / double(n) : 0.0;
  char buf[160];
  std::snprintf(buf, sizeof buf,
                "against the true faces: %zu faces, worst plane normal %.3f deg off, %.1f%% of "
                "points on the plane of their face",
                facePoints.size(), worst, n ? 100.0 * double(right) / double(n) : 0.0);
  line = buf;
  return r;
}

}  // namespace qvtool
