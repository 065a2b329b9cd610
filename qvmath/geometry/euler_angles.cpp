// SPDX-License-Identifier: MIT
// z-y-z Euler angles: the closed-form matrix of Rz(phi)·Ry(theta)·Rz(psi) and its inverse.

#include <qvmath/geometry/euler_angles.h>

#include <algorithm>
#include <cmath>

void getEulerAnglesFromMatrix(const CRotationMatrix& rot, double& phi, double& theta, double& psi) {
  const auto& m = rot.m;
  const double c = std::min(1.0, std::max(-1.0, m[2][2]));
  theta = std::acos(c);
  const double s = std::sqrt(1 - c * c);
  // Below s = 1e-5 the third column and row carry no usable direction; phi then absorbs
  // the whole rotation about z (psi := 0), read from the upper-left block, whose sign
  // flips with cos theta.
  if (s > 1e-5) {
    phi = std::atan2(m[1][2] / s, m[0][2] / s);
    psi = std::atan2(m[2][1] / s, -m[2][0] / s);
  } else {
    psi = 0;
    phi = m[2][2] > 0 ? std::atan2(m[1][0], m[0][0]) : std::atan2(-m[1][0], -m[0][0]);
  }
}

void makeEulerMatrix(CRotationMatrix& rot, const double* angles) {
  const double c1 = std::cos(angles[0]), s1 = std::sin(angles[0]);
  const double c2 = std::cos(angles[1]), s2 = std::sin(angles[1]);
  const double c3 = std::cos(angles[2]), s3 = std::sin(angles[2]);
  auto& m = rot.m;
  m[0][0] = c2 * c1 * c3 - s3 * s1;
  m[0][1] = -c2 * c1 * s3 - c3 * s1;
  m[0][2] = s2 * c1;
  m[1][0] = c2 * s1 * c3 + s3 * c1;
  m[1][1] = c1 * c3 - c2 * s1 * s3;
  m[1][2] = s1 * s2;
  m[2][0] = -c3 * s2;
  m[2][1] = s3 * s2;
  m[2][2] = c2;
}
