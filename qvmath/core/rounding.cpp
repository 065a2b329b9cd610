// SPDX-License-Identifier: MIT
#include <qvmath/core/rounding.h>

#include <climits>
#include <cmath>
#include <stdexcept>

namespace {

// Nearest integral double, ties upward: round to nearest even first (the processor's default
// mode), then move an exact upper tie up. Kept in double so that large mantissas of
// fRoundN cannot overflow an int.
double RoundHalfUp(double x) {
  const double i = std::nearbyint(x);
  return (i + 0.5 == x) ? i + 1.0 : i;
}

// Multiplies x by 10 (up) or 0.1 (down) n times, eight digits at a time by 1e8 or 1e-8.
double ScaleInBlocks(double x, int n, bool up) {
  for (; n >= 8; n -= 8) x *= up ? 100000000.0 : 0.00000001;
  for (; n > 0; --n) x *= up ? 10.0 : 0.1;
  return x;
}

struct BoundaryRow {
  double limit, bound, step;
  int kind;
};

// The mantissa table of roundBoundary; the last row catches everything above 8.
constexpr BoundaryRow kBoundaryRows[] = {
    {1.2, 1.2, 0.2, 2}, {1.4, 1.4, 0.2, 1}, {1.5, 1.5, 0.5, 5}, {2.5, 2.5, 0.5, 5},
    {3.0, 3.0, 1.0, 2}, {4.0, 4.0, 1.0, 2}, {5.0, 5.0, 1.0, 2}, {6.0, 6.0, 1.0, 2},
    {7.0, 7.0, 1.0, 2}, {8.0, 8.0, 1.0, 2},
};
constexpr BoundaryRow kLastRow = {0.0, 10.0, 5.0, 5};

constexpr int kMaxSignificantDigits = 16;

}  // namespace

int rndtoni(double x) {
  const double r = RoundHalfUp(x);
  // NaN fails both comparisons.
  if (!(r >= double(INT_MIN) && r <= double(INT_MAX))) return INT_MIN;
  return static_cast<int>(r);
}

void mulrnd(double f, int* v) {
  const double r = RoundHalfUp(*v * f);
  if (std::isnan(r)) return;
  // Saturate rather than wrap: a scaled size or pixel count must not change sign.
  *v = r >= double(INT_MAX) ? INT_MAX : r <= double(INT_MIN) ? INT_MIN : static_cast<int>(r);
}

// Rounded in double with the tie rule of rndtoni: within the int range this is exactly
// rndtoni(x·100)·0.01, beyond it the value is not clipped, and NaN and infinities pass.
double fRound2(double x) { return RoundHalfUp(x * 100.0) * 0.01; }

double fRoundN(double x, int n) {
  if (!std::isfinite(x)) return x;
  if (std::fabs(x) < 1e-30) return 0.0;
  if (n < 0) n = 0;
  // 17 significant digits are all a double holds: from n = 16 on the scaled mantissa
  // exceeds 2^53, is already integral, and rounding removes nothing.
  if (n >= kMaxSignificantDigits) return x;
  const double s = x < 0 ? -1.0 : 1.0;
  double m = std::fabs(x);
  double q = 1.0;
  while (m >= 10.0) m *= 0.1, q *= 10.0;
  while (m < 1.0) m *= 10.0, q *= 0.1;
  m = ScaleInBlocks(m, n, true);
  const double r = RoundHalfUp(m);
  const double result = ScaleInBlocks(r * s * q, n, false);
  if (std::isfinite(result)) return result;
  // r·q overflowed for x near the top of the range: scale the digits down first.
  const double late = ScaleInBlocks(r * s, n, false) * q;
  return std::isfinite(late) ? late : x;  // a rounded value beyond the range: x as it is
}

double fRound4(double x) { return fRoundN(x, 4); }

void scaleDouble(double& x, int n) {
  // Once x is 0, infinite or NaN, further factors cannot change it: stopping there bounds
  // the loop for any n (INT_MIN included, which is not negated).
  if (n >= 1) {
    for (int k = 0; k < n && std::isfinite(x) && x != 0.0; ++k) x *= 10.0;
  } else {
    for (int k = n; k < 0 && std::isfinite(x) && x != 0.0; ++k) x *= 0.1;
  }
}

double getScale(double x, int& e) {
  if (!(x > 0.0) || !std::isfinite(x))
    throw std::domain_error("getScale: x must be positive and finite");
  const double L = std::log10(x * 0.99999999);
  int exponent = static_cast<int>(L);  // |L| < 330 for finite positive x
  if (L < 0) exponent -= 1;
  e = exponent;
  double m = x;
  scaleDouble(m, -exponent);
  return m;
}

void roundBoundary(double& x, double& bound, double& step, int& kind, int& e) {
  int exponent = 0;
  const double m = getScale(x, exponent);
  const BoundaryRow* row = &kLastRow;
  for (const BoundaryRow& r : kBoundaryRows)
    if (r.limit >= m) {
      row = &r;
      break;
    }
  double b = row->bound, st = row->step;
  scaleDouble(b, exponent);
  scaleDouble(st, exponent);
  if (!std::isfinite(b))
    throw std::domain_error("roundBoundary: the boundary exceeds the double range");
  e = exponent;
  kind = row->kind;
  bound = b;
  step = st;
}
