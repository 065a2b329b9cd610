// SPDX-License-Identifier: MIT
#include <qvmath/analysis/coord3d_refs.h>
#include <qvmath/analysis/plane_appoximator.h>
#include <qvmath/analysis/plane_fit.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/cloud/detail/knn_graph.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <stdexcept>

namespace REmath {

namespace {

constexpr int kExcluded = -2;           // inliers of a failed round, out of the pool for good
constexpr int kFailedRoundsToStop = 3;  // consecutive rounds without a plane
// Share of the proposal's points a refit may lose and still be kept. A proposal through one
// point with its noisy normal is tilted by a fraction of a degree and its band picks up a
// strip of the neighbouring surface along an edge; the least-squares refit sheds that strip
// (a loss of a few tenths of a percent). A refit dragged by outliers loses far more.
constexpr double kRefitLoss = 0.01;

struct Plane {
  double n[3];
  double d;  // n·p + d = 0
};

// The inlier test of a point against a plane; cosMin compares |n·m| for valid normals.
struct InlierTest {
  double distance, cosMin;
  bool operator()(const Plane& pl, const Point3D& p, const Point3D& m, bool valid) const {
    const double e = pl.n[0] * p.x() + pl.n[1] * p.y() + pl.n[2] * p.z() + pl.d;
    if (!(std::fabs(e) <= distance)) return false;
    if (!valid) return true;
    return std::fabs(pl.n[0] * m.x() + pl.n[1] * m.y() + pl.n[2] * m.z()) >= cosMin;
  }
};

// Scores proposals on the sample, one proposal per item.
class ScoreKernel : public detail::IBlockKernel {
 public:
  ScoreKernel(const std::vector<Plane>& props, const std::vector<int>& sample, const Point3D* pts,
              const std::vector<Point3D>& nrm, const std::vector<unsigned char>& ok,
              const InlierTest& test, std::vector<int>& score)
      : m_props(props),
        m_sample(sample),
        m_pts(pts),
        m_nrm(nrm),
        m_ok(ok),
        m_test(test),
        m_score(score) {}
  void ProcessRange(int begin, int end, int) override {
    for (int h = begin; h < end; ++h) {
      int c = 0;
      for (int s : m_sample)
        c += m_test(m_props[std::size_t(h)], m_pts[s], m_nrm[std::size_t(s)], m_ok[std::size_t(s)]);
      m_score[std::size_t(h)] = c;
    }
  }

 private:
  const std::vector<Plane>& m_props;
  const std::vector<int>& m_sample;
  const Point3D* m_pts;
  const std::vector<Point3D>& m_nrm;
  const std::vector<unsigned char>& m_ok;
  const InlierTest& m_test;
  std::vector<int>& m_score;
};

// Flags the unlabelled inliers of one plane over all positions.
class InlierKernel : public detail::IBlockKernel {
 public:
  InlierKernel(const Plane& pl, const Point3D* pts, const std::vector<Point3D>& nrm,
               const std::vector<unsigned char>& ok, const std::vector<int>& label,
               const InlierTest& test, std::vector<unsigned char>& flag)
      : m_pl(pl), m_pts(pts), m_nrm(nrm), m_ok(ok), m_label(label), m_test(test), m_flag(flag) {}
  void ProcessRange(int begin, int end, int) override {
    for (int s = begin; s < end; ++s) {
      const std::size_t u = std::size_t(s);
      m_flag[u] = m_label[u] == -1 && m_test(m_pl, m_pts[s], m_nrm[u], m_ok[u]);
    }
  }

