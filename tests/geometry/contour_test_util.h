// SPDX-License-Identifier: MIT
// Helpers shared by the contour tests: polylines sampled along straight edges.
#pragma once

#include <qvmath/core/point3d.h>

#include <cmath>
#include <utility>
#include <vector>

namespace qvtest {

/// The planar polyline through the vertices (z = 0), each edge cut into round(length / h)
/// equal steps (at least one); a closed one ends before returning to the first vertex.
inline std::vector<REmath::Point3D_d> Polyline(const std::vector<std::pair<double, double>>& v,
                                               bool closed, double h) {
  std::vector<REmath::Point3D_d> out;
  const std::size_t edges = closed ? v.size() : v.size() - 1;
  for (std::size_t e = 0; e < edges; ++e) {
    const auto a = v[e], b = v[(e + 1) % v.size()];
    const int steps =
        std::max(1, int(std::lround(std::hypot(b.first - a.first, b.second - a.second) / h)));
    for (int k = 0; k < steps; ++k)
      out.emplace_back(a.first + (b.first - a.first) * k / steps,
                       a.second + (b.second - a.second) * k / steps, 0.0);
  }
  if (!closed) out.emplace_back(v.back().first, v.back().second, 0.0);
  return out;
}

}  // namespace qvtest
