// SPDX-License-Identifier: MIT
// CPlaneEquation: a plane n·p + d = 0 with the validity weight of the fit that produced it.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// A plane n·p + d = 0 as five doubles in this order: the normal n (3), the free term d and
/// a validity weight w, the length of the normal as the fit computed it.
/// A cleared plane has n = 0, d = 0 and w = −1; it is valid exactly when w > 0 (so a NaN
/// weight is invalid). Plain value type: copyable, non-virtual destructor.
/// Note the sign: `FitPlaneToPointSet` writes a·x + b·y + c·z = e, whose e is −d here.
class QVMATH_API CPlaneEquation {
 public:
  static const int DIM = 3;
  static const int COEFF_SIZE = 4;
  static const int FREE_TERM_OFFSET = 3;

  /// A cleared plane: n = 0, d = 0, w = −1.
  CPlaneEquation() { Clear(); }

  /// Resets to n = 0, d = 0, w = −1 (invalid).
  void Clear() {
    for (double& c : m_coeff) c = 0;
    m_weight = -1;
  }
  /// True exactly when the weight is > 0 (false for NaN).
  bool IsValid() const { return m_weight > 0; }

  /// The normal n, three doubles; the four coefficients (n, d) are contiguous from here.
  const double* NormalDir() const { return m_coeff; }
  /// The free term d of n·p + d = 0.
  double FreeTerm() const { return m_coeff[FREE_TERM_OFFSET]; }
  /// Writes the free term d.
  void SetFreeTerm(double d) { m_coeff[FREE_TERM_OFFSET] = d; }
  /// The validity weight w (−1 when cleared).
  double Weight() const { return m_weight; }
  /// Writes the whole plane: normal (three doubles, used as given), free term and weight.
  void SetPlane(const double* normal, double freeTerm, double weight) {
    for (int i = 0; i < DIM; ++i) m_coeff[i] = normal[i];
    m_coeff[FREE_TERM_OFFSET] = freeTerm;
    m_weight = weight;
  }

 private:
  double m_coeff[COEFF_SIZE];
  double m_weight;
};

}  // namespace REmath
