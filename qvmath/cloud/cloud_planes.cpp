// SPDX-License-Identifier: MIT
#include <qvmath/analysis/coord3d_refs.h>
#include <qvmath/analysis/plane_appoximator.h>
#include <qvmath/analysis/plane_fit.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/detail/cell_components.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
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

// The inlier test of sorted position s against a plane; with normals (ok not null), a
// point with a valid normal must also have |n·m| >= cosMin.
struct InlierTest {
  double distance, cosMin;
  const Point3D* pts;
  const Point3D* nrm;       // null: no normals
  const unsigned char* ok;  // null: no normals
  bool operator()(const Plane& pl, int s) const {
    const Point3D& p = pts[s];
    const double e = pl.n[0] * p.x() + pl.n[1] * p.y() + pl.n[2] * p.z() + pl.d;
    if (!(std::fabs(e) <= distance)) return false;
    if (!ok || !ok[s]) return true;
    const Point3D& m = nrm[s];
    return std::fabs(pl.n[0] * m.x() + pl.n[1] * m.y() + pl.n[2] * m.z()) >= cosMin;
  }
};

// Scores proposals on the sample (positions 0..count of test's arrays), one proposal per
// item; an invalid proposal (d NaN) scores -1.
class ScoreKernel : public detail::IBlockKernel {
 public:
  ScoreKernel(const std::vector<Plane>& props, int count, const InlierTest& test,
              std::vector<int>& score)
      : m_props(props), m_count(count), m_test(test), m_score(score) {}
  void ProcessRange(int begin, int end, int) override {
    for (int h = begin; h < end; ++h) {
      const Plane& pl = m_props[std::size_t(h)];
      int c = -1;
      if (!std::isnan(pl.d)) {
        c = 0;
        for (int s = 0; s < m_count; ++s) c += m_test(pl, s);
      }
      m_score[std::size_t(h)] = c;
    }
  }

 private:
  const std::vector<Plane>& m_props;
  int m_count;
  const InlierTest& m_test;
  std::vector<int>& m_score;
};

// Flags the unlabelled inliers of one plane over all positions.
class InlierKernel : public detail::IBlockKernel {
 public:
  InlierKernel(const Plane& pl, const std::vector<int>& label, const InlierTest& test,
               std::vector<unsigned char>& flag)
      : m_pl(pl), m_label(label), m_test(test), m_flag(flag) {}
  void ProcessRange(int begin, int end, int) override {
    for (int s = begin; s < end; ++s)
      m_flag[std::size_t(s)] = m_label[std::size_t(s)] == -1 && m_test(m_pl, s);
  }

