// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/arc2d.h>

#include <algorithm>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

// Sets the process-wide switch for one scope and restores it.
class ArcApproxScope {
 public:
  explicit ArcApproxScope(bool on) : m_old(CArc2D::m_bArcApprox) { CArc2D::m_bArcApprox = on; }
  ~ArcApproxScope() { CArc2D::m_bArcApprox = m_old; }

 private:
  bool m_old;
};

CArc2D Segment(double x0, double y0, double x1, double y1) {
  CArc2D a;
  a.m_x0 = float(x0), a.m_y0 = float(y0), a.m_x1 = float(x1), a.m_y1 = float(y1);
  a.m_bStraight = 1;
  return a;
}

// An arc of the circle (cx, cy, r) from angle a0 to angle a1.
CArc2D Arc(double cx, double cy, double r, double a0, double a1) {
  CArc2D a;
  a.m_cx = float(cx), a.m_cy = float(cy), a.m_r = float(r);
  a.m_x0 = float(cx + r * std::cos(a0)), a.m_y0 = float(cy + r * std::sin(a0));
  a.m_x1 = float(cx + r * std::cos(a1)), a.m_y1 = float(cy + r * std::sin(a1));
  a.m_bStraight = 0;
  return a;
}

// Distance from (x, y) to the supporting line or circle of a record, in double.
double DistToSupport(const CArc2D& a, double x, double y) {
  if (a.m_bStraight) {
    const double dx = a.m_x1 - a.m_x0, dy = a.m_y1 - a.m_y0;
    return std::fabs((x - a.m_x0) * dy - (y - a.m_y0) * dx) / std::hypot(dx, dy);
  }
  return std::fabs(std::hypot(x - a.m_cx, y - a.m_cy) - a.m_r);
}

// Unit running direction of a record at (x, y): the segment's direction, or the arc's
// tangent the shorter way from its first to its last point. Written independently of the
// library (angles instead of cross products).
void Direction(const CArc2D& a, double x, double y, double& tx, double& ty) {
  if (a.m_bStraight) {
    const double dx = a.m_x1 - a.m_x0, dy = a.m_y1 - a.m_y0, l = std::hypot(dx, dy);
    tx = dx / l, ty = dy / l;
    return;
  }
  double sweep =
      std::atan2(a.m_y1 - a.m_cy, a.m_x1 - a.m_cx) - std::atan2(a.m_y0 - a.m_cy, a.m_x0 - a.m_cx);
  while (sweep <= -qvtest::kPi) sweep += 2 * qvtest::kPi;
  while (sweep > qvtest::kPi) sweep -= 2 * qvtest::kPi;
  const double o = sweep < 0 ? -1.0 : 1.0;
  const double ang = std::atan2(y - a.m_cy, x - a.m_cx);
  tx = -o * std::sin(ang), ty = o * std::cos(ang);
}

// Checks that out = (centre, tangent point on a, tangent point on b, r) is a fillet of
// radius r tangent to both records and continuing the path a → fillet → b smoothly.
void ExpectFillet(const CArc2D& a, const CArc2D& b, const float* out, double r, double tol) {
  const double fx = out[0], fy = out[1];
  for (int k = 0; k < 2; ++k) {
    const CArc2D& rec = k == 0 ? a : b;
    const double tx = out[2 + 2 * k], ty = out[3 + 2 * k];
    SCOPED_TRACE(k == 0 ? "tangent point on the first record" : "tangent point on the second");
    EXPECT_NEAR(DistToSupport(rec, tx, ty), 0.0, tol);
    EXPECT_NEAR(std::hypot(tx - fx, ty - fy), r, tol);
    // The fillet's direction of travel at the tangent point matches the record's.
    double dx = 0, dy = 0;
    Direction(rec, tx, ty, dx, dy);
    EXPECT_NEAR((tx - fx) / r * dx + (ty - fy) / r * dy, 0.0, 1e3 * tol);  // radius ⟂ direction
  }
  // The centre lies on the side the corner turns to, seen from both tangent points (so the
  // fillet turns with the corner instead of looping the other way round).
  double d1x, d1y, d2x, d2y, k1x, k1y, k2x, k2y;
  Direction(a, out[2], out[3], d1x, d1y);
  Direction(b, out[4], out[5], d2x, d2y);
  Direction(a, a.m_x1, a.m_y1, k1x, k1y);
  Direction(b, b.m_x0, b.m_y0, k2x, k2y);
  const double cornerTurn = k1x * k2y - k1y * k2x;
  const double left1 = d1x * (fy - out[3]) - d1y * (fx - out[2]);
  const double left2 = d2x * (fy - out[5]) - d2y * (fx - out[4]);
  EXPECT_GT(left1 * cornerTurn, 0.0);
  EXPECT_GT(left2 * cornerTurn, 0.0);
  EXPECT_EQ(out[6], float(r));
}

}  // namespace

