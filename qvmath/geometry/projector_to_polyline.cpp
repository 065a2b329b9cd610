// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/tolerance.h>
#include <qvmath/geometry/detail/point_segment.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/projector_to_polyline.h>

#include <cfloat>
#include <cmath>
#include <utility>

using REmath::Point3D_d;

CProjectorToPolyline::CProjectorToPolyline() = default;
CProjectorToPolyline::CProjectorToPolyline(const CProjectorToPolyline& other) = default;
CProjectorToPolyline& CProjectorToPolyline::operator=(const CProjectorToPolyline& other) = default;
CProjectorToPolyline::~CProjectorToPolyline() = default;

void CProjectorToPolyline::SetPoints(std::vector<Point3D_d> pts) {
  m_points = std::move(pts);
  UpdateBounds(0);
}

void CProjectorToPolyline::AddPoint(const Point3D_d& p) {
  m_points.push_back(p);
  UpdateBounds(m_balls.size());
}

void CProjectorToPolyline::UpdateBounds(std::size_t first) {
  const std::size_t segs = m_points.empty() ? 0 : m_points.size() - 1;
  m_balls.resize(segs);
  for (std::size_t k = first; k < segs; ++k) {
    const Point3D_d& a = m_points[k];
    const Point3D_d& b = m_points[k + 1];
    const double dx = b.x() - a.x(), dy = b.y() - a.y(), dz = b.z() - a.z();
    m_balls[k] = {a.x() + 0.5 * dx, a.y() + 0.5 * dy, a.z() + 0.5 * dz,
                  0.5 * std::sqrt(dx * dx + dy * dy + dz * dz)};
  }
}

const std::vector<Point3D_d>& CProjectorToPolyline::GetPoints() const { return m_points; }

IPointToGeomObjProjector* CProjectorToPolyline::OnCopy() const {
  return new CProjectorToPolyline(*this);
}

bool CProjectorToPolyline::OnProjectPoint(const Point3D_d& p, Point3D_d& q, double& param) {
  const std::size_t n = m_points.size();
  if (n == 0) return false;
  if (n == 1) {
    q = m_points[0];
    param = 0.0;
    return true;
  }
  // Skip test: a segment whose ball is at distance D from p (midpoint) is at least D − h
  // away (h its half length). It is skipped when (1 − c)·D > (1 + c)·h + sqrt(best), i.e.
  // D − h > sqrt(best) + c·(D + h): its squared distance then exceeds best by c²·(D + h)²,
  // with c² = 128·ε far above the rounding of the query (a few ε·(D + h)²), so it could not
  // have replaced the best one. Squared on both sides to avoid a root per segment.
  const double c = std::sqrt(128 * REmath::detail::kDoubleEps);
  const double kIn = (1 - c) * (1 - c), kOut = 1 + c;
  double best = DBL_MAX, bestParam = 0.0, reach = std::sqrt(DBL_MAX);
  std::size_t seg = 0;
  // The body of the double `DistancePoint2Segment` with its clamped parameter, inlined:
  // the same value, without a call per segment.
  double foot[3];
  for (std::size_t i = 1; i < n; ++i) {
    const SegmentBall& ball = m_balls[i - 1];
    const double bx = p.x() - ball.m_cx, by = p.y() - ball.m_cy, bz = p.z() - ball.m_cz;
    const double out = kOut * ball.m_half + reach;
    if ((bx * bx + by * by + bz * bz) * kIn > out * out) continue;
    double t = 0.0;
    REmath::detail::SegmentFeature feature;
    const double d = REmath::detail::PointSegment2<3, double>(
        p.asArray(), m_points[i - 1].asArray(), m_points[i].asArray(), foot, t, feature);
    if (d < best) {
      best = d;
      reach = std::sqrt(d);
      seg = i;
      bestParam = static_cast<double>(i - 1) + t;
    }
  }
  if (best == DBL_MAX) return false;
  DistancePoint2Segment(p.asArray(), m_points[seg - 1].asArray(), m_points[seg].asArray(), foot);
  q = Point3D_d(foot[0], foot[1], foot[2]);
  param = bestParam;
  return true;
}
