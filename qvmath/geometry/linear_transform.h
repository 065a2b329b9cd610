// SPDX-License-Identifier: MIT
// RElinearTransform: the affine map x → m·x + t with a 3×3 matrix and a translation, its
// shared constants, the rigid-map inverse and the general inverse through LAPACK.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/core/rotation_matrix.h>
#include <qvmath/platform/export.h>

/// The affine map x → m·x + t (column-vector convention: component i of the image is row i
/// of m dotted with x, plus t[i]). Plain value type: `m` (nine doubles, row-major) followed
/// by `t` (three doubles); copies copy all twelve doubles.
///
/// A default-constructed transform is the identity map.
/// Thread safety: re-entrant; the shared constants `Identity()` and `Zero()` are
/// function-local statics whose first use is made thread-safe by the language.
struct QVMATH_API RElinearTransform {
  /// The linear part, `m.m[row][col]`.
  CRotationMatrix m;
  /// The translation.
  double t[3];

  /// The identity map: matrix from `Identity()`, translation (0, 0, 0).
  RElinearTransform();
  /// Matrix a (read `a[row][col]`) and translation t[0..2].
  RElinearTransform(double const (&a)[3][3], const double* t);
  /// Matrix rot and translation (tr.x, tr.y, tr.z).
  RElinearTransform(const CRotationMatrix& rot, const REmath::Point3D_d& tr);
  RElinearTransform(const RElinearTransform& other) = default;
  RElinearTransform& operator=(const RElinearTransform& other) = default;

  /// The inverse of a rigid map: matrix transpose(m), translation −transpose(m)·t
  /// (t'[i] = −Σk m[k][i]·t[k]). Exact only when m is orthogonal; no check is made.
  RElinearTransform getInvertedOrtho() const;
  /// Replaces this by `getInvertedOrtho()`.
  void invertOrtho();
  /// True iff composing `getInvertedOrtho()` after this gives the identity map: each of the
  /// nine matrix entries and three translation entries of the composition equals the
  /// identity's within |a − b| ≤ 1.1920928955078125e-7·max(1, |a| + |b|). So any rotation
  /// or reflection passes, with any translation; a scaled matrix fails.
  bool isOrtho() const;

  /// Maps the point p: m·p + t.
  REmath::Point3D_d apply(const REmath::Point3D_d& p) const;

  /// The shared identity map, built on first use.
  static const RElinearTransform& Identity();
  /// The shared zero map (zero matrix, zero translation), built on first use.
  static const RElinearTransform& Zero();
};

/// General inverse of the affine map tr: out.m := inverse of tr.m (`invertMatrix`), then
/// out.t := −(out.m·tr.t).
/// @param[in] tr the map to invert.
/// @param[out] out its inverse; may be the same object as tr.
/// @return true on success; false when tr.m is singular (LAPACK reports a non-zero status);
///         out is then untouched.
QVMATH_API bool invertTransform(const RElinearTransform& tr, RElinearTransform& out);
