// SPDX-License-Identifier: MIT
// REmath::CProjectorTriangle: squared distances from points to one triangle, fast after a
// one-time precalculation of a local frame in which the triangle lies in the plane z = 0.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/geometry/linear_transform.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// Squared distances from points to the triangle A, B, C, for many queries against one
/// triangle.
///
/// `PreCalc` builds a local frame (an `RElinearTransform`): origin at A, x along AB, z along
/// the normal AB × AC, y = z × x, so that the triangle lies in z = 0 with B on the positive
/// x axis and C above it (y > 0). It caches the local vertices, the three squared side
/// lengths |AB|², |BC|², |CA|² (double), their reciprocals and the local edge vectors (from
/// which the in-plane outward edge normals follow). A query then needs one transform and a
/// few in-plane operations without branches: z² inside, z² plus the squared in-plane
/// distance to the nearest edge outside. The value equals the squared distance of
/// `distancePointTriangle2` up to float rounding. The object is about 340 bytes: it pays
/// where one triangle answers many queries.
/// A degenerate triangle (zero area: collinear or coincident vertices) is handled too: its
/// frame has x along the longer of AB and AC, and the distance is that to its three edges
/// as segments (where `distancePointTriangle2` is unspecified).
///
/// Plain value class, not polymorphic; copies copy everything, the precalculated flag
/// included. Changing the vertices clears the flag. Thread safety: `DistToTriangle2` may
/// precalculate and so writes the object; `DistToTriangle2Precalced` only reads it.
class QVMATH_API CProjectorTriangle {
 public:
  /// Vertices (0, 0, 0), not precalculated, frame the identity map.
  CProjectorTriangle();
  /// Vertices a, b, c; not precalculated.
  CProjectorTriangle(const Point3D& a, const Point3D& b, const Point3D& c);
  CProjectorTriangle(const CProjectorTriangle& other) = default;
  CProjectorTriangle& operator=(const CProjectorTriangle& other) = default;

  /// Sets the vertices to a, b, c and clears the precalculated flag (the cached values stay
  /// until the next `PreCalc`).
  void SetTriangle(const Point3D& a, const Point3D& b, const Point3D& c);
  /// Vertex k (0: A, 1: B, 2: C); k is not range-checked.
  const Point3D& GetVertex(int k) const { return m_v[k]; }
  /// Whether the cached values belong to the current vertices.
  bool IsPreCalced() const { return m_precalced; }
  /// The local frame of the last `PreCalc` (world → local).
  const RElinearTransform& GetFrame() const { return m_frame; }

  /// Computes the local frame and the cached values from the vertices (in double) and sets
  /// the precalculated flag.
  void PreCalc();
  /// Squared distance from p (three floats) to the triangle: runs `PreCalc` first when the
  /// flag is clear, then `DistToTriangle2Precalced`.
  float DistToTriangle2(const float* p);
  /// Squared distance from p (three floats) to the triangle from the cached values only
  /// (stale ones if the vertices changed since the last `PreCalc`; before any `PreCalc`,
  /// the values of the all-zero triangle: |p|²).
  /// The local coordinates x, y, z of p are rounded to float. Inside test with the three
  /// outward edge normals: when the signed distances to AB, CA and BC are all ≤ 0 the result
  /// is z²; otherwise z² plus the least clamped squared distance from (x, y) to the three
  /// edges. Edge distances in double (from the cached edge vectors and the reciprocals of
  /// the cached squared lengths), without branches; result rounded to float.
  float DistToTriangle2Precalced(const float* p) const;
  /// The portable body of `DistToTriangle2Precalced`: the same operations one at a time, so
  /// the same bits. `DistToTriangle2Precalced` runs two of them per SSE2 instruction where
  /// the target has SSE2, and this body elsewhere; hosts may use it to check that path.
  float DistToTriangle2PrecalcedScalar(const float* p) const;
  /// The largest of the three cached squared side lengths (0 before any `PreCalc`).
  double GetMaxSideLen2() const;

 private:
  Point3D m_v[3];
  bool m_precalced;
  RElinearTransform m_frame;
  double m_side2[3];  ///< |AB|², |BC|², |CA|²
  // Query caches, set by PreCalc, as lane pairs for two-wide double arithmetic.
  double m_xyRows[4][2];   ///< (m[0][k], m[1][k]) for k = 0, 1, 2, then (t[0], t[1])
  double m_edgeOrg[2][2];  ///< starts of the edges AC and BC in the frame: x (0, bx), y (0, by)
  double m_edgeDir[2][2];  ///< their vectors: x (cx, cx − bx), y (cy, cy − by)
  double m_edgeInv[2];     ///< 1/|CA|², 1/|BC|² (0 for a zero side)
  double m_invAB;          ///< 1/|AB|² (0 for a zero side)
  double m_bx, m_by;       ///< B in the frame: (m_bx, 0) unless the triangle is degenerate
  double m_outside;        ///< 0, or +inf for a degenerate triangle (nothing is inside it)
};

}  // namespace REmath
