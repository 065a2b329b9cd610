// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/circumscribe_circle.h>

#include <cmath>

namespace {

// The missing-radius sentinel of the geometry kernel, a float also where a double is
// returned, so that callers of either overload compare against the same value.
constexpr float kMissingRadius = 6.66e19f;

using REmath::detail::Dot3;

// The circumcentre in barycentric form: the weight of each vertex is the squared length of
// the opposite side times the dot product of the two sides at that vertex (that is, a²·cos
// scaled by the side products). Real = float rounds every step to float.
template <class Real, class Pt>
bool Circumscribe(const Pt* tri, Pt& centre, Real& radius) {
  radius = Real(kMissingRadius);
  const Real* A = tri[0].asArray();
  const Real* B = tri[1].asArray();
  const Real* C = tri[2].asArray();
  Real ab[3], ac[3], bc[3];  // B − A, C − A, C − B
  for (int k = 0; k < 3; ++k) {
    ab[k] = B[k] - A[k];
    ac[k] = C[k] - A[k];
    bc[k] = C[k] - B[k];
  }
  const Real lab = Dot3(ab, ab), lac = Dot3(ac, ac), lbc = Dot3(bc, bc);
  // (C − B)·(A − B) = −(bc·ab) and (B − C)·(A − C) = bc·ac: negation is exact, so these
  // round exactly as the products of the differences taken the other way.
  const Real wa = lbc * Dot3(ab, ac);
  const Real wb = lac * -Dot3(bc, ab);
  const Real wc = lab * Dot3(bc, ac);
  const Real s = wa + wb + wc;
  const Real as = std::fabs(s);
  if (Real(1e-6) * (lab * lab) > as) return false;
  const Real kFar = Real(0.001);
  if (std::fabs(kFar * wa) >= as || std::fabs(kFar * wb) >= as || std::fabs(kFar * wc) >= as)
    return false;
  const Real ba = wa / s, bb = wb / s, bcw = wc / s;
  Real c[3], d2 = 0;
  for (int k = 0; k < 3; ++k) {
    c[k] = ba * A[k] + bb * B[k] + bcw * C[k];
    const Real d = c[k] - A[k];
    d2 += d * d;
  }
  centre = Pt(c[0], c[1], c[2]);
  radius = std::sqrt(d2);
  return true;
}

template <class Real, class Pt>
bool CircumscribeArrays(const Real* a, const Real* b, const Real* c, Real* centre, Real& radius) {
  const Pt tri[3] = {Pt(a), Pt(b), Pt(c)};
  Pt m;
  if (!Circumscribe<Real>(tri, m, radius)) return false;
  m.toArray(centre);
  return true;
}

}  // namespace

bool CircumscribeCircle(const REmath::Point3D* const tri, REmath::Point3D& centre, float& radius) {
  return Circumscribe<float>(tri, centre, radius);
}

bool CircumscribeCircle(const REmath::Point3D_d* const tri, REmath::Point3D_d& centre,
                        double& radius) {
  return Circumscribe<double>(tri, centre, radius);
}

bool CircumscribeCircle(const float* a, const float* b, const float* c, float* centre,
                        float& radius) {
  return CircumscribeArrays<float, REmath::Point3D>(a, b, c, centre, radius);
}

bool CircumscribeCircle(const double* a, const double* b, const double* c, double* centre,
                        double& radius) {
  return CircumscribeArrays<double, REmath::Point3D_d>(a, b, c, centre, radius);
}
