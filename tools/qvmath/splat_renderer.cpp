// SPDX-License-Identifier: MIT
#include "splat_renderer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qvtool {

namespace {

struct V3 {
  double x, y, z;
};
V3 Cross(const V3& a, const V3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double Dot(const V3& a, const V3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
V3 Unit(const V3& a) {
  const double l = std::sqrt(Dot(a, a));
  return l > 0 ? V3{a.x / l, a.y / l, a.z / l} : V3{0, 0, 1};
}
bool Finite(const REmath::Point3D& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

}  // namespace

int RenderSplats(const std::vector<REmath::Point3D>& pts, const std::vector<std::uint32_t>& colours,
                 const std::vector<REmath::Point3D>* normals, const SplatView& view,
                 std::vector<unsigned char>& rgb) {
  const int W = view.width, H = view.height;
  rgb.assign(std::size_t(W) * std::size_t(H) * 3, 255);
  std::vector<float> depth(std::size_t(W) * std::size_t(H),
                           -std::numeric_limits<float>::infinity());
  const V3 w = Unit({view.towardViewer[0], view.towardViewer[1], view.towardViewer[2]});
  const V3 up = std::fabs(w.z) > 0.99 ? V3{0, 1, 0} : V3{0, 0, 1};
  const V3 u = Unit(Cross(up, w)), v = Cross(w, u);

  double lo[2] = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  double hi[2] = {-lo[0], -lo[1]};
  std::size_t n = 0;
  for (const REmath::Point3D& p : pts) {
    if (!Finite(p)) continue;
    const V3 q{p.x(), p.y(), p.z()};
    const double a = Dot(q, u), b = Dot(q, v);
    lo[0] = std::min(lo[0], a), hi[0] = std::max(hi[0], a);
    lo[1] = std::min(lo[1], b), hi[1] = std::max(hi[1], b);
    ++n;
  }
  if (n == 0) return 0;
  const double spanX = std::max(hi[0] - lo[0], 1e-30), spanY = std::max(hi[1] - lo[1], 1e-30);
  const double scale = 0.9 * std::min(W / spanX, H / spanY);
  const double cx = 0.5 * (lo[0] + hi[0]), cy = 0.5 * (lo[1] + hi[1]);
  // The visible side covers about 60 % of the image; splats twice the spacing close holes.
  int r = view.radius;
  if (r <= 0)
    r = std::clamp(
        static_cast<int>(std::ceil(2.0 * std::sqrt(0.6 * W * H / (3.14159 * double(n))))), 1, 12);

  for (std::size_t i = 0; i < pts.size(); ++i) {
    const REmath::Point3D& p = pts[i];
    if (!Finite(p)) continue;
    const V3 q{p.x(), p.y(), p.z()};
    const double px = 0.5 * W + (Dot(q, u) - cx) * scale;
    const double py = 0.5 * H - (Dot(q, v) - cy) * scale;
    const float d = static_cast<float>(Dot(q, w));
    double shade = 1.0;
    if (normals && !normals->empty()) {
      const REmath::Point3D& m = (*normals)[i];
      const double c = std::fabs(Dot({m.x(), m.y(), m.z()}, w));
      if (std::isfinite(c) && c > 0) shade = 0.35 + 0.65 * std::min(1.0, c);
    }
    const std::uint32_t col = colours[i];
    const unsigned char cr = static_cast<unsigned char>((col & 255) * shade);
    const unsigned char cg = static_cast<unsigned char>(((col >> 8) & 255) * shade);
    const unsigned char cb = static_cast<unsigned char>(((col >> 16) & 255) * shade);
    const int x0 = static_cast<int>(std::lround(px)), y0 = static_cast<int>(std::lround(py));
    for (int dy = -r; dy <= r; ++dy) {
      const int y = y0 + dy;
      if (y < 0 || y >= H) continue;
      for (int dx = -r; dx <= r; ++dx) {
        const int x = x0 + dx;
        if (x < 0 || x >= W || dx * dx + dy * dy > r * r + r) continue;
        const std::size_t k = std::size_t(y) * std::size_t(W) + std::size_t(x);
        if (!(d > depth[k])) continue;
        depth[k] = d;
        rgb[3 * k] = cr, rgb[3 * k + 1] = cg, rgb[3 * k + 2] = cb;
      }
    }
  }
  return r;
}

}  // namespace qvtool
