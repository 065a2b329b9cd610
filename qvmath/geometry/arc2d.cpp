// SPDX-License-Identifier: MIT
#include <qvmath/geometry/arc2d.h>

#include <cmath>

bool CArc2D::m_bArcApprox = false;

namespace {

// Collinearity bound on the determinant D of three planar points; a single-precision
// constant, absolute (not scaled by the coordinates), as the fitting has always used it.
constexpr float kCollinearDet = 1e-10f;

// Circle through the planar points P, Q, R by the closed form of the circumcentre in
// Cartesian coordinates (the numerators are the expanded 3×3 determinants). Every
// intermediate is a float. Returns false when |D| < 1e-10 (collinear); cx, cy untouched.
bool CircleThrough3(float px, float py, float qx, float qy, float rx, float ry, float& cx,
                    float& cy) {
  const float d = (qy - ry) * px + (ry - py) * qx + (py - qy) * rx;
  if (std::fabs(d) < kCollinearDet) return false;
  const float nx = (qy - ry) * px * px + (ry - py) * qx * qx + (py - qy) * rx * rx +
                   (py - ry) * (py - qy) * (qy - ry);
  const float ny = (rx - qx) * py * py + (px - rx) * qy * qy + (qx - px) * ry * ry +
                   (qx - rx) * (qx - px) * (px - rx);
  cx = 0.5f * nx / d;
  cy = 0.5f * ny / d;
  return true;
}

float Hypot2(float x, float y) { return std::sqrt(x * x + y * y); }

// Running sense of an arc record: +1 counter-clockwise, −1 clockwise; counter-clockwise
// unless the shorter way from the first to the last point is clockwise.
float ArcOrientation(const CArc2D& a) {
  const float turn = (a.m_x0 - a.m_cx) * (a.m_y1 - a.m_cy) - (a.m_y0 - a.m_cy) * (a.m_x1 - a.m_cx);
  return turn < 0.0f ? -1.0f : 1.0f;
}

// Unit tangent of a record at the point (x, y) on it, in the record's running direction
// (see the class comment for arcs). False for a degenerate record.
bool TangentAt(const CArc2D& a, float x, float y, float& tx, float& ty) {
  if (a.m_bStraight) {
    const float dx = a.m_x1 - a.m_x0, dy = a.m_y1 - a.m_y0;
    const float len = Hypot2(dx, dy);
    if (!(len > 0.0f)) return false;
    tx = dx / len;
    ty = dy / len;
    return true;
  }
  if (!(a.m_r > 0.0f)) return false;
  const float rx = x - a.m_cx, ry = y - a.m_cy;
  const float len = Hypot2(rx, ry);
  if (!(len > 0.0f)) return false;
  const float o = ArcOrientation(a);
  tx = -o * ry / len;
  ty = o * rx / len;
  return true;
}

// The locus of centres of circles of radius r lying on side `side` (+1 left, −1 right of the
// running direction) of the record and tangent to it, in coordinates shifted by −(kx, ky):
// a parallel line for a segment, a concentric circle for an arc. False when an arc's
// offset radius is not positive.
bool OffsetRecord(const CArc2D& a, float side, float r, float kx, float ky, CArc2D& off) {
  off = a;
  off.m_x0 = a.m_x0 - kx;
  off.m_y0 = a.m_y0 - ky;
  off.m_x1 = a.m_x1 - kx;
  off.m_y1 = a.m_y1 - ky;
  off.m_cx = a.m_cx - kx;
  off.m_cy = a.m_cy - ky;
  if (a.m_bStraight) {
    float tx = 0.0f, ty = 0.0f;
    if (!TangentAt(a, a.m_x0, a.m_y0, tx, ty)) return false;
    const float sx = -ty * side * r, sy = tx * side * r;  // left normal times side·r
    off.m_x0 += sx;
    off.m_y0 += sy;
    off.m_x1 += sx;
    off.m_y1 += sy;
    return true;
  }
  // Left of a counter-clockwise arc is its inside: the centre locus shrinks by r there.
  off.m_r = a.m_r - ArcOrientation(a) * side * r;
  return off.m_r > 0.0f;
}

// Foot of the point (x, y) on the supporting line or circle of a record.
void FootOn(const CArc2D& a, float x, float y, float& fx, float& fy) {
  if (a.m_bStraight) {
    const float dx = a.m_x1 - a.m_x0, dy = a.m_y1 - a.m_y0;
    const float s = ((x - a.m_x0) * dx + (y - a.m_y0) * dy) / (dx * dx + dy * dy);
    fx = a.m_x0 + s * dx;
    fy = a.m_y0 + s * dy;
    return;
  }
  const float rx = x - a.m_cx, ry = y - a.m_cy;
  const float k = a.m_r / Hypot2(rx, ry);
  fx = a.m_cx + k * rx;
  fy = a.m_cy + k * ry;
}

}  // namespace

CArc2D::CArc2D()
    : m_cx(0.0f),
      m_cy(0.0f),
      m_x0(0.0f),
      m_y0(0.0f),
      m_x1(0.0f),
      m_y1(0.0f),
      m_r(0.0f),
      m_bStraight(1) {}

void CArc2D::MakeBy3Points(float* xs, float* ys) {
  m_x0 = xs[0];
  m_y0 = ys[0];
  m_x1 = xs[2];
  m_y1 = ys[2];
  float cx = 0.0f, cy = 0.0f;
  if (m_bArcApprox && CircleThrough3(xs[0], ys[0], xs[1], ys[1], xs[2], ys[2], cx, cy)) {
    m_cx = cx;
    m_cy = cy;
    m_r = Hypot2(xs[0] - cx, ys[0] - cy);
    m_bStraight = 0;
  } else {
    m_bStraight = 1;
  }
}

