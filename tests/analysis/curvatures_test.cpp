// SPDX-License-Identifier: MIT
// Curvatures of raw quadrics: the documented give-up cases and closed forms.

#include <qvmath/analysis/curvatures.h>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;

TEST(Curvatures, Regions_DocumentedCases) {
  struct Case {
    const char* name;
    CQuadFormRaw9<double> q;  // KXX KXY KXZ KYY KYZ KZZ KX KY KZ
    double kmax;
  } cases[] = {
      {"umbilic paraboloid", {0.5, 0, 0, 0.5, 0, 0, 0, 0, -1}, 20.0},
      {"cylinder", {0.5, 0, 0, 0, 0, 0, 0, 0, -1}, 1.0},
      {"zero linear term", {1, 0, 0, 2, 0, 0, 0, 0, 0}, 20.0},
      {"gradient just under the bound", {1, 0, 0, 3, 0, 0, 0, 0, 0.99999e-5}, 20.0},
      {"saddle along x", {0, 0, 0, 2, 0, -2, -1, 0, 0}, 4.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_NEAR(MaxCurvature(c.q), c.kmax, 1e-14);
  }
  double k[2];
  GetCurvatures(cases[1].q, k, nullptr, nullptr);
  EXPECT_EQ(std::fmin(k[0], k[1]), 0.0);
}

}  // namespace
