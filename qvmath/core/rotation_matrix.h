// SPDX-License-Identifier: MIT
// CRotationMatrix: the library's fixed 3×3 matrix of doubles (row-major), its
// shared constants, and the general 3×3 inverse through LAPACK.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// A 3×3 matrix of doubles stored row by row: `m[row][col]`. Despite the name it holds any
/// 3×3 matrix (quadratic-form terms, scatter matrices for eigen-decomposition, general
/// linear maps), not only rotations. Plain value type: no base, no virtual operations;
/// copies copy all nine entries.
///
/// A default-constructed matrix is the identity, not zero.
/// Thread safety: re-entrant; the shared constants `Identity()` and `Zero()` are
/// function-local statics whose first use is made thread-safe by the language.
class QVMATH_API CRotationMatrix {
 public:
  /// The entries, `m[row][col]`, row-major (contiguous nine doubles).
  double m[3][3];

  /// The identity (a copy of `Identity()`).
  CRotationMatrix();
  /// Copies the nine entries of a, read as `a[row][col]`.
  explicit CRotationMatrix(double const (&a)[3][3]);
  CRotationMatrix(const CRotationMatrix& other) = default;
  CRotationMatrix& operator=(const CRotationMatrix& other) = default;

  /// Writes row i from (v.x, v.y, v.z). i is not range-checked.
  void setRow(int i, const REmath::Point3D_d& v);
  /// Writes column j from (v.x, v.y, v.z). j is not range-checked.
  void setColumn(int j, const REmath::Point3D_d& v);
  /// @return row i as a point. i is not range-checked.
  REmath::Point3D_d getRow(int i) const;
  /// @return column j as a point. j is not range-checked.
  REmath::Point3D_d getColumn(int j) const;

  /// True iff for every pair i < j: |m[i][j] − m[j][i]| ≤ (|m[i][j]| + |m[j][i]|)·ε with the
  /// double epsilon 2.220446049250313e-16, relative with no absolute floor (so a pair of
  /// tiny unequal values fails, and exactly equal pairs, zeros included, pass).
  bool isSelfAdjoint() const;
  /// The same test as `isSelfAdjoint` with the single-precision epsilon
  /// 1.1920928955078125e-7.
  bool isSelfAdjointAsFloats() const;

  /// Entry-wise sum; the argument is taken by value (aliasing `*this` is safe).
  CRotationMatrix& operator+=(CRotationMatrix other);
  /// Entry-wise sum as a new matrix.
  CRotationMatrix operator+(CRotationMatrix other) const;
  /// Multiplies every entry by s.
  CRotationMatrix& operator*=(double s);
  /// Every entry times s, as a new matrix.
  CRotationMatrix operator*(double s) const;
  /// Every entry divided by s (a true division, no zero check: s = 0 gives infinities or
  /// NaNs as the arithmetic does).
  CRotationMatrix operator/(double s) const;

  /// Transposes in place.
  void transpose();
  /// @return the transpose.
  CRotationMatrix getTransposed() const;

  /// @return the matrix with rows r0, r1, r2.
  static CRotationMatrix buildFromRows(const REmath::Point3D_d& r0, const REmath::Point3D_d& r1,
                                       const REmath::Point3D_d& r2);
  /// @return the matrix with columns c0, c1, c2.
  static CRotationMatrix buildFromColumns(const REmath::Point3D_d& c0, const REmath::Point3D_d& c1,
                                          const REmath::Point3D_d& c2);

  /// The shared 3×3 identity, built on first use.
  static const CRotationMatrix& Identity();
  /// The shared all-zero matrix, built on first use.
  static const CRotationMatrix& Zero();
};

/// General inverse of the 3×3 matrix a, written to out: LU factorisation with partial
/// pivoting (LAPACK `dgetrf`) and inversion from the factors (`dgetri`).
/// @param[in] a the matrix to invert.
/// @param[out] out its inverse; may be the same object as a.
/// @return true on success; false if either LAPACK routine reports a non-zero status
///         (an exactly singular matrix included); out is then untouched.
QVMATH_API bool invertMatrix(const CRotationMatrix& a, CRotationMatrix& out);
