// SPDX-License-Identifier: MIT
// λ|μ polyline smoothing, with influence fields that bring the fixed vertices back.
#include <qvmath/analysis/polyline_smooth.h>
#include <qvmath/core/matrix.h>
#include <qvmath/core/solve_mat.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace {

// 1 − w and w/2 of one pass, rounded to the working precision.
template <class Real>
struct PassWeights {
  Real keep, half;
  explicit PassWeights(double w) : keep(Real(1 - w)), half(Real(w / 2)) {}
};

// One pass over n vertices of dim components each, x into y. Open: the two ends are copied.
template <class Real>
void Pass(const Real* x, Real* y, int n, int dim, const PassWeights<Real>& w, bool closed) {
  for (int i = 0; i < n; ++i) {
    Real* yi = y + std::size_t(i) * dim;
    const Real* xi = x + std::size_t(i) * dim;
    if (!closed && (i == 0 || i == n - 1)) {
      for (int j = 0; j < dim; ++j) yi[j] = xi[j];
      continue;
    }
    const Real* xp = x + std::size_t(i == 0 ? n - 1 : i - 1) * dim;
    const Real* xn = x + std::size_t(i == n - 1 ? 0 : i + 1) * dim;
    for (int j = 0; j < dim; ++j) yi[j] = w.keep * xi[j] + w.half * (xp[j] + xn[j]);
  }
}

// NIter iterations of the λ|μ scheme on x (n·dim values), using tmp as the temporary.
template <class Real>
void Smooth(Real* x, Real* tmp, int n, int dim, int iters, double lambda, double mu, bool closed) {
  const PassWeights<Real> wl(lambda), wm(-mu);
  for (int it = 0; it < iters; ++it) {
    Pass(x, tmp, n, dim, wl, closed);
    if (mu == 0) {
      std::copy(tmp, tmp + std::size_t(n) * dim, x);
    } else {
      Pass(tmp, x, n, dim, wm, closed);
    }
  }
}

// The influence field of vertex k, kept on the window of vertices it can reach: each pass
// spreads it by one vertex, so after `reach` passes it is zero farther than `reach` from k.
// On a window of radius reach + 1 whose two ends are held at 0 (the "open" rule) the
// values are exactly those of the whole polyline; an open polyline's true end inside the
// window is held as well, which is its own rule. A window that would cover the polyline
// is the polyline itself, with its own end or wrap rule.
struct Field {
  int first = 0;            // polyline index of window position 0
  std::vector<double> val;  // field values along the window
  bool wraps = false;       // window indices are taken modulo n
  int n = 0;
  double At(int idx) const {
    int t = idx - first;
    if (wraps) t = ((t % n) + n) % n;
    return t >= 0 && t < int(val.size()) ? val[std::size_t(t)] : 0.0;
  }
};

Field MakeField(int k, int n, int iters, double lambda, double mu, bool closed) {
  const int reach = iters * (mu == 0 ? 1 : 2);
  Field f;
  f.n = n;
  bool windowClosed = false;
  int len;
  if (2 * reach + 3 >= n) {
    f.first = 0;
    len = n;
    windowClosed = closed;
  } else if (closed) {
    f.first = k - reach - 1;
    len = 2 * reach + 3;
    f.wraps = true;
  } else {
    f.first = std::max(0, k - reach - 1);
    len = std::min(n - 1, k + reach + 1) - f.first + 1;
  }
  f.val.assign(std::size_t(len), 0.0);
  const int at = f.wraps ? reach + 1 : k - f.first;
  f.val[std::size_t(at)] = 1.0;
  std::vector<double> tmp(static_cast<std::size_t>(len));
  // Always in double: the fields only shape the correction; exactness comes from the solve.
  Smooth(f.val.data(), tmp.data(), len, 1, iters, lambda, mu, windowClosed);
  return f;
}

template <class P>
bool SmoothPolyline(std::vector<P>& pts, const CPolylineSmoothParams& prms) {
  using Real = std::remove_reference_t<decltype(pts[0].x())>;
  if (pts.size() < 3 || pts.size() > std::size_t(1) << 30) return false;
  const int n = int(pts.size());
  std::vector<int> fixed;
  if (const std::vector<int>* list = prms.GetPtrFixedPtIdx()) {
    for (int k : *list) {
      if (k < 0 || k >= n) return false;
    }
    fixed = *list;
    std::sort(fixed.begin(), fixed.end());
    fixed.erase(std::unique(fixed.begin(), fixed.end()), fixed.end());
  }
  const int iters = prms.GetNIter();
  if (iters <= 0) return true;
  const bool closed = prms.GetIsClosed();
  const double lambda = double(float(prms.GetWeight()));
  // 0.1f on purpose: the shape-preserving μ has always been computed with it.
  const double mu = prms.GetPreserveShape() ? lambda / (1.0 - double(0.1f) * lambda) : 0.0;

  std::vector<Real> x(std::size_t(n) * 3), tmp(std::size_t(n) * 3);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < 3; ++j) x[std::size_t(i) * 3 + j] = pts[std::size_t(i)].asArray()[j];
  }
  Smooth(x.data(), tmp.data(), n, 3, iters, lambda, mu, closed);

  const int m = int(fixed.size());
  if (m > 0) {
    std::vector<Field> fields;
    fields.reserve(std::size_t(m));
    for (int k : fixed) fields.push_back(MakeField(k, n, iters, lambda, mu, closed));
    REmath::Matrix<double> G(m, m), D(m, 3), C;
    for (int j = 0; j < m; ++j) {
      const int v = fixed[std::size_t(j)];
      for (int k = 0; k < m; ++k) G(j, k) = fields[std::size_t(k)].At(v);
      for (int c = 0; c < 3; ++c) {
        D(j, c) = double(x[std::size_t(v) * 3 + c]) - double(pts[std::size_t(v)].asArray()[c]);
      }
    }
    if (!REmath::solveMat(G, D, C)) return false;
    for (int k = 0; k < m; ++k) {
      for (int c = 0; c < 3; ++c) {
        if (!std::isfinite(C(k, c))) return false;
      }
    }
    for (int k = 0; k < m; ++k) {
      const Field& f = fields[std::size_t(k)];
      for (int t = 0; t < int(f.val.size()); ++t) {
        const double fv = f.val[std::size_t(t)];
        if (fv == 0) continue;
        const int i = f.wraps ? ((f.first + t) % n + n) % n : f.first + t;
        for (int c = 0; c < 3; ++c) {
          Real& xi = x[std::size_t(i) * 3 + c];
          xi = Real(double(xi) - C(k, c) * fv);
        }
      }
    }
    // The solve returns the fixed vertices up to rounding; their saved coordinates make
    // them exact.
    for (int v : fixed) {
      for (int c = 0; c < 3; ++c) x[std::size_t(v) * 3 + c] = pts[std::size_t(v)].asArray()[c];
    }
  }
  for (int i = 0; i < n; ++i) {
    pts[std::size_t(i)] =
        P(x[std::size_t(i) * 3], x[std::size_t(i) * 3 + 1], x[std::size_t(i) * 3 + 2]);
  }
  return true;
}

}  // namespace

bool smoothPolylineWithFixedPoints(std::vector<REmath::Point3D>& pts,
                                   const CPolylineSmoothParams& prms) {
  return SmoothPolyline(pts, prms);
}

bool smoothPolylineWithFixedPoints(std::vector<REmath::Point3D_d>& pts,
                                   const CPolylineSmoothParams& prms) {
  return SmoothPolyline(pts, prms);
}