 private:
  const Plane& m_pl;
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

// The plane through three points, d NaN when they are (nearly) collinear.
Plane PlaneThrough(const Point3D& a, const Point3D& b, const Point3D& c) {
  const double u[3] = {double(b.x()) - a.x(), double(b.y()) - a.y(), double(b.z()) - a.z()};
  const double v[3] = {double(c.x()) - a.x(), double(c.y()) - a.y(), double(c.z()) - a.z()};
  const double w[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                       u[0] * v[1] - u[1] * v[0]};
  const double lw = std::sqrt(w[0] * w[0] + w[1] * w[1] + w[2] * w[2]);
  const double lu = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  const double lv = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  Plane pl{{0, 0, 0}, std::nan("")};
  if (!(lw > 1e-6 * lu * lv)) return pl;
  for (int k = 0; k < 3; ++k) pl.n[k] = w[k] / lw;
  pl.d = -(pl.n[0] * a.x() + pl.n[1] * a.y() + pl.n[2] * a.z());
  return pl;
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
  const bool hasNormals = !normals.empty() || !normalValid.empty();
  if (hasNormals && (normals.size() != std::size_t(n) || normalValid.size() != std::size_t(n)))
    throw std::invalid_argument("planes: normals and flags must hold one entry per point");
  if (p.minPoints < 3 || p.proposals < 1 || std::isnan(p.distance) || std::isnan(p.maxAngle) ||
      std::isnan(p.connection))
    throw std::invalid_argument("planes: bad parameters (minPoints >= 3, proposals >= 1)");
  const int* toInput = index.SortedToInput();
  const Point3D* pts = index.SortedPoints();
  std::vector<Point3D> nrm;
  std::vector<unsigned char> ok;
  if (hasNormals) {
    nrm.resize(std::size_t(m));
    ok.resize(std::size_t(m));
    for (int s = 0; s < m; ++s) {
      nrm[std::size_t(s)] = normals[std::size_t(toInput[s])];
      ok[std::size_t(s)] = normalValid[std::size_t(toInput[s])];
    }
  }
  out.labels.assign(std::size_t(n), -1);
  out.planes.clear();
  const double spacing = p.distance > 0 && p.connection > 0 ? 0.0 : EstimatePointSpacing(index);
  out.distance = p.distance > 0 ? p.distance : 3.0 * spacing;
  out.connection = p.connection > 0 ? p.connection : 4.0 * spacing;
  const InlierTest test{out.distance, std::cos(std::min(std::fabs(p.maxAngle), 1.5707963267948966)),
                        pts, hasNormals ? nrm.data() : nullptr, hasNormals ? ok.data() : nullptr};
  const int slots = detail::ResolveThreadCount(p.nThreads);

  double lo[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, hi[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  for (int s = 0; s < m; ++s) {
    const double c[3] = {pts[s].x(), pts[s].y(), pts[s].z()};
    for (int a = 0; a < 3; ++a) {
      lo[a] = std::min(lo[a], c[a]);
      hi[a] = std::max(hi[a], c[a]);
    }
  }
  // Two labellers: the round's pieces stay put while a piece is regrown with its refit.
  detail::CellComponents pieces, regrown;
  pieces.SetGrid(lo, hi, out.connection);
  regrown.SetGrid(lo, hi, out.connection);

  std::vector<int> label(static_cast<std::size_t>(m), -1);
  std::vector<unsigned char> flag(static_cast<std::size_t>(m), 0);
  std::vector<unsigned char> mark(static_cast<std::size_t>(m), 0);
  std::vector<int> pool, candidates, sample, inliers, piece, grown, items;
  std::vector<unsigned char> keep;
  std::vector<Plane> props;
  std::vector<int> score;
  std::vector<Point3D> piecePts, pieceNrm, samplePts, sampleNrm;
  std::vector<unsigned char> sampleOk;
  std::mt19937_64 rng(p.seed);
  std::unique_ptr<IPlaneAppoximator> approx(
      IPlaneAppoximator::CreateByConstraint(PLANE_FIT_UNCONSTRAINED));
  int failed = 0, labelled = 0;

  // Flags the unlabelled inliers of pl into `flag` and lists them in `list`.
  auto collect = [&](const Plane& pl, std::vector<int>& list) {
    InlierKernel ik(pl, label, test, flag);
    detail::RunBlocks(m, 8192, slots, nullptr, ik);
    list.clear();
    for (int s = 0; s < m; ++s)
      if (flag[std::size_t(s)]) list.push_back(s);
  };

  // The region grown from `from` with pl: the connected pieces of pl's unlabelled inliers
  // that hold a point of `from`.
  auto grow = [&](const std::vector<int>& from, const Plane& pl, std::vector<int>& region) {
    collect(pl, items);
    for (int s : from) mark[std::size_t(s)] = 1;
    const int comps = regrown.Label(pts, items.data(), int(items.size()));
    keep.assign(std::size_t(comps), 0);
    for (std::size_t i = 0; i < items.size(); ++i)
      if (mark[std::size_t(items[i])]) keep[std::size_t(regrown.ComponentOf(int(i)))] = 1;
    for (int s : from) mark[std::size_t(s)] = 0;
    region.clear();
    for (std::size_t i = 0; i < items.size(); ++i)
      if (keep[std::size_t(regrown.ComponentOf(int(i)))]) region.push_back(items[i]);
  };

  while (int(out.planes.size()) < p.maxPlanes && failed < kFailedRoundsToStop) {
    if (CProgressCounter::IsStopping()) throw CUserIntrException();
    pool.clear();
    candidates.clear();
    for (int s = 0; s < m; ++s)
      if (label[std::size_t(s)] == -1) {
        pool.push_back(s);
        if (hasNormals && ok[std::size_t(s)]) candidates.push_back(s);
      }
    if (int(pool.size()) < p.minPoints || (hasNormals && candidates.empty())) break;
    // (1) proposals, scored on a random sample of the pool.
    props.resize(std::size_t(p.proposals));
    for (Plane& pl : props) {
      if (hasNormals) {
        const int s = candidates[Draw(rng, candidates.size())];
        const Point3D& q = nrm[std::size_t(s)];
        pl.n[0] = q.x();
        pl.n[1] = q.y();
        pl.n[2] = q.z();
        pl.d = -(pl.n[0] * pts[s].x() + pl.n[1] * pts[s].y() + pl.n[2] * pts[s].z());
        continue;
      }
      for (int attempt = 0; attempt < 16; ++attempt) {
        const int a = pool[Draw(rng, pool.size())];
        const int b = pool[Draw(rng, pool.size())];
        const int c = pool[Draw(rng, pool.size())];
        pl = PlaneThrough(pts[a], pts[b], pts[c]);
        if (!std::isnan(pl.d)) break;
      }
    }
    sample.clear();
    if (int(pool.size()) <= p.scoreSamples) {
      sample = pool;
    } else {
      for (int i = 0; i < p.scoreSamples; ++i) sample.push_back(pool[Draw(rng, pool.size())]);
    }
    // The sample copied together: every proposal reads it in turn.
    samplePts.clear();
    sampleNrm.clear();
    sampleOk.clear();
    for (int s : sample) {
      samplePts.push_back(pts[s]);
      if (!hasNormals) continue;
      sampleNrm.push_back(nrm[std::size_t(s)]);
      sampleOk.push_back(ok[std::size_t(s)]);
    }
    const InlierTest sampleTest{test.distance, test.cosMin, samplePts.data(),
                                hasNormals ? sampleNrm.data() : nullptr,
                                hasNormals ? sampleOk.data() : nullptr};
    score.assign(props.size(), 0);
    ScoreKernel sk(props, int(sample.size()), sampleTest, score);
    detail::RunBlocks(int(props.size()), 8, slots, nullptr, sk);
    const std::size_t best =
        std::size_t(std::max_element(score.begin(), score.end()) - score.begin());
    if (score[best] < 0) break;  // no triple of the pool spans a plane
    const Plane proposal = props[best];
    // (2) inliers in the whole pool, split into connected pieces.
    collect(proposal, inliers);
    const int nPieces = pieces.Label(pts, inliers.data(), int(inliers.size()));
    int found = 0;
    for (int c = 0; c < nPieces && int(out.planes.size()) < p.maxPlanes; ++c) {
      // Points an earlier piece of this round took by regrowing are gone.
      piece.clear();
      for (int i = pieces.Begin(c); i < pieces.Begin(c + 1); ++i) {
        const int s = pieces.Members()[i];
        if (label[std::size_t(s)] == -1) piece.push_back(s);
      }
      if (int(piece.size()) < p.minPoints) continue;
      // (3) the least-squares refit, kept only when regrowing with it loses no point.
      auto fit = [&](const std::vector<int>& region, CPlaneEquation& eq) {
        piecePts.clear();
        pieceNrm.clear();
        for (int s : region) {
          piecePts.push_back(pts[s]);
          if (!hasNormals) continue;
          const Point3D& q = nrm[std::size_t(s)];
          const double side = q.x() * proposal.n[0] + q.y() * proposal.n[1] + q.z() * proposal.n[2];
          pieceNrm.push_back(side < 0 ? Point3D(-q.x(), -q.y(), -q.z()) : q);
        }
        CPtVecAdapder ap(piecePts), an(pieceNrm);
        approx->AddPoints(ap, hasNormals ? &an : nullptr);
        approx->CalcPlane(eq);
        approx->RemovePoints(ap, hasNormals ? &an : nullptr);
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
    if (found == 0) {
      // No piece was large enough: take the proposal's inliers out of later proposals so
      // the next rounds look elsewhere (nothing was labelled: they are all still there).
      for (int s : inliers) label[std::size_t(s)] = kExcluded;
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
