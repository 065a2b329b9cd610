// SPDX-License-Identifier: MIT
// Point-to-segment squared distances in 3-D (with foot point, clamped parameter and region
// code) and in 2-D (with its own region numbering).
#pragma once

#include <qvmath/platform/export.h>

/// Squared distance from p to the segment from a to b, with the foot point and the region
/// code of the closest feature.
///
/// Rule: with d = b − a, L = |d|², w = p − a and t = (d·w)/L:
/// - L = 0 (degenerate segment): foot = a, region 0, result |w|²;
/// - 0 < t < 1 (both strict): foot = a + t·d, region 0, result |w − t·d|²;
/// - otherwise the nearer end by comparing |p − b|² with |p − a|² (not by the sign of t);
///   a tie goes to b: region 2, foot = b; else region 1, foot = a.
/// Region codes: 0 interior (also the degenerate segment), 1 end a, 2 end b.
/// Every overload of this family follows the same steps and returns the same value; the
/// float overloads compute in float, the double ones and the mixed ones (float p, double
/// ends) in double.
/// @param[out] foot three components, always written (not null).
/// @param[out] region the region code, always written.
QVMATH_API float DistancePoint2Segment(const float* p, const float* a, const float* b, float* foot,
                                       int& region);
QVMATH_API double DistancePoint2Segment(const double* p, const double* a, const double* b,
                                        double* foot, int& region);

/// Squared distance from p to the segment ab (the rule of the region-reporting overload).
QVMATH_API float DistancePoint2Segment(const float* p, const float* a, const float* b);
QVMATH_API double DistancePoint2Segment(const double* p, const double* a, const double* b);
QVMATH_API double DistancePoint2Segment(const float* p, const double* a, const double* b);

/// Squared distance from p to the segment ab and the clamped line parameter t of the foot
/// (foot = a + t·d): t in (0, 1) in the interior, 0 at a (also for a degenerate segment),
/// 1 at b; ties between the ends go to b (t = 1).
QVMATH_API float DistancePoint2Segment(const float* p, const float* a, const float* b, float& t);
QVMATH_API double DistancePoint2Segment(const double* p, const double* a, const double* b,
                                        double& t);
QVMATH_API double DistancePoint2Segment(const float* p, const double* a, const double* b,
                                        double& t);

/// Squared distance from p to the segment ab and the foot point (three components, not
/// null), by the rule of the region-reporting overload.
QVMATH_API float DistancePoint2Segment(const float* p, const float* a, const float* b, float* foot);
QVMATH_API double DistancePoint2Segment(const double* p, const double* a, const double* b,
                                        double* foot);

/// Squared distance from p to the segment ab with both the clamped parameter t and the foot
/// point (three components, not null).
QVMATH_API float DistancePoint2Segment(const float* p, const float* a, const float* b, float& t,
                                       float* foot);
QVMATH_API double DistancePoint2Segment(const double* p, const double* a, const double* b,
                                        double& t, double* foot);
QVMATH_API double DistancePoint2Segment(const float* p, const double* a, const double* b, double& t,
                                        double* foot);

/// Squared distance from the 2-D point p to the 2-D segment ab (two coordinates each).
///
/// The 3-D rule with a different region numbering, kept deliberately:
/// - degenerate segment: t = 0, region 0, foot = a;
/// - interior (0 < t < 1, strict): t, region −1, foot = a + t·(b − a);
/// - |p − b|² ≤ |p − a|² (a tie goes to b): t = 1, region 1, foot = b;
/// - otherwise t = 0, region 0, foot = a.
/// The float overload computes in float, the double one in double.
/// @param[out] t the clamped parameter, always written.
/// @param[out] region written only when not null.
/// @param[out] foot two components, written only when not null.
QVMATH_API float DistancePoint2Segment2D(const float* p, const float* a, const float* b, float& t,
                                         int* region = nullptr, float* foot = nullptr);
QVMATH_API double DistancePoint2Segment2D(const double* p, const double* a, const double* b,
                                          double& t, int* region = nullptr, double* foot = nullptr);
