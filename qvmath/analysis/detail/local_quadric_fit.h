// SPDX-License-Identifier: MIT
// Internal: the local quadric fit behind GetNormal2 and the curvature estimates built on
// it. Not installed.
#pragma once

#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/core/point3d.h>

namespace REmath {
namespace detail {

struct LocalQuadricOptions {
  bool weighted = true;     // weights 1/max(d², floor²); false: equal weights
  float minDist = 0.01f;    // the floor of the weights
  bool freeTerm = false;    // fit the free term K
  bool force2 = false;      // second order even for nearly flat neighbourhoods
  bool footOrigin = false;  // origin on a first fit's surface over pts[0] (else pts[0])
};

struct LocalQuadricResult {
  CQuadraticForm quad;  // in coordinates p − origin, world axes
  double origin[3];     // world
  double normal[3];     // unit
  float aniso;
  double rms;
};

// The fit documented at GetNormal2. Returns false when it cannot fit.
bool FitLocalQuadric(int n, const REmath::Point3D* pts, const LocalQuadricOptions& opt,
                     LocalQuadricResult& out);

}  // namespace detail
}  // namespace REmath