TEST(CArc2DTest, Properties_MakeBy3PointsStraightUntilTheSwitchIsSetThenTheCircle) {
  EXPECT_FALSE(CArc2D::m_bArcApprox);  // the deliberate default
  float xs[3] = {0, 1, 2}, ys[3] = {0, 1, 0};
  CArc2D a;
  a.m_cx = 7, a.m_r = 9, a.m_bStraight = 0;
  a.MakeBy3Points(xs, ys);
  EXPECT_TRUE(a.m_bStraight == 1 && a.m_x1 == 2.0f && a.m_cx == 7.0f && a.m_r == 9.0f);
  ArcApproxScope on(true);
  // Collinear points keep a straight record even with the switch set; centre and radius
  // stay as they were.
  float cxs[3] = {0, 1, 3}, cys[3] = {1, 2, 4};
  a.MakeBy3Points(cxs, cys);
  EXPECT_TRUE(a.m_bStraight == 1 && a.m_y1 == 4.0f && a.m_cx == 7.0f && a.m_r == 9.0f);
  // Otherwise the circle through the three points.
  qvtest::TestRng rng(5301);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 2000; ++trial) {
    const double cx = rng.Uniform(-50, 50), cy = rng.Uniform(-50, 50), r = rng.Uniform(0.5, 20);
    float px[3], py[3];
    double ang = rng.Uniform(0, 2 * qvtest::kPi);
    for (int k = 0; k < 3; ++k, ang += rng.Uniform(0.3, 2.0))
      px[k] = float(cx + r * std::cos(ang)), py[k] = float(cy + r * std::sin(ang));
    a.MakeBy3Points(px, py);
    ASSERT_EQ(a.m_bStraight, 0);
    // The float closed form keeps about 1e-4 of the coordinate scale (cancellation in the
    // cubic numerators of points ~70 from the origin).
    const double tol = 2e-4 * (std::fabs(cx) + std::fabs(cy) + r);
    EXPECT_TRUE(qvtest::Near3({a.m_cx, a.m_cy, a.m_r}, {cx, cy, r}, tol));
  }
}

TEST(Arc4pointsErrorTest, Properties_ZeroOnACircleAndRadialOffsetOtherwise) {
  qvtest::TestRng rng(5302);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    const double cx = rng.Uniform(-5, 5), cy = rng.Uniform(-5, 5), r = rng.Uniform(1, 5);
    const double off = rng.Uniform(-0.5, 0.5), ang[4] = {0.2, 1.1, 2.0, 3.3};
    float xs[4], ys[4];
    for (int k = 0; k < 4; ++k)
      xs[k] = float(cx + (r + (k == 2) * off) * std::cos(ang[k])),
      ys[k] = float(cy + (r + (k == 2) * off) * std::sin(ang[k]));
    EXPECT_NEAR(Arc4pointsError(xs, ys), std::fabs(off), 2e-5 * (10 + r));
  }
  // Collinear points 0, 1, 3 measure the line distance of point 2 instead.
  float xs[4] = {0, 1, 3, 3}, ys[4] = {0, 1, 1, 3};
  EXPECT_FLOAT_EQ(Arc4pointsError(xs, ys), std::sqrt(2.0f));
}

