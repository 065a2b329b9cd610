// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/point_net.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "geometry/geom_test_util.h"

using REmath::Matrix;
using REmath::Point3D;

namespace {

// A rows × cols net with knot (i, j) = f(i, j).
Matrix<Point3D> MakeNet(int rows, int cols, const std::function<Point3D(int, int)>& f) {
  Matrix<Point3D> net(rows, cols);
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < cols; ++j) net(i, j) = f(i, j);
  return net;
}

// The bilinear net point in double, written from the definition (independent oracle).
void Bilinear(const Matrix<Point3D>& net, int i, int j, double s, double t, double* out) {
  const int i1 = std::min(i + 1, net.rows() - 1), j1 = std::min(j + 1, net.cols() - 1);
  const Point3D &a = net(i, j), &b = net(i1, j), &c = net(i, j1), &d = net(i1, j1);
  for (int k = 0; k < 3; ++k) {
    const double pa = a.asArray()[k], pb = b.asArray()[k], pc = c.asArray()[k], pd = d.asArray()[k];
    out[k] = (1 - s) * (1 - t) * pa + s * (1 - t) * pb + (1 - s) * t * pc + s * t * pd;
  }
}

double Dist2(const double* a, const float* p) {
  double s = 0;
  for (int k = 0; k < 3; ++k) s += (a[k] - p[k]) * (a[k] - p[k]);
  return s;
}

// Least squared distance from p to the net by dense sampling: a 21 × 21 grid per cell, then
// a 41 × 41 grid over ±1 coarse step around the best sample (1/400 of a cell).
double SampledDist2(const Matrix<Point3D>& net, const float* p) {
  const int cr = std::max(net.rows() - 1, 1), cc = std::max(net.cols() - 1, 1);
  double best = HUGE_VAL, bs = 0, bt = 0;
  int bi = 0, bj = 0;
  double q[3];
  for (int i = 0; i < cr; ++i)
    for (int j = 0; j < cc; ++j)
      for (int a = 0; a <= 20; ++a)
        for (int b = 0; b <= 20; ++b) {
          Bilinear(net, i, j, a / 20.0, b / 20.0, q);
          const double d = Dist2(q, p);
          if (d < best) best = d, bs = a / 20.0, bt = b / 20.0, bi = i, bj = j;
        }
  for (int a = -20; a <= 20; ++a)
    for (int b = -20; b <= 20; ++b) {
      const double s = std::clamp(bs + a / 400.0, 0.0, 1.0),
                   t = std::clamp(bt + b / 400.0, 0.0, 1.0);
      Bilinear(net, bi, bj, s, t, q);
      best = std::min(best, Dist2(q, p));
    }
  return best;
}

// Projects p and checks the parameters' range and the distance against dense sampling.
void ExpectProjectionMatchesSampling(const Matrix<Point3D>& net, const float* p, double cell) {
  double u = -1, v = -1;
  ProjectPointToNet(p, net, u, v);
  ASSERT_GE(u, 0.0);
  ASSERT_LE(u, net.rows() - 1.0);
  ASSERT_GE(v, 0.0);
  ASSERT_LE(v, net.cols() - 1.0);
  float q[3];
  getPointOnNet(float(u), float(v), net, q);
  double qd[3] = {q[0], q[1], q[2]};
  const double dp = std::sqrt(Dist2(qd, p)), ds = std::sqrt(SampledDist2(net, p));
  // Never worse than the sampling (up to the float evaluation and the 1e-5 snap of
  // getPointOnNet, a few 1e-5 of a cell); and not better than the sampling's resolution of
  // 1/400 of a cell allows.
  EXPECT_LE(dp, ds + 5e-5 * cell) << "u " << u << " v " << v;
  EXPECT_GE(dp, ds - 3e-3 * cell) << "u " << u << " v " << v;
}

}  // namespace

TEST(PointNetTest, Regions_GetPointOnNetBranches) {
  const Matrix<Point3D> net =
      MakeNet(3, 3, [](int i, int j) { return Point3D(float(i), float(j), float(i * i + 3 * j)); });
  // The last row and column are reached with a zero fraction (only that row or column is
  // read); fractions below 1e-5 snap to the knot: the quirk keeps P(i, j) exactly.
  const struct {
    float u, v, x, y, z;
  } cases[] = {{2, 0, 2, 0, 4},
               {2, 2, 2, 2, 10},
               {2, 1.25f, 2, 1.25f, 7.75f},
               {1.5f, 2, 1.5f, 2, 8.5f},
               {1.000008f, 1.000008f, 1, 1, 4},
               {1.000008f, 1.5f, 1, 1.5f, 5.5f}};
  for (const auto& c : cases) {
    float out[3];
    getPointOnNet(c.u, c.v, net, out);
    EXPECT_TRUE(out[0] == c.x && out[1] == c.y && out[2] == c.z) << c.u << " " << c.v;
  }
}

