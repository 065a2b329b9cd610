// SPDX-License-Identifier: MIT
// The incremental covariance plane fitter: batch statistics merged into (and taken out of)
// a running mean and scatter matrix.
#include <qvmath/analysis/detail/scatter3.h>
#include <qvmath/analysis/plane_appoximator.h>

#include <cmath>
#include <new>

namespace REmath {
namespace {

// std::bad_alloc with the text that callers of the factory match on.
class UnsupportedConstraint : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "bad allocation"; }
};

// Mean and scatter (upper triangle xx xy xz yy yz zz) of one batch, two passes: the mean
// about the batch's first point, then the products about that mean.
void BatchStatistics(const ICoord3DRefs& pts, unsigned k, double mean[3], double S[6]) {
  const float* q = pts.GetPointCoords(0);
  const double q0 = q[0], q1 = q[1], q2 = q[2];
  double s0 = 0, s1 = 0, s2 = 0;
  for (unsigned i = 1; i < k; ++i) {
    const float* p = pts.GetPointCoords(i);
    s0 += double(p[0]) - q0;
    s1 += double(p[1]) - q1;
    s2 += double(p[2]) - q2;
  }
  mean[0] = q0 + s0 / double(k);
  mean[1] = q1 + s1 / double(k);
  mean[2] = q2 + s2 / double(k);
  for (int j = 0; j < 6; ++j) S[j] = 0;
  for (unsigned i = 0; i < k; ++i) {
    const float* p = pts.GetPointCoords(i);
    const double dx = double(p[0]) - mean[0];
    const double dy = double(p[1]) - mean[1];
    const double dz = double(p[2]) - mean[2];
    S[0] += dx * dx, S[1] += dx * dy, S[2] += dx * dz;
    S[3] += dy * dy, S[4] += dy * dz, S[5] += dz * dz;
  }
}

// The unconstrained fitter. It keeps the mean of the points rather than their raw sum, and
// the scatter about that mean: merging and removing batches by the pairwise (Chan–Golub–
// LeVeque) formulas, with each batch's own statistics taken about its mean, involves only
// differences of means and centred products. Raw sums Σp and Σppᵀ would cancel
// catastrophically for scans far from the origin (a cloud near 1e6 with millimetre spread
// loses all digits of the scatter in Σppᵀ − n·mmᵀ).
class CCovariancePlaneAppoximator final : public IPlaneAppoximator {
 public:
  void CalcPlane(CPlaneEquation& plane) const override;
  void UpdatePoints(const ICoord3DRefs& points, const ICoord3DRefs* normals, int sign) override;

 private:
  void ResetSums() {
    for (int i = 0; i < 3; ++i) m_mean[i] = m_normalSum[i] = 0;
    for (double& s : m_scatter) s = 0;
  }

  int m_count = 0;
  double m_mean[3] = {0, 0, 0};
  double m_normalSum[3] = {0, 0, 0};
  double m_scatter[6] = {0, 0, 0, 0, 0, 0};  // xx xy xz yy yz zz
};

void CCovariancePlaneAppoximator::UpdatePoints(const ICoord3DRefs& points,
                                               const ICoord3DRefs* normals, int sign) {
  if (sign == 0) return;
  const double s = sign > 0 ? 1.0 : -1.0;
  if (normals) {
    const unsigned kn = normals->GetPointCount();
    for (unsigned i = 0; i < kn; ++i) {
      const float* v = normals->GetPointCoords(i);
      for (int j = 0; j < 3; ++j) m_normalSum[j] += s * double(v[j]);
    }
  }
  const unsigned k = points.GetPointCount();
  if (k == 0) return;
  const int before = m_count;
  m_count = sign > 0 ? before + int(k) : before - int(k);
  if (m_count <= 0) {
    // Emptied (or over-emptied by a caller error): exactly zero, whatever rounding
    // the updates left behind.
    ResetSums();
    return;
  }
  double mb[3], Sb[6];
  BatchStatistics(points, k, mb, Sb);
  if (before <= 0) {
    // The sums were zero: the batch is the whole set.
    for (int j = 0; j < 3; ++j) m_mean[j] = mb[j];
    for (int j = 0; j < 6; ++j) m_scatter[j] = Sb[j];
    return;
  }
  // Adding B (k points) to A (before points), n = before + k:
  //   m = mA + δ·k/n,  S = SA + SB + δδᵀ·before·k/n,  δ = mB − mA.
  // Removing B from the current set (before points), n = before − k, δ = mB − m:
  //   mA = m − δ·k/n,  SA = S − SB − δδᵀ·before·k/n.
  const double n = double(m_count), kd = double(k), nb = double(before);
  const double d[3] = {mb[0] - m_mean[0], mb[1] - m_mean[1], mb[2] - m_mean[2]};
  const double f = nb * kd / n;
  const double dd[6] = {d[0] * d[0], d[0] * d[1], d[0] * d[2],
                        d[1] * d[1], d[1] * d[2], d[2] * d[2]};
  for (int j = 0; j < 3; ++j) m_mean[j] += s * (d[j] * (kd / n));
  for (int j = 0; j < 6; ++j) m_scatter[j] += s * (Sb[j] + dd[j] * f);
}

void CCovariancePlaneAppoximator::CalcPlane(CPlaneEquation& plane) const {
  plane.Clear();
  if (m_count < 3) return;
  const double* S = m_scatter;
  double a[3][3] = {{S[0], S[1], S[2]}, {S[1], S[3], S[4]}, {S[2], S[4], S[5]}};
  double* work[3] = {a[0], a[1], a[2]};
  double ev[3];
  if (!detail::DiagonaliseSym3(work, ev)) return;
  int k = 0;  // first minimum wins: later indices replace only on strictly smaller
  for (int i = 1; i < 3; ++i) {
    if (ev[i] < ev[k]) k = i;
  }
  double n[3] = {a[0][k], a[1][k], a[2][k]};
  const double len2 = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
  // The eigenvectors come out orthonormal; a much shorter column means the iteration broke
  // down, and such a vector is no normal.
  if (!(len2 >= 9.999999999999998e-15)) return;
  const double inv = 1.0 / std::sqrt(len2);
  for (double& v : n) v *= inv;
  if (n[0] * m_normalSum[0] + n[1] * m_normalSum[1] + n[2] * m_normalSum[2] < 0) {
    for (double& v : n) v = -v;
  }
  const double w = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  // d = −(n·Σp)/count, with the mean held in place of the raw sum.
  const double d = -(n[0] * m_mean[0] + n[1] * m_mean[1] + n[2] * m_mean[2]);
  plane.SetPlane(n, d, w);
}

}  // namespace

IPlaneAppoximator::~IPlaneAppoximator() = default;

void IPlaneAppoximator::AddPoints(const ICoord3DRefs& points, const ICoord3DRefs* normals) {
  UpdatePoints(points, normals, +1);
}

void IPlaneAppoximator::RemovePoints(const ICoord3DRefs& points, const ICoord3DRefs* normals) {
  UpdatePoints(points, normals, -1);
}

IPlaneAppoximator* IPlaneAppoximator::CreateByConstraint(PlaneFitConstraintType type) {
  if (type != PLANE_FIT_UNCONSTRAINED) throw UnsupportedConstraint();
  return new CCovariancePlaneAppoximator();
}

}  // namespace REmath
