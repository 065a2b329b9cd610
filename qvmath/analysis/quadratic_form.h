// SPDX-License-Identifier: MIT
// CQuadraticForm: the quadric f(p) = pᵀ·A·p + b·p + c in three variables, and its flat
// coefficient records CQuadFormRaw9 / CQuadFormRaw10.
#pragma once

#include <qvmath/analysis/ortho_norm_basis.h>
#include <qvmath/core/point3d.h>
#include <qvmath/geometry/rotation_matrix.h>
#include <qvmath/platform/export.h>

/// Nine quadric coefficients KXX, KXY, KXZ, KYY, KYZ, KZZ, KX, KY, KZ (no free term), in
/// this order. Plain record; T is float or double.
template <class T>
struct CQuadFormRaw9 {
  T KXX, KXY, KXZ, KYY, KYZ, KZZ, KX, KY, KZ;
};

/// The nine coefficients of `CQuadFormRaw9` followed by the free term K. Plain record; T
/// is float or double.
template <class T>
struct CQuadFormRaw10 {
  T KXX, KXY, KXZ, KYY, KYZ, KZZ, KX, KY, KZ, K;
};

/// The quadric f(p) = pᵀ·A·p + b·p + c, i.e.
/// f = KXX·x² + KYY·y² + KZZ·z² + KXY·xy + KXZ·xz + KYZ·yz + KX·x + KY·y + KZ·z + K.
/// A (a `CRotationMatrix` used as a general 3×3 matrix, row-major) is kept symmetric: each
/// off-diagonal pair holds half of its mixed coefficient. b = (KX, KY, KZ), c = K.
/// A default-constructed form is x² + y² + z² (A = identity, b = 0, c = 0): deliberate.
/// Plain value type; thread safety: re-entrant.
class QVMATH_API CQuadraticForm {
 public:
  /// Result codes of `calculateZByXY`.
  enum CalcZResult {
    CZR_NoSolution = 0,  ///< no z solves f = 0
    CZR_AnyZ = 1,        ///< every z solves f = 0
    CZR_OneRoot = 2,     ///< one root, in z1
    CZR_TwoRoots = 6     ///< two roots, z1 and z2
  };

  /// x² + y² + z².
  CQuadraticForm();
  CQuadraticForm(const CQuadraticForm& other) = default;
  CQuadraticForm& operator=(const CQuadraticForm& other) = default;

