// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/vec3.h>
#include <qvmath/optim/min_max_optimizer.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace REmath {

namespace {

// Squared box diagonal |LimitMax − LimitMin|².
double BoxDiagonal2(const CMinMaxTask& task) {
  Point3D_d diag = task.GetLimitMax();
  diag -= task.GetLimitMin();
  return detail::PointDot(diag, diag);
}

// 0.98 of the step along a direction component dk that reaches the bound x moves toward.
// The factor keeps the trial point strictly inside the box; a start already beyond that
// bound gives no room at all.
double BoxClip(double xk, double dk, double lo, double hi) {
  const double room = dk > 0.0 ? hi - xk : xk - lo;
  return room > 0.0 ? room / std::fabs(dk) * 0.98 : 0.0;
}

}  // namespace

class CMinMaxOptimizer::CState {
 public:
  CState(const CMinMaxTask& task, const CMinMaxParams& params) : m_task(&task), m_params(&params) {
    // The squared diagonal is used as it stands; a NaN product also falls back to 1e-5.
    m_h = params.GetGradCalcRelDelta() * BoxDiagonal2(task);
    if (!(m_h > 1e-5)) m_h = 1e-5;
  }

  void Run(Point3D_d& x) {
    x = m_task->GetInitApprox();
    const std::size_t n = static_cast<std::size_t>(m_task->NFunctions());
    if (n == 0) return;
    // The task may have been reassigned since the last run; resizing reallocates only when
    // it has grown.
    m_values.resize(n);
    m_trialValues.resize(n);
    m_taken.resize(n);
    double fPrev = EvaluateAll(x, m_values);
    const int maxIter = m_params->GetMaxIter();
    for (int iter = 0; iter < maxIter; ++iter) {
      const double fNew = GradientMove(x, fPrev);
      if (fNew < fPrev + m_params->GetTolerance()) return;
      fPrev = fNew;
    }
  }

