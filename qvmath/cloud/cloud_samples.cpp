// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_samples.h>

#include <cmath>
#include <random>
#include <stdexcept>

namespace REmath {

namespace {

constexpr double kTwoPi = 6.283185307179586;

// Uniform and Gaussian draws from the bits of std::mt19937_64, whose sequence the standard
// fixes; the standard distributions are not reproducible across library implementations.
class SampleRng {
 public:
  explicit SampleRng(std::uint64_t seed) : m_engine(seed) {}
  // Uniform in [0, 1): the top 53 bits.
  double Uniform() { return double(m_engine() >> 11) * 0x1.0p-53; }
  // Box–Muller, one value per call (the second is dropped to keep the stream simple).
  double Gauss() {
    const double u = 1.0 - Uniform();  // (0, 1]
    const double v = Uniform();
    return std::sqrt(-2.0 * std::log(u)) * std::cos(kTwoPi * v);
  }

 private:
  std::mt19937_64 m_engine;
};

void Reset(int n, CSampleScan& out) {
  out = CSampleScan();
  out.cloud.Positions().reserve(std::size_t(n));
  out.trueNormals.reserve(std::size_t(n));
  out.trueK1.reserve(std::size_t(n));
  out.trueK2.reserve(std::size_t(n));
}

void Add(CSampleScan& out, SampleRng& rng, double sigma, double x, double y, double z,
         const Point3D& normal, double k1, double k2) {
  x += sigma * rng.Gauss();
  y += sigma * rng.Gauss();
  z += sigma * rng.Gauss();
  out.cloud.Positions().emplace_back(float(x), float(y), float(z));
  out.trueNormals.push_back(normal);
  out.trueK1.push_back(float(k1));
  out.trueK2.push_back(float(k2));
}

}  // namespace

void MakeSampleTorus(int n, double R, double r, double sigma, std::uint64_t seed,
                     CSampleScan& out) {
  if (n < 0 || !(r > 0) || !(R > r) || !(sigma >= 0))
    throw std::invalid_argument("MakeSampleTorus: needs n >= 0, 0 < r < R, sigma >= 0");
  Reset(n, out);
  SampleRng rng(seed);
  while (out.cloud.Size() < n) {
    const double theta = kTwoPi * rng.Uniform();
    const double phi = kTwoPi * rng.Uniform();
    // The area element is proportional to R + r·cos θ: accept with that weight.
    if (rng.Uniform() * (R + r) > R + r * std::cos(theta)) continue;
    const double ct = std::cos(theta), st = std::sin(theta);
    const double cp = std::cos(phi), sp = std::sin(phi);
    const double rho = R + r * ct;
    Add(out, rng, sigma, rho * cp, rho * sp, r * st,
        Point3D(float(ct * cp), float(ct * sp), float(st)), 1.0 / r, ct / rho);
  }
}

void MakeSampleBox(int n, double sx, double sy, double sz, double sigma, std::uint64_t seed,
                   CSampleScan& out) {
  if (n < 0 || !(sx > 0) || !(sy > 0) || !(sz > 0) || !(sigma >= 0))
    throw std::invalid_argument("MakeSampleBox: needs n >= 0, sizes > 0, sigma >= 0");
  Reset(n, out);
  out.trueFace.reserve(std::size_t(n));
  SampleRng rng(seed);
  const double size[3] = {sx, sy, sz};
  const double area[3] = {sy * sz, sx * sz, sx * sy};  // of a face normal to axis a
  const double total = 2 * (area[0] + area[1] + area[2]);
  for (int i = 0; i < n; ++i) {
    double pick = rng.Uniform() * total;
    int face = 0;
    while (face < 5 && pick >= area[face / 2]) {
      pick -= area[face / 2];
      ++face;
    }
    const int axis = face / 2;
    const double sign = face % 2 ? 1.0 : -1.0;
    double c[3];
    for (int a = 0; a < 3; ++a) c[a] = (rng.Uniform() - 0.5) * size[a];
    c[axis] = sign * 0.5 * size[axis];
    float nv[3] = {0, 0, 0};
    nv[axis] = float(sign);
    Add(out, rng, sigma, c[0], c[1], c[2], Point3D(nv[0], nv[1], nv[2]), 0.0, 0.0);
    out.trueFace.push_back(face);
  }
}

}  // namespace REmath
