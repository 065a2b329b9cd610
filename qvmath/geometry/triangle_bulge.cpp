// SPDX-License-Identifier: MIT
#include <qvmath/geometry/triangle_bulge.h>

namespace {

// |e|²/|w|² with e the part of u orthogonal to w, in N coordinates; float throughout. The
// remainder is formed explicitly rather than as |u|² − (u·w)²/|w|², which loses every
// digit for a nearly straight corner.
template <int N>
float Bulge2(const float* u, const float* w) {
  float uw = 0.0f, ww = 0.0f;
  for (int k = 0; k < N; ++k) {
    uw += u[k] * w[k];
    ww += w[k] * w[k];
  }
  const float t = uw / ww;
  float ee = 0.0f;
  for (int k = 0; k < N; ++k) {
    const float e = u[k] - t * w[k];
    ee += e * e;
  }
  return ee / ww;
}

}  // namespace

float GetTriangleBulge2(float* xs, float* ys, int i) {
  const float u[2] = {xs[i] - xs[i - 1], ys[i] - ys[i - 1]};
  const float w[2] = {xs[i + 1] - xs[i - 1], ys[i + 1] - ys[i - 1]};
  return Bulge2<2>(u, w);
}

float GetTriangleBulge(float* mid, float* start, float* end) {
  const float u[3] = {mid[0] - start[0], mid[1] - start[1], mid[2] - start[2]};
  const float w[3] = {end[0] - start[0], end[1] - start[1], end[2] - start[2]};
  return Bulge2<3>(u, w);
}