TEST(PointNetTest, Regions_NearestKnotTiesAndEmptyNet) {
  // P(1, 1) far away, the other knots the corners of the unit square: ties go to the lower
  // column, then the lower row; no knots leave i and j untouched.
  const Matrix<Point3D> net = MakeNet(2, 2, [](int i, int j) {
    return i == 1 && j == 1 ? Point3D(5, 5, 0) : Point3D(float(i), float(j), 0.0f);
  });
  const Matrix<Point3D> twins = MakeNet(2, 2, [](int, int) { return Point3D(1, 2, 3); }),
                        empty(0, 0);
  const struct {
    const Matrix<Point3D>* net;
    float p[3];
    int i, j;
  } cases[] = {{&net, {0.9f, 0.9f, 0}, 1, 0},
               {&net, {0.5f, 0, 0}, 0, 0},
               {&twins, {0.5f, 0, 0}, 0, 0},
               {&empty, {0, 0, 0}, 7, 8}};
  for (const auto& c : cases) {
    int i = 7, j = 8;
    GetNearestNetKnot(c.p, *c.net, i, j);
    EXPECT_TRUE(i == c.i && j == c.j) << c.p[0];
  }
}

TEST(PointNetTest, Properties_NormalOfACurvedNetFollowsTheSurface) {
  // A sphere patch of radius 3, laid out so that ∂/∂row × ∂/∂column points outward.
  const double R = 3;
  const Matrix<Point3D> net = MakeNet(12, 10, [&](int i, int j) {
    const double th = 0.5 + 0.08 * i, ph = 0.2 + 0.09 * j;  // polar and azimuth angles
    return Point3D(R * std::sin(th) * std::cos(ph), R * std::sin(th) * std::sin(ph),
                   R * std::cos(th));
  });
  for (int i = 0; i < net.rows(); ++i)
    for (int j = 0; j < net.cols(); ++j) {
      Point3D n;
      GetNetNormal(net, i, j, n, true);
      const Point3D& P = net(i, j);
      const double radial = (n.x() * P.x() + n.y() * P.y() + n.z() * P.z()) / R;
      EXPECT_GT(radial, 0.99) << i << "," << j;  // within about 8° of the true normal
      EXPECT_NEAR(double(n.x()) * n.x() + double(n.y()) * n.y() + double(n.z()) * n.z(), 1.0, 1e-6);
      Point3D m;
      GetNetNormal(net, i, j, m, false);  // the other orientation flips it exactly
      EXPECT_TRUE(m.x() == -n.x() && m.y() == -n.y() && m.z() == -n.z()) << i << "," << j;
    }
  // Without a cell (a single row, or a knot outside the net) the normal is zero.
  const Matrix<Point3D> row =
      MakeNet(1, 4, [](int, int j) { return Point3D(float(j), 0.0f, 0.0f); });
  for (const auto* m : {&row, &net}) {
    Point3D n(9, 9, 9);
    GetNetNormal(*m, m == &row ? 0 : 12, 1, n, true);
    EXPECT_TRUE(n.x() == 0.0f && n.y() == 0.0f && n.z() == 0.0f);
  }
}

// A jittered saddle; a half cylinder seen from near its axis (many cells at nearly the same
// distance: the nearest knot need not be a corner of the nearest cell); a single row and a
// single column (a polyline: the other parameter stays 0).
TEST(PointNetTest, Properties_ProjectionAgreesWithDenseSampling) {
  qvtest::TestRng rng(5344);
  SCOPED_TRACE(rng.Trace());
  const Matrix<Point3D> saddle = MakeNet(8, 10, [&](int i, int j) {
    const double x = i * 0.5 + rng.Uniform(-0.15, 0.15), y = j * 0.4 + rng.Uniform(-0.1, 0.1);
    return Point3D(x, y, 0.3 * ((x - 2) * (x - 2) - (y - 2) * (y - 2)));
  });
  const Matrix<Point3D> cylinder = MakeNet(13, 5, [&](int i, int j) {
    const double a = qvtest::kPi * i / 12.0 + rng.Uniform(-0.05, 0.05);
    return Point3D(2 * std::cos(a), 2 * std::sin(a), 0.7 * j);
  });
  const Matrix<Point3D> row = MakeNet(1, 6, [&](int, int) {
    return Point3D(float(rng.Uniform(-2, 2)), float(rng.Uniform(-2, 2)), float(rng.Uniform(-2, 2)));
  });
  const Matrix<Point3D> column = MakeNet(6, 1, [&](int i, int) { return row(0, i); });
  for (int trial = 0; trial < 150; ++trial) {
    const float p[3] = {float(rng.Uniform(-1, 5)), float(rng.Uniform(-1, 5)),
                        float(rng.Uniform(-3, 3))};
    ExpectProjectionMatchesSampling(saddle, p, 0.7);
    ExpectProjectionMatchesSampling(row, p, 2.0);
    ExpectProjectionMatchesSampling(column, p, 2.0);
    const float q[3] = {float(rng.Uniform(-1.5, 1.5)), float(rng.Uniform(-0.5, 1.8)),
                        float(rng.Uniform(-0.5, 3.3))};
    ExpectProjectionMatchesSampling(cylinder, q, 0.7);
  }
}

TEST(PointNetTest, Degenerate_ProjectionOntoASingleKnotOrNone) {
  // A single knot gives (0, 0); no knots leave u and v untouched.
  const Matrix<Point3D> knot = MakeNet(1, 1, [](int, int) { return Point3D(1, 2, 3); }),
                        empty(0, 0);
  const float p[3] = {0, 0, 0};
  double u = -1, v = -1, ue = 5, ve = 6;
  ProjectPointToNet(p, knot, u, v);
  ProjectPointToNet(p, empty, ue, ve);
  EXPECT_TRUE(u == 0.0 && v == 0.0 && ue == 5.0 && ve == 6.0);
}