// Random line–circle pairs and circle pairs: a hit exactly
// when the supports cross, the point on both, and the other crossing (its mirror image across
// the axis through the circle's centre along the line's normal, or along the line of
// centres) not nearer the origin; a miss leaves out untouched.
TEST(Get2ArcsIntersectTest, Properties_CrossingOnBothSupportsNearerTheOrigin) {
  qvtest::TestRng rng(5304);
  SCOPED_TRACE(rng.Trace());
  int hits = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    const bool circles = trial % 2;
    const CArc2D c = Arc(rng.Uniform(-2, 2), rng.Uniform(-2, 2), rng.Uniform(0.5, 3), 0, 1);
    const CArc2D o = circles
                         ? Arc(rng.Uniform(-2, 2), rng.Uniform(-2, 2), rng.Uniform(0.5, 3), 0, 1)
                         : Segment(rng.Uniform(-3, 3), rng.Uniform(-3, 3), rng.Uniform(-3, 3),
                                   rng.Uniform(-3, 3));
    double gap, nx, ny;
    if (circles) {
      const double L = std::hypot(o.m_cx - c.m_cx, o.m_cy - c.m_cy);
      gap = std::min(c.m_r + o.m_r - L, L - std::fabs(c.m_r - o.m_r));
      nx = (o.m_cx - c.m_cx) / L, ny = (o.m_cy - c.m_cy) / L;
    } else {
      gap = c.m_r - DistToSupport(o, c.m_cx, c.m_cy);
      const double dx = o.m_x1 - o.m_x0, dy = o.m_y1 - o.m_y0;
      nx = -dy / std::hypot(dx, dy), ny = dx / std::hypot(dx, dy);
    }
    if (std::fabs(gap) < 1e-2) continue;  // grazing: either answer is fine
    CArc2D arcs[2] = {o, c};
    float out[2] = {42, 43};
    const bool hit = Get2ArcsIntersect(arcs, out);
    ASSERT_EQ(hit, gap > 0);
    if (!hit) {
      EXPECT_TRUE(out[0] == 42.0f && out[1] == 43.0f);
      continue;
    }
    ++hits;
    EXPECT_NEAR(DistToSupport(c, out[0], out[1]), 0.0, 1e-3 / gap);
    EXPECT_NEAR(DistToSupport(o, out[0], out[1]), 0.0, 1e-3 / gap);
    const double wx = out[0] - c.m_cx, wy = out[1] - c.m_cy, along = wx * nx + wy * ny;
    const double mx = c.m_cx + 2 * along * nx - wx, my = c.m_cy + 2 * along * ny - wy;
    EXPECT_LE(std::hypot(out[0], out[1]), std::hypot(mx, my) + 1e-4);
  }
  EXPECT_GT(hits, 400);
}

TEST(Get2ArcsIntersectTest, Regions_TiesGoToTheFirstCandidate) {
  float out[2];
  // Line through the centre: candidates (−1, 0) (smaller parameter, first) and (1, 0).
  CArc2D lc[2] = {Segment(-5, 0, 5, 0), Arc(0, 0, 1, 0, 1)};
  ASSERT_TRUE(Get2ArcsIntersect(lc, out));
  EXPECT_TRUE(out[0] == -1.0f && out[1] == 0.0f);
  // Circles about (0, −1) and (0, 1): candidates (1, 0) (the plus sign, first) and (−1, 0).
  CArc2D cc[2] = {Arc(0, -1, std::sqrt(2.0), 0, 1), Arc(0, 1, std::sqrt(2.0), 0, 1)};
  ASSERT_TRUE(Get2ArcsIntersect(cc, out));
  EXPECT_NEAR(out[0], 1.0f, 1e-6);
  EXPECT_NEAR(out[1], 0.0f, 1e-6);
  // Parallel lines are not detected: true with non-finite coordinates.
  CArc2D par[2] = {Segment(0, 0, 1, 0), Segment(0, 1, 2, 1)};
  EXPECT_TRUE(Get2ArcsIntersect(par, out));
  EXPECT_FALSE(std::isfinite(out[0]) && std::isfinite(out[1]));
}