  /// The form with these coefficients, in exactly this argument order: a00 = KXX,
  /// a11 = KYY, a22 = KZZ, a01 = a10 = KXY/2, a02 = a20 = KXZ/2, a12 = a21 = KYZ/2,
  /// b = (KX, KY, KZ), c = K.
  static CQuadraticForm buildFromCoefficients(double KXX, double KYY, double KZZ, double KXY,
                                              double KXZ, double KYZ, double KX, double KY,
                                              double KZ, double K);
  /// `buildFromCoefficients` from the first min(n, 10) values of coeffs, in its argument
  /// order; missing values are 0 (n < 1 gives the zero form). T is float or double.
  template <class T>
  static CQuadraticForm buildFromCoeffArray(int n, const T* coeffs) {
    double c[10] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < n && i < 10; ++i) c[i] = double(coeffs[i]);
    return buildFromCoefficients(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], c[8], c[9]);
  }

  /// The quadratic term A, symmetric.
  const CRotationMatrix& GetQuadaricTerm() const { return m_A; }
  CRotationMatrix& GetQuadaricTerm() { return m_A; }
  /// The linear term (KX, KY, KZ).
  const REmath::Point3D_d& GetLinearTerm() const { return m_b; }
  REmath::Point3D_d& GetLinearTerm() { return m_b; }
  /// The free term K.
  double getK() const { return m_c; }
  double& getK() { return m_c; }

  double getKXX() const { return m_A.m[0][0]; }
  double getKYY() const { return m_A.m[1][1]; }
  double getKZZ() const { return m_A.m[2][2]; }
  /// a01 + a10 (likewise `getKXZ`, `getKYZ`).
  double getKXY() const { return m_A.m[0][1] + m_A.m[1][0]; }
  double getKXZ() const { return m_A.m[0][2] + m_A.m[2][0]; }
  double getKYZ() const { return m_A.m[1][2] + m_A.m[2][1]; }
  double getKX() const { return m_b.x(); }
  double getKY() const { return m_b.y(); }
  double getKZ() const { return m_b.z(); }

  /// Zeroes raw, then writes KXX, KXY, KXZ, KYY, KYZ, KZZ, KX, KY, KZ (mixed terms summed
  /// from the symmetric halves); the record has no free term. T is float or double.
  template <class T>
  void ConvertToRawFormat(CQuadFormRaw9<T>& raw) const {
    raw = CQuadFormRaw9<T>{};
    raw.KXX = T(getKXX()), raw.KXY = T(getKXY()), raw.KXZ = T(getKXZ());
    raw.KYY = T(getKYY()), raw.KYZ = T(getKYZ()), raw.KZZ = T(getKZZ());
    raw.KX = T(getKX()), raw.KY = T(getKY()), raw.KZ = T(getKZ());
  }
  /// The same nine values, then K. T is float or double.
  template <class T>
  void ConvertToRawFormat(CQuadFormRaw10<T>& raw) const {
    raw = CQuadFormRaw10<T>{};
    raw.KXX = T(getKXX()), raw.KXY = T(getKXY()), raw.KXZ = T(getKXZ());
    raw.KYY = T(getKYY()), raw.KYZ = T(getKYZ()), raw.KZZ = T(getKZZ());
    raw.KX = T(getKX()), raw.KY = T(getKY()), raw.KZ = T(getKZ());
    raw.K = T(m_c);
  }

  /// f(p) = p·(A·p) + b·p + c.
  double eval(const REmath::Point3D_d& p) const;
  /// ∇f(p) = 2·A·p + b.
  REmath::Point3D_d evalGradient(const REmath::Point3D_d& p) const;

  /// Rewrites the form in place in the local coordinates q of basis (p = R·q + o, R the
  /// back matrix, o the origin): A' = Rᵀ·A·R, b' = Rᵀ·(b + 2·A·o), c' = c + b·o + oᵀ·A·o;
  /// A' is then made exactly symmetric as (A' + A'ᵀ)/2.
  void transformToBasis(const COrthoNormBasis& basis);
  /// `transformToBasis` on a copy.
  CQuadraticForm getTransformedToBasis(const COrthoNormBasis& basis) const;

  /// Solves f(x, y, z) = 0 for z. With a = a22, β = (a02+a20)·x + (a12+a21)·y + KZ and γ
  /// the rest (the value at z = 0):
  /// a = 0: β ≠ 0 → z1 = −γ/β, `CZR_OneRoot` (z2 untouched); β = γ = 0 → `CZR_AnyZ`;
  /// β = 0 ≠ γ → `CZR_NoSolution`.
  /// a ≠ 0: d = β² − 4aγ < 0 → `CZR_NoSolution`; otherwise z1 = (√d − β)/(2a),
  /// z2 = (−β − √d)/(2a), swapped if |z2| < |z1|, `CZR_TwoRoots`.
  /// The zero tests are |0 − v| ≤ (|v| + 0)·ε (ε the double epsilon), kept as they stand:
  /// they hold only for an exact zero. Outputs not named in a case are untouched.
  CalcZResult calculateZByXY(double x, double y, double& z1, double& z2) const;
  /// `calculateZByXY`; with two roots, they are swapped when dir·g1 < dir·g2 (g1, g2 the
  /// unit gradients at the roots, dir taken as a unit vector), so that z1 is the root whose
  /// surface normal points more along dir. Returns the code of `calculateZByXY`.
  CalcZResult calculateZByXYSortedByGrad(double x, double y, double& z1, double& z2,
                                         const REmath::Point3D_d& dir) const;

 private:
  CRotationMatrix m_A;
  REmath::Point3D_d m_b;
  double m_c;
  // Tolerance of approximate evaluations; no routine of the form reads it at present.
  static const double m_sEvalError;
};