 private:
  // F(y) = min over the functions in index order, starting from the largest finite double;
  // stores every fᵢ(y) in values. A NaN value makes F NaN, so that F(y) > F0 + Tolerance
  // fails and such a point is never taken.
  double EvaluateAll(const Point3D_d& y, std::vector<double>& values) const {
    double f = std::numeric_limits<double>::max();
    bool hasNaN = false;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double v = m_task->FnByIdx(static_cast<int>(i))(y);
      values[i] = v;
      if (v < f)
        f = v;
      else if (std::isnan(v))
        hasNaN = true;
    }
    return hasNaN ? std::numeric_limits<double>::quiet_NaN() : f;
  }

  // Forward differences gₖ = (fᵢ(x + h·eₖ) − fᵢ(x))/h, with fᵢ(x) = fx already known.
  void Gradient(std::size_t i, const Point3D_d& x, double fx, Point3D_d& g) const {
    const CMinMaxTask::TFunctor& f = m_task->FnByIdx(static_cast<int>(i));
    Point3D_d p = x;
    p.m_x += m_h;
    g.m_x = (f(p) - fx) / m_h;
    p = x;
    p.m_y += m_h;
    g.m_y = (f(p) - fx) / m_h;
    p = x;
    p.m_z += m_h;
    g.m_z = (f(p) - fx) / m_h;
  }

  // The gradient of the smallest function not yet tried (a strictly smaller value replaces,
  // so the lowest index wins ties) until one has |d|² > 1e-8. Returns the index of the
  // function whose gradient d is, or n with d = 0 when every gradient vanished.
  std::size_t AscentDirection(const Point3D_d& x, Point3D_d& d) {
    const std::size_t n = m_values.size();
    std::fill(m_taken.begin(), m_taken.end(), char(0));
    d = Point3D_d();
    std::size_t active = n;
    while (detail::PointDot(d, d) <= 1e-8) {
      std::size_t best = n;
      for (std::size_t i = 0; i < n; ++i)
        if (!m_taken[i] && (best == n || m_values[i] < m_values[best])) best = i;
      if (best == n) {
        d = Point3D_d();
        return n;
      }
      m_taken[best] = 1;
      active = best;
      Gradient(best, x, m_values[best], d);
    }
    return active;
  }

  // The first trial step along d from x, where F = F(x) and `active` owns the gradient d.
  double InitialStep(const Point3D_d& x, const Point3D_d& d, std::size_t active, double f) {
    const double dd = detail::PointDot(d, d);
    if (dd == 0.0) return 0.0;
    double t = std::sqrt(BoxDiagonal2(*m_task) / dd);
    Point3D_d g;
    for (std::size_t j = 0; j < m_values.size(); ++j) {
      if (j == active || !(m_values[j] > f)) continue;
      Gradient(j, x, m_values[j], g);
      const double slopeDiff = dd - detail::PointDot(g, d);
      if (!(slopeDiff > 0.0)) continue;
      const double tj = (m_values[j] - f) / slopeDiff;
      if (tj > 0.0 && tj < t) t = tj;
    }
    const Point3D_d& lo = m_task->GetLimitMin();
    const Point3D_d& hi = m_task->GetLimitMax();
    if (d.m_x != 0.0) t = std::min(t, BoxClip(x.m_x, d.m_x, lo.m_x, hi.m_x));
    if (d.m_y != 0.0) t = std::min(t, BoxClip(x.m_y, d.m_y, lo.m_y, hi.m_y));
    if (d.m_z != 0.0) t = std::min(t, BoxClip(x.m_z, d.m_z, lo.m_z, hi.m_z));
    return t;
  }

  // One gradient move from x with F(x) = f0 (m_values holding every fᵢ(x)). Writes the
  // taken trial point to x and returns its F, or returns f0 with x unchanged.
  double GradientMove(Point3D_d& x, double f0) {
    Point3D_d d;
    const std::size_t active = AscentDirection(x, d);
    double t = InitialStep(x, d, active, f0);
    const double tolerance = m_params->GetTolerance();
    const double scale = m_params->GetGradientScale();
    CMinMaxTask::IProjector* projector = m_task->GetProjector();
    const int attempts = m_params->GetMaxGradientMoveAttempts();
    for (int a = 0; a < attempts; ++a) {
      Point3D_d y(x.m_x + t * d.m_x, x.m_y + t * d.m_y, x.m_z + t * d.m_z);
      if (projector) projector->Project(y);
      const double fy = EvaluateAll(y, m_trialValues);
      if (fy > f0 + tolerance) {
        x = y;
        m_values.swap(m_trialValues);
        return fy;
      }
      t *= scale;
    }
    return f0;
  }

  const CMinMaxTask* m_task;          // the caller's, bound for the optimizer's lifetime
  const CMinMaxParams* m_params;      // the caller's, read at every run
  double m_h;                         // difference step, fixed at construction
  std::vector<double> m_values;       // fᵢ at the current point
  std::vector<double> m_trialValues;  // fᵢ at the trial point
  std::vector<char> m_taken;          // functions already tried for the direction
};

CMinMaxOptimizer::CMinMaxOptimizer(const CMinMaxTask& task, const CMinMaxParams& params)
    : m_state(new CState(task, params)) {}

CMinMaxOptimizer::CMinMaxOptimizer(const CMinMaxOptimizer& other)
    : m_state(new CState(*other.m_state)) {}

CMinMaxOptimizer& CMinMaxOptimizer::operator=(const CMinMaxOptimizer& other) {
  if (this != &other) {
    CState* copy = new CState(*other.m_state);  // may throw: *this is still intact
    delete m_state;
    m_state = copy;
  }
  return *this;
}

CMinMaxOptimizer::~CMinMaxOptimizer() { delete m_state; }

void CMinMaxOptimizer::Run(Point3D_d& x) { m_state->Run(x); }

}  // namespace REmath
