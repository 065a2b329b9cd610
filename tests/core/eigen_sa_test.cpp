// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/eigen_sa.h>
#include <qvmath/core/matrix.h>
#include <qvmath/core/tridiag_eigen.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

#include "test_util.h"

using REmath::Point3D_d;

// Every heap allocation of the process is counted, so that the test can prove the
// per-neighbourhood routine allocates nothing. GCC's -Wmismatched-new-delete cannot see
// that these replacements pair malloc with free.
static std::atomic<long> g_allocations{0};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
  ++g_allocations;
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

// Scatter matrix Σ (p − c)(p − c)ᵀ of k random points about their centroid; flatten
// scales z (0 gives a planar neighbourhood).
CRotationMatrix Scatter(qvtest::TestRng& rng, int k, double flatten = 1.0) {
  double pts[40][3], c[3] = {0, 0, 0};
  for (int i = 0; i < k; ++i)
    for (int a = 0; a < 3; ++a)
      c[a] += (pts[i][a] = (a == 2 ? flatten : 1.0) * rng.Uniform(-1, 1)) / k;
  CRotationMatrix m = CRotationMatrix::Zero();
  for (int i = 0; i < k; ++i)
    for (int a = 0; a < 3; ++a)
      for (int b = 0; b < 3; ++b) m.m[a][b] += (pts[i][a] - c[a]) * (pts[i][b] - c[b]);
  return m;
}

double Dot(const Point3D_d& a, const Point3D_d& b) {
  return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

}  // namespace

TEST(EigenSATest, Properties_EigenpairsOfScatterMatrices) {
  qvtest::TestRng rng(600613);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    const CRotationMatrix m = Scatter(rng, 3 + trial % 37, trial % 5 == 0 ? 1e-3 : 1.0);
    Point3D_d v[3], u[3];
    double val[3], uval[3];
    REmath::GetEigenVectorsSA(m, v, val, false);
    // Bit for bit what tred2_d + tqli_d give on a copy (their accuracy is checked against
    // LAPACK in the tridiagonal tests), whatever the neighbourhood's shape.
    double z[3][3], d[3], e[3];
    double* rows[3] = {z[0], z[1], z[2]};
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) z[i][j] = m.m[i][j];
    REmath::tred2_d(rows, 3, d, e);
    ASSERT_EQ(REmath::tqli_d(d, e, 3, rows), 1);
    REmath::GetEigenVectorsSA(m, u, uval, true);
    for (int k = 0; k < 3; ++k) {
      EXPECT_TRUE(val[k] == d[k] && v[k].x() == z[0][k] && v[k].y() == z[1][k] &&
                  v[k].z() == z[2][k] && uval[k] == val[k])
          << k;
      // normalize only rescales to unit length.
      EXPECT_NEAR(u[k].length(), 1.0, 2 * qvtest::Eps<double>());
      EXPECT_NEAR(Dot(u[k], v[k]), 1.0, 4 * qvtest::Eps<double>());
    }
  }
}

TEST(EigenSATest, Degenerate_NaNThrows) {
  Point3D_d v[3];
  double val[3];
  qvtest::TestRng rng(12);
  CRotationMatrix m = Scatter(rng, 8);
  m.m[2][1] = std::nan("");
  try {
    REmath::GetEigenVectorsSA(m, v, val, true);
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "GetEigenVectorsSA failed");
  }
}

TEST(EigenSATest, Properties_NoHeapAllocation) {
  qvtest::TestRng rng(99);
  CRotationMatrix mats[64];
  for (auto& m : mats) m = Scatter(rng, 12);
  Point3D_d v[3];
  double val[3];
  const long before = g_allocations.load();
  for (const auto& m : mats) REmath::GetEigenVectorsSA(m, v, val, true);
  EXPECT_EQ(g_allocations.load(), before);
  { const REmath::Matrix<double> owning(4, 4); }  // control: library allocations are seen
  EXPECT_GT(g_allocations.load(), before);
}

// Absolute, strict float epsilon on the off-diagonal pairs only: 1e-7 passes, exactly the
// tolerance fails, one ulp at 1e10 (about 2e-6) fails although the matrix class's relative
// test accepts it; NaN on the diagonal is not looked at.
TEST(IsSelfAdjointTest, Quirks_AbsoluteStrictFloatEpsilon) {
  const double ulp10 = std::nextafter(1e10, 2e10), nan = std::nan("");
  const struct {
    int i, j;
    double value;
    bool result;
  } writes[] = {{0, 1, 2e-7, false}, {0, 1, 1e-7, true},  {0, 1, 1.1920928955078125e-07, false},
                {0, 1, 0.0, true},   {1, 2, 1e10, false}, {2, 1, ulp10, false},
                {2, 1, 1e10, true},  {0, 0, nan, true},   {2, 0, nan, false}};
  CRotationMatrix m;  // identity, self-adjoint
  for (const auto& w : writes) {
    m.m[w.i][w.j] = w.value;
    EXPECT_EQ(REmath::IsSelfAdjoint(m), w.result) << w.i << w.j << " " << w.value;
    EXPECT_TRUE(w.value != ulp10 || m.isSelfAdjoint());
  }
}
