// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/triangle_bulge.h>

#include <cmath>

#include "test_util.h"

TEST(TriangleBulgeTest, Properties_AgreesWithTheAreaFormulaInDouble) {
  qvtest::TestRng rng(5311);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 3000; ++trial) {
    float p[3][3];
    for (auto& v : p)
      for (float& c : v) c = float(rng.Uniform(-10, 10));
    // Oracle: distance from the chord line = 2·area / chord, so the result is
    // |u × w|² / |w|⁴, computed in double from the same float inputs.
    double u[3], w[3];
    for (int k = 0; k < 3; ++k) u[k] = double(p[1][k]) - p[0][k], w[k] = double(p[2][k]) - p[0][k];
    const double cx = u[1] * w[2] - u[2] * w[1], cy = u[2] * w[0] - u[0] * w[2],
                 cz = u[0] * w[1] - u[1] * w[0];
    const double ww = w[0] * w[0] + w[1] * w[1] + w[2] * w[2];
    const double uu = u[0] * u[0] + u[1] * u[1] + u[2] * u[2];
    const double expect = (cx * cx + cy * cy + cz * cz) / (ww * ww);
    // The remainder u − t·w loses about ε·|u| in float; its square then ε·|u|·|e|, bounded
    // by the k·ε·|u|²/|w|² used here (k = 32 covers the few roundings of each sum).
    const double tol = 32 * qvtest::Eps<float>() * uu / ww;
    EXPECT_NEAR(GetTriangleBulge(p[1], p[0], p[2]), expect, tol);

    // The planar routine is the same computation without z: equal to the last bit.
    float xs[5] = {0, p[0][0], p[1][0], p[2][0], 0}, ys[5] = {0, p[0][1], p[1][1], p[2][1], 0};
    float a[3] = {p[0][0], p[0][1], 0}, b[3] = {p[1][0], p[1][1], 0}, c[3] = {p[2][0], p[2][1], 0};
    EXPECT_EQ(GetTriangleBulge2(xs, ys, 2), GetTriangleBulge(b, a, c));
  }
}
