// SPDX-License-Identifier: MIT
// Contour normal from the vector area about the centroid.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/contour_normal.h>
#include <qvmath/geometry/local_frame.h>

#include <cstddef>

bool DetectContourNormal(const std::vector<REmath::Point3D>& pts, float* normal) {
  using REmath::detail::Cross3;
  using REmath::detail::Dot3;
  using REmath::detail::Sub3;
  if (!normal) return false;
  normal[0] = normal[1] = normal[2] = 0.0f;
  const std::size_t n = pts.size();
  if (n == 0) return false;
  // Float centroid and float sums, as the documented single-precision routine computes;
  // taking the products about the centroid keeps them small for contours far from the
  // origin.
  REmath::Point3D c;
  for (const auto& p : pts) c += p;
  c /= float(n);
  for (std::size_t i = 0; i < n; ++i) {
    float a[3], b[3], x[3];
    Sub3(&pts[i].m_x, &c.m_x, a);
    Sub3(&pts[i + 1 == n ? 0 : i + 1].m_x, &c.m_x, b);
    Cross3(a, b, x);
    for (int k = 0; k < 3; ++k) normal[k] += x[k];
  }
  if (!(Dot3(normal, normal) > 0.0f)) {
    // A sum that is non-finite or whose square underflows is not returned half-made.
    normal[0] = normal[1] = normal[2] = 0.0f;
    return false;
  }
  NormalizeVector(normal);
  return true;
}