 private:
  const Plane& m_pl;
  const Point3D* m_pts;
  const std::vector<Point3D>& m_nrm;
  const std::vector<unsigned char>& m_ok;
  const std::vector<int>& m_label;
  const InlierTest& m_test;
  std::vector<unsigned char>& m_flag;
};

// Unbiased integer in [0, n) from the engine (the standard distributions are not
// reproducible across library implementations).
std::size_t Draw(std::mt19937_64& rng, std::size_t n) {
  const std::uint64_t limit = UINT64_MAX - UINT64_MAX % n;
  std::uint64_t v;
  do v = rng();
  while (v >= limit);
  return std::size_t(v % n);
}

}  // namespace

double EstimatePointSpacing(const CCloudIndex& index, int samples) {
  const int m = index.IndexedCount();
  if (m < 2 || samples < 1) return 0;
  const int count = std::min(samples, m);
  std::vector<double> d;
  d.reserve(std::size_t(count));
  int idx[8];
  float d2[8];
  for (int i = 0; i < count; ++i) {
    const int s = int((long long)(i)*m / count);
    const int found = index.KNearestSorted(index.SortedPoints()[s], 8, idx, d2);
    for (int j = 0; j < found; ++j)
      if (d2[j] > 0) {
        d.push_back(std::sqrt(double(d2[j])));
        break;
      }
  }
  if (d.empty()) return 0;
  std::nth_element(d.begin(), d.begin() + std::ptrdiff_t(d.size() / 2), d.end());
  return d[d.size() / 2];
}

void FindCloudPlanes(const CCloudIndex& index, const std::vector<Point3D>& normals,
                     const std::vector<unsigned char>& normalValid, const CCloudPlaneParams& p,
                     CCloudPlanes& out, CProgressCounter* progress) {
  const int n = index.Size();
  const int m = index.IndexedCount();
  if (n == 0) throw std::invalid_argument("planes: empty cloud");
  if (m == 0) throw std::invalid_argument("planes: the cloud has no finite point");
  if (normals.size() != std::size_t(n) || normalValid.size() != std::size_t(n))
    throw std::invalid_argument("planes: normals and flags must hold one entry per point");
  if (p.minPoints < 3 || p.k < 1 || p.proposals < 1 || std::isnan(p.distance) ||
      std::isnan(p.maxAngle))
    throw std::invalid_argument("planes: bad parameters (minPoints >= 3, k >= 1, proposals >= 1)");
  const int* toInput = index.SortedToInput();
  const Point3D* pts = index.SortedPoints();
  std::vector<Point3D> nrm(static_cast<std::size_t>(m));
  std::vector<unsigned char> ok(static_cast<std::size_t>(m)), all(static_cast<std::size_t>(m), 1);
  for (int s = 0; s < m; ++s) {
    nrm[std::size_t(s)] = normals[std::size_t(toInput[s])];
    ok[std::size_t(s)] = normalValid[std::size_t(toInput[s])];
  }
  out.labels.assign(std::size_t(n), -1);
  out.planes.clear();
  out.distance = p.distance > 0 ? p.distance : 3.0 * EstimatePointSpacing(index);
  const InlierTest test{out.distance,
                        std::cos(std::min(std::fabs(p.maxAngle), 1.5707963267948966))};
  const int slots = detail::ResolveThreadCount(p.nThreads);

  detail::KnnGraph graph;
  {
    CPrgCntSubPhase phase(progress, 0.0, 0.5, CPrgCntSubPhase::PhaseFloat);
    graph.Build(index, p.k, all, slots, progress);
  }
  CPrgCntSubPhase phase(progress, 0.5, 0.5, CPrgCntSubPhase::PhaseFloat);
  std::vector<int> label(static_cast<std::size_t>(m), -1);
  std::vector<unsigned char> flag(static_cast<std::size_t>(m), 0);
  std::vector<int> pool, candidates, sample, queue, piece, grown;
  std::vector<Plane> props;
  std::vector<int> score;
  std::vector<Point3D> piecePts, pieceNrm;
  std::mt19937_64 rng(p.seed);
  std::unique_ptr<IPlaneAppoximator> approx(
      IPlaneAppoximator::CreateByConstraint(PLANE_FIT_UNCONSTRAINED));
  int failed = 0, labelled = 0;

  // Grows from `from` over unlabelled points that pass the test against pl and are joined
  // by the graph; the region goes to `region`, its points are marked in `mark` (cleared
  // again by the caller through region).
  std::vector<unsigned char> mark(static_cast<std::size_t>(m), 0);
  auto grow = [&](const std::vector<int>& from, const Plane& pl, std::vector<int>& region) {
    region.clear();
    for (int s : from)
      if (!mark[std::size_t(s)] && label[std::size_t(s)] == -1 &&
          test(pl, pts[s], nrm[std::size_t(s)], ok[std::size_t(s)])) {
        mark[std::size_t(s)] = 1;
        region.push_back(s);
      }
    for (std::size_t h = 0; h < region.size(); ++h)
      graph.ForEach(region[h], [&](int t) {
        const std::size_t u = std::size_t(t);
        if (mark[u] || label[u] != -1 || !test(pl, pts[t], nrm[u], ok[u])) return;
        mark[u] = 1;
        region.push_back(t);
      });
    for (int s : region) mark[std::size_t(s)] = 0;
  };

  while (int(out.planes.size()) < p.maxPlanes && failed < kFailedRoundsToStop) {
    if (CProgressCounter::IsStopping()) throw CUserIntrException();
    pool.clear();
    candidates.clear();
    for (int s = 0; s < m; ++s)
      if (label[std::size_t(s)] == -1) {
        pool.push_back(s);
        if (ok[std::size_t(s)]) candidates.push_back(s);
      }
    if (int(pool.size()) < p.minPoints || candidates.empty()) break;
    // (1) proposals from oriented points, scored on a random sample of the pool.
    props.resize(std::size_t(p.proposals));
    for (Plane& pl : props) {
      const int s = candidates[Draw(rng, candidates.size())];
      const Point3D& q = nrm[std::size_t(s)];
      pl.n[0] = q.x();
      pl.n[1] = q.y();
      pl.n[2] = q.z();
      pl.d = -(pl.n[0] * pts[s].x() + pl.n[1] * pts[s].y() + pl.n[2] * pts[s].z());
    }
    sample.clear();
    if (int(pool.size()) <= p.scoreSamples) {
      sample = pool;
    } else {
      for (int i = 0; i < p.scoreSamples; ++i) sample.push_back(pool[Draw(rng, pool.size())]);
    }
    score.assign(props.size(), 0);
    ScoreKernel sk(props, sample, pts, nrm, ok, test, score);
    detail::RunBlocks(int(props.size()), 8, slots, nullptr, sk);
    const std::size_t best =
        std::size_t(std::max_element(score.begin(), score.end()) - score.begin());
    const Plane proposal = props[best];
    // (2) inliers in the whole pool, split into connected pieces.
    InlierKernel ik(proposal, pts, nrm, ok, label, test, flag);
    detail::RunBlocks(m, 8192, slots, nullptr, ik);
    int found = 0;
    for (int start = 0; start < m; ++start) {
      if (!flag[std::size_t(start)]) continue;
      piece.clear();
      piece.push_back(start);
      flag[std::size_t(start)] = 0;
      for (std::size_t h = 0; h < piece.size(); ++h)
        graph.ForEach(piece[h], [&](int t) {
          if (flag[std::size_t(t)]) {
            flag[std::size_t(t)] = 0;
            piece.push_back(t);
          }
        });
      // Points an earlier piece of this round took by regrowing are gone.
      piece.erase(std::remove_if(piece.begin(), piece.end(),
                                 [&](int s) { return label[std::size_t(s)] != -1; }),
                  piece.end());
      if (int(piece.size()) < p.minPoints) continue;
      if (int(out.planes.size()) >= p.maxPlanes) break;
      // (3) the least-squares refit, kept only when regrowing with it loses no point.
      auto fit = [&](const std::vector<int>& region, CPlaneEquation& eq) {
        piecePts.clear();
        pieceNrm.clear();
        for (int s : region) {
          piecePts.push_back(pts[s]);
          const Point3D& q = nrm[std::size_t(s)];
          const double side = q.x() * proposal.n[0] + q.y() * proposal.n[1] + q.z() * proposal.n[2];
          pieceNrm.push_back(side < 0 ? Point3D(-q.x(), -q.y(), -q.z()) : q);
        }
        CPtVecAdapder ap(piecePts), an(pieceNrm);
        approx->AddPoints(ap, &an);
        approx->CalcPlane(eq);
        approx->RemovePoints(ap, &an);
      };
      CPlaneEquation eq;
      fit(piece, eq);
      const std::vector<int>* region = &piece;
      if (eq.IsValid()) {
        Plane refit{{eq.NormalDir()[0], eq.NormalDir()[1], eq.NormalDir()[2]}, eq.FreeTerm()};
        grow(piece, refit, grown);
        if (double(grown.size()) >= (1.0 - kRefitLoss) * double(piece.size())) {
          region = &grown;
          fit(grown, eq);
        }
      }
      if (region == &piece) {
        // Refit rejected: the proposal's plane stands.
        eq.SetPlane(proposal.n, proposal.d, 1.0);
      }
      if (!eq.IsValid()) continue;
      CCloudPlane pl;
      pl.equation = eq;
      pl.inliers = int(region->size());
      const int id = int(out.planes.size());
      double sx = 0, sy = 0, sz = 0, se2 = 0;
      piecePts.clear();
      for (int s : *region) {
        label[std::size_t(s)] = id;
        piecePts.push_back(pts[s]);
        sx += pts[s].x();
        sy += pts[s].y();
        sz += pts[s].z();
      }
      const double inv = 1.0 / double(region->size());
      pl.origin = Point3D_d(sx * inv, sy * inv, sz * inv);
      const double* nv = eq.NormalDir();
      for (const Point3D& q : piecePts) {
        const double e = nv[0] * q.x() + nv[1] * q.y() + nv[2] * q.z() + eq.FreeTerm();
        se2 += e * e;
      }
      pl.rmsError = std::sqrt(se2 * inv);
      CalcPlaneFitError(piecePts, pl.origin, Point3D_d(nv[0], nv[1], nv[2]), pl.maxError,
                        pl.meanError);
      CPtVecAdapder ap(piecePts);
      pl.limits.DefineAuto(ap, eq);
      out.planes.push_back(pl);
      labelled += pl.inliers;
      ++found;
    }
    std::fill(flag.begin(), flag.end(), 0);
    if (found == 0) {
      // No piece was large enough: take the proposal's inliers out of later proposals so
      // the next rounds look elsewhere.
      InlierKernel again(proposal, pts, nrm, ok, label, test, flag);
      detail::RunBlocks(m, 8192, slots, nullptr, again);
      for (int s = 0; s < m; ++s)
        if (flag[std::size_t(s)]) label[std::size_t(s)] = kExcluded;
      std::fill(flag.begin(), flag.end(), 0);
      ++failed;
    } else {
      failed = 0;
    }
    if (progress) progress->SetPosFloat(double(labelled) / double(m));
  }
  for (int s = 0; s < m; ++s)
    out.labels[std::size_t(toInput[s])] = label[std::size_t(s)] >= 0 ? label[std::size_t(s)] : -1;
}

}  // namespace REmath