bool CArc2D::Make2ArcsFillet(CArc2D* other, float* out) {
  if (other == nullptr || out == nullptr) return false;
  const float r = out[6];
  if (!(r > 0.0f) || !std::isfinite(r)) return false;
  float t1x = 0.0f, t1y = 0.0f, t2x = 0.0f, t2y = 0.0f;
  if (!TangentAt(*this, m_x1, m_y1, t1x, t1y)) return false;
  if (!TangentAt(*other, other->m_x0, other->m_y0, t2x, t2y)) return false;
  // The sine of the turn at the corner; both tangents are unit vectors.
  const float turn = t1x * t2y - t1y * t2x;
  if (std::fabs(turn) < 1e-6f) return false;
  const float side = turn > 0.0f ? 1.0f : -1.0f;

  // Work about the corner, so that the intersection's nearest-to-origin rule picks the
  // fillet centre nearest to the corner.
  const float kx = 0.5f * (m_x1 + other->m_x0), ky = 0.5f * (m_y1 + other->m_y0);
  CArc2D loci[2];
  if (!OffsetRecord(*this, side, r, kx, ky, loci[0])) return false;
  if (!OffsetRecord(*other, side, r, kx, ky, loci[1])) return false;
  float c[2];
  if (!Get2ArcsIntersect(loci, c)) return false;
  const float cx = c[0] + kx, cy = c[1] + ky;
  if (!std::isfinite(cx) || !std::isfinite(cy)) return false;
  float ax = 0.0f, ay = 0.0f, bx = 0.0f, by = 0.0f;
  FootOn(*this, cx, cy, ax, ay);
  FootOn(*other, cx, cy, bx, by);
  if (!std::isfinite(ax) || !std::isfinite(ay) || !std::isfinite(bx) || !std::isfinite(by))
    return false;
  out[0] = cx;
  out[1] = cy;
  out[2] = ax;
  out[3] = ay;
  out[4] = bx;
  out[5] = by;
  return true;
}

bool Get2ArcsIntersect(CArc2D* arcs, float* out) {
  const CArc2D& a = arcs[0];
  const CArc2D& b = arcs[1];
  if (a.m_bStraight && b.m_bStraight) {
    const float adx = a.m_x1 - a.m_x0, ady = a.m_y1 - a.m_y0;
    const float bdx = b.m_x1 - b.m_x0, bdy = b.m_y1 - b.m_y0;
    const float s = ((b.m_y0 - a.m_y0) * bdx - (b.m_x0 - a.m_x0) * bdy) / (bdx * ady - bdy * adx);
    out[0] = a.m_x0 + s * adx;
    out[1] = a.m_y0 + s * ady;
    return true;
  }
  float c1x = 0.0f, c1y = 0.0f, c2x = 0.0f, c2y = 0.0f;
  if (a.m_bStraight || b.m_bStraight) {
    const CArc2D& line = a.m_bStraight ? a : b;
    const CArc2D& circ = a.m_bStraight ? b : a;
    const float px = line.m_x0, py = line.m_y0;
    const float dx = line.m_x1 - px, dy = line.m_y1 - py;
    const float ex = circ.m_cx - px, ey = circ.m_cy - py;
    const float k = dx * ex + dy * ey;
    const float dd = dx * dx + dy * dy;
    const float disc = k * k - (ex * ex + ey * ey - circ.m_r * circ.m_r) * dd;
    if (disc < 0.0f) return false;
    const float root = std::sqrt(disc);
    const float s1 = (k - root) / dd, s2 = (k + root) / dd;
    c1x = px + s1 * dx;
    c1y = py + s1 * dy;
    c2x = px + s2 * dx;
    c2y = py + s2 * dy;
  } else {
    const float ex = b.m_cx - a.m_cx, ey = b.m_cy - a.m_cy;
    const float l2 = ex * ex + ey * ey;
    const float l = std::sqrt(l2);
    const float h = (l2 + a.m_r * a.m_r - b.m_r * b.m_r) / (2.0f * l);
    const float q = a.m_r * a.m_r - h * h;
    if (q < 0.0f) return false;
    const float along = h / l, across = std::sqrt(q) / l;
    c1x = a.m_cx + along * ex + across * ey;
    c1y = a.m_cy + along * ey - across * ex;
    c2x = a.m_cx + along * ex - across * ey;
    c2y = a.m_cy + along * ey + across * ex;
  }
  // The candidate nearer to the origin; the first on a tie.
  if (c2x * c2x + c2y * c2y < c1x * c1x + c1y * c1y) {
    out[0] = c2x;
    out[1] = c2y;
  } else {
    out[0] = c1x;
    out[1] = c1y;
  }
  return true;
}

float Arc4pointsError(float* xs, float* ys) {
  float cx = 0.0f, cy = 0.0f;
  if (CircleThrough3(xs[0], ys[0], xs[1], ys[1], xs[3], ys[3], cx, cy))
    return std::fabs(Hypot2(xs[2] - cx, ys[2] - cy) - Hypot2(xs[0] - cx, ys[0] - cy));
  // Collinear: the remainder of P2 − P0 after its projection onto P1 − P0.
  const float dx = xs[1] - xs[0], dy = ys[1] - ys[0];
  const float wx = xs[2] - xs[0], wy = ys[2] - ys[0];
  const float s = (wx * dx + wy * dy) / (dx * dx + dy * dy);
  return Hypot2(wx - s * dx, wy - s * dy);
}
