// SPDX-License-Identifier: MIT
// The accuracy study's cloud: a torus (R = 1, r = 0.3) sampled uniformly by area, with its
// analytic normals and principal curvatures, optional Gaussian noise, and k-nearest
// neighbourhoods from a nanoflann k-d tree (benchmarks only).
#pragma once

#include <qvmath/core/point3d.h>

#include <algorithm>
#include <cmath>
#include <nanoflann.hpp>
#include <random>
#include <vector>

namespace qvbench {

struct TorusCloud {
  static constexpr double kR = 1.0, kr = 0.3;
  std::vector<REmath::Point3D> pts;  // possibly noisy samples
  std::vector<double> normal;        // 3 per point, outward, at the noise-free sample
  std::vector<double> kTube, kRing;  // signed (outward normal, convex positive)

  // nanoflann adaptor.
  size_t kdtree_get_point_count() const { return pts.size(); }
  float kdtree_get_pt(size_t i, size_t d) const { return pts[i].asArray()[d]; }
  template <class B>
  bool kdtree_get_bbox(B&) const {
    return false;
  }
};

inline TorusCloud MakeTorus(int n, double sigma, unsigned seed) {
  TorusCloud c;
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> U(0, 1);
  std::normal_distribution<double> G(0, sigma > 0 ? sigma : 1);
  const double R = TorusCloud::kR, r = TorusCloud::kr, pi = std::acos(-1.0);
  while (int(c.pts.size()) < n) {
    const double th = 2 * pi * U(rng), ph = 2 * pi * U(rng);
    // Area element ∝ R + r·cos θ: rejection.
    if (U(rng) * (R + r) > R + r * std::cos(th)) continue;
    const double rho = R + r * std::cos(th);
    double p[3] = {rho * std::cos(ph), rho * std::sin(ph), r * std::sin(th)};
    if (sigma > 0)
      for (double& v : p) v += G(rng);
    c.pts.emplace_back(float(p[0]), float(p[1]), float(p[2]));
    c.normal.insert(c.normal.end(),
                    {std::cos(th) * std::cos(ph), std::cos(th) * std::sin(ph), std::sin(th)});
    c.kTube.push_back(1 / r);
    c.kRing.push_back(std::cos(th) / rho);
  }
  return c;
}

using TorusTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, TorusCloud>, TorusCloud,
                                        3, unsigned>;

/// The k nearest neighbours of point q (q itself first), as points.
/// With index: their indices in the cloud too.
inline void Neighbourhood(const TorusTree& tree, const TorusCloud& c, int q, int k,
                          std::vector<REmath::Point3D>& out,
                          std::vector<unsigned>* index = nullptr) {
  std::vector<unsigned> idx(k);
  std::vector<float> d2(k);
  tree.knnSearch(c.pts[q].asArray(), k, idx.data(), d2.data());
  out.clear();
  for (unsigned i : idx) out.push_back(c.pts[i]);
  if (index) *index = idx;
}

inline double Median(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
  return v[v.size() / 2];
}

}  // namespace qvbench
