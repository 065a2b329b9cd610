// SPDX-License-Identifier: MIT
// A short tour of QVmath as an outside program sees it: only the installed package and the
// umbrella header.
#include <qvmath/qvmath.h>

#include <cstdint>
#include <cstdio>

using REmath::HPoint3D_d;
using REmath::Matrix;
using REmath::Point3D;
using REmath::Point3D_d;
using REmath::Vector;

namespace {

void Title(const char* text) { std::printf("\n== %s\n", text); }

void Print(const char* label, const Point3D_d& p) {
  std::printf("  %-28s (%g, %g, %g)\n", label, p.x(), p.y(), p.z());
}

void Print(const char* label, const Matrix<double>& m) {
  std::printf("  %s (%d x %d)\n", label, m.rows(), m.cols());
  for (int i = 0; i < m.rows(); ++i) {
    std::printf("    ");
    for (int j = 0; j < m.cols(); ++j) std::printf("%8.3f", m(i, j));
    std::printf("\n");
  }
}

}  // namespace

int main() {
  std::printf("QVmath tour: points, vectors, matrices, solvers, distances, colours, rounding\n");

  Title("Points and homogeneous points");
  Point3D_d p(3, 4, 12);
  Print("p", p);
  std::printf("  %-28s %g\n", "|p|", p.length());
  Print("p.unitLength()", p.unitLength());
  Point3D_d q = p;
  q += Point3D_d(1, 1, 1);
  q *= 0.5;
  Print("(p + (1,1,1)) * 0.5", q);
  const HPoint3D_d h(2, 4, 6, 2);
  const Point3D_d hp = h.projectW();
  std::printf("  %-28s (%g, %g, %g, %g)\n", "h", h.x(), h.y(), h.z(), h.w());
  Print("h.projectW() keeps x,y,z", hp);
  std::printf(
      "  %-28s %s\n", "(1,0,0,5) < (0,2,0,1)",
      HPoint3D_d(1, 0, 0, 5) < HPoint3D_d(0, 2, 0, 1) ? "true (compares lengths)" : "false");

  Title("Matrices (column-major, m[j][i] is row i of column j)");
  Matrix<double> a(2, 3), b(3, 2);
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) a(i, j) = i + 2 * j + 1, b(j, i) = (i == j) ? 1.0 : 0.5;
  Print("A", a);
  Print("B", b);
  Print("A * B", a * b);
  Print("transpose(A)", a.transpose());

  Title("A vector viewing caller memory");
  double storage[5] = {5, 3, 1, 3, 1};
  Vector<double> view(storage, 5);
  view[0] = 7;
  std::printf("  write through the view: storage[0] = %g\n", storage[0]);
  std::printf("  minIndex of (7, 3, 1, 3, 1) = %d (ties go to the last)\n", view.minIndex());
  view.resize(8);
  view[1] = -1;
  std::printf("  after resize(8) the vector owns a copy: storage[1] = %g, view[1] = %g\n",
              storage[1], view[1]);
  Vector<double> twice = 2.0 * view;
  std::printf("  2 * v = (");
  for (int i = 0; i < twice.size(); ++i) std::printf(i ? ", %g" : "%g", twice[i]);
  std::printf(")\n");

  Title("Dense solve and a 3x3 scatter matrix");
  Matrix<double> A(3, 3), B(3, 1), X;
  const double rows[3][3] = {{4, 1, 0}, {1, 3, 1}, {0, 1, 2}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) A(i, j) = rows[i][j];
  B(0, 0) = 5, B(1, 0) = 5, B(2, 0) = 3;
  Matrix<double> factors = A;  // solveMat overwrites A with its LU factors
  if (REmath::solveMat(factors, B, X))
    std::printf("  solve A x = (5, 5, 3): x = (%g, %g, %g)\n", X(0, 0), X(1, 0), X(2, 0));
  CRotationMatrix scatter;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) scatter.m[i][j] = rows[i][j];
  Point3D_d axes[3];
  double values[3];
  REmath::GetEigenVectorsSA(scatter, axes, values, true);
  for (int k = 0; k < 3; ++k)
    std::printf("  eigenvalue %-9.6f vector (%+.6f, %+.6f, %+.6f)\n", values[k], axes[k].x(),
                axes[k].y(), axes[k].z());

  Title("Squared distance from a point to a triangle");
  const Point3D tri[3] = {Point3D(0, 0, 0), Point3D(1, 0, 0), Point3D(0, 1, 0)};
  const float* corners[3] = {tri[0].asArray(), tri[1].asArray(), tri[2].asArray()};
  const char* regionName[7] = {"face",     "edge AB",  "edge BC", "edge CA",
                               "vertex A", "vertex B", "vertex C"};
  for (const Point3D& p :
       {Point3D(0.2f, 0.2f, 1.0f), Point3D(2.0f, -1.0f, 0.0f), Point3D(0.5f, -0.5f, 0.5f)}) {
    int region = -1;
    float foot[3];
    const float d2 = distancePointTriangle2(p.asArray(), corners, region, foot);
    std::printf("  p = (%4.1f, %4.1f, %4.1f): d2 = %-6g nearest (%g, %g, %g) on the %s\n", p.x(),
                p.y(), p.z(), d2, foot[0], foot[1], foot[2], regionName[region]);
  }

  Title("Colour ramp and HSV");
  for (float t : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) {
    const std::uint32_t c = ColorMap(t);
    float rgb[3], hue, sat, val;
    colorI2F(c, rgb);
    RGBtoHSV(rgb, hue, sat, val);
    std::printf("  ColorMap(%.2f) = 0x%08X  rgb (%.3f, %.3f, %.3f)  hsv (%.1f, %.2f, %.2f)\n", t,
                static_cast<unsigned>(c), rgb[0], rgb[1], rgb[2], hue, sat, val);
  }
  float back[3];
  HSVtoRGB(200.0f, 0.5f, 0.8f, back);
  std::printf("  HSVtoRGB(200, 0.5, 0.8) = (%.3f, %.3f, %.3f)\n", back[0], back[1], back[2]);

  Title("Rounded axis boundaries");
  for (double x : {0.13, 7.3, 42.0, 100.0, 850.0, 0.0042}) {
    double v = x, bound = 0, step = 0;
    int kind = 0, e = 0;
    roundBoundary(v, bound, step, kind, e);
    std::printf("  x = %-8g -> boundary %-8g step %-6g kind %d  (decade 1e%d)\n", x, bound, step,
                kind, e);
  }
  std::printf("  rndtoni(2.5) = %d, rndtoni(-2.5) = %d, fRound4(3.14159265) = %.10g\n",
              rndtoni(2.5), rndtoni(-2.5), fRound4(3.14159265));
  return 0;
}