TEST(Make2ArcsFilletTest, Properties_TangentToBothRecordsAndSmooth) {
  qvtest::TestRng rng(5306);
  SCOPED_TRACE(rng.Trace());
  int made = 0;
  for (int trial = 0; trial < 1500; ++trial) {
    // Two records meeting at the corner K; each is a segment or an arc (either sense).
    const double kx = rng.Uniform(-3, 3), ky = rng.Uniform(-3, 3);
    CArc2D rec[2];
    for (int k = 0; k < 2; ++k) {
      const double dir = rng.Uniform(0, 2 * qvtest::kPi), len = rng.Uniform(1, 4);
      const double sx = std::cos(dir) * len, sy = std::sin(dir) * len;
      // The first record ends at K, the second starts there.
      const double ax = k == 0 ? kx - sx : kx, ay = k == 0 ? ky - sy : ky;
      if (rng.Uniform(0, 1) < 0.4) {
        rec[k] = Segment(ax, ay, ax + sx, ay + sy);
      } else {
        const double r = rng.Uniform(1.5, 6);
        const double sweep = (rng.Uniform(0, 1) < 0.5 ? -1 : 1) * rng.Uniform(0.3, 1.5);
        const double a0 = rng.Uniform(0, 2 * qvtest::kPi);
        // Place the circle so that the arc's end (first record) or start (second) is K.
        const double aK = k == 0 ? a0 + sweep : a0;
        const double cx = kx - r * std::cos(aK), cy = ky - r * std::sin(aK);
        rec[k] = Arc(cx, cy, r, a0, a0 + sweep);
      }
    }
    double t1x, t1y, t2x, t2y;
    Direction(rec[0], kx, ky, t1x, t1y);
    Direction(rec[1], kx, ky, t2x, t2y);
    const double turn = t1x * t2y - t1y * t2x;
    if (std::fabs(turn) < 0.2 || t1x * t2x + t1y * t2y < -0.5) continue;  // keep clear corners
    const double r = rng.Uniform(0.05, 0.3);
    float out[7] = {0, 0, 0, 0, 0, 0, float(r)};
    ASSERT_TRUE(rec[0].Make2ArcsFillet(&rec[1], out)) << "trial " << trial;
    ++made;
    ExpectFillet(rec[0], rec[1], out, float(r), 2e-4);
    // The fillet hugs the corner: its tangent points lie within a few radii of K.
    EXPECT_LT(std::max(std::hypot(out[2] - kx, out[3] - ky), std::hypot(out[4] - kx, out[5] - ky)),
              20 * r);
  }
  EXPECT_GT(made, 500);
}

TEST(Make2ArcsFilletTest, Degenerate_ImpossibleInputGivesFalseAndLeavesOutUntouched) {
  CArc2D in = Segment(-5, 0, 0, 0), straightOn = Segment(0, 0, 5, 0), back = Segment(0, 0, -5, 0),
         point = Segment(0, 0, 0, 0), up = Segment(0, 0, 0, 5);
  // A left turn into a counter-clockwise arc of radius 1 puts the fillet inside the circle:
  // radius 1 or more cannot fit there.
  CArc2D ccw = Arc(0, 1, 1, -qvtest::kPi / 2, 0), into = Segment(-5, 5, 0, 0);
  const struct {
    CArc2D *a, *b;
    float r;
    bool out;
  } cases[] = {{&in, &straightOn, 1, true}, {&in, &back, 1, true}, {&in, &point, 1, true},
               {&in, nullptr, 1, true},     {&in, &up, 1, false},  {&in, &up, 0, true},
               {&in, &up, -1, true},        {&in, &up, NAN, true}, {&in, &up, INFINITY, true},
               {&into, &ccw, 1.5f, true}};
  for (const auto& c : cases) {
    float out[7] = {9, 9, 9, 9, 9, 9, c.r};
    EXPECT_FALSE(c.a->Make2ArcsFillet(c.b, c.out ? out : nullptr)) << c.r;
    EXPECT_TRUE(std::all_of(out, out + 6, [](float v) { return v == 9.0f; })) << c.r;
  }
}
