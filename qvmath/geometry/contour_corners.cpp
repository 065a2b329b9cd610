// SPDX-License-Identifier: MIT
// Corner marks of 3-D contours (the chord-cosine measure, local maxima and thinning) and the
// split at the marks, one template over both point types.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/contour_corners.h>
#include <qvmath/geometry/local_frame.h>

#include <cstddef>
#include <utility>

namespace {

using REmath::Point3D_d;
using REmath::detail::Dot3;
using REmath::detail::Sub3;

// The corner threshold is a single-precision constant; comparing against the float value
// widened to double keeps the marks identical for measures that fall between −0.7 and
// −0.699999988079071.
constexpr double kCornerCos = double(-0.7f);
// Marks closer than this many positions are thinned to one; short contours are not thinned.
constexpr std::size_t kThinSpan = 5;
constexpr std::size_t kMinThinCount = 10;

// The unit chord from P[i] to the first point met by stepping forward (or backward) whose
// squared distance exceeds minChord2. Open contours stop at the ends, closed ones after
// n − 1 steps.
bool FarChord(const std::vector<Point3D_d>& pts, std::size_t i, bool forward, double minChord2,
              bool closed, double* chord) {
  const std::size_t n = pts.size();
  const double* p = &pts[i].m_x;
  std::size_t j = i;
  for (std::size_t k = 1; k < n; ++k) {
    if (forward) {
      if (j + 1 == n && !closed) return false;
      j = j + 1 == n ? 0 : j + 1;
    } else {
      if (j == 0 && !closed) return false;
      j = j == 0 ? n - 1 : j - 1;
    }
    Sub3(&pts[j].m_x, p, chord);
    if (Dot3(chord, chord) > minChord2) {
      NormalizeVector(chord);
      return true;
    }
  }
  return false;
}

// Clears marks closer than kThinSpan positions, keeping the one with the larger measure
// (the later one on ties). Each clearing only removes marks, so a mark that once had no
// other mark ahead within the span never gets one again: resuming the scan at the current
// mark after each clearing gives the same result as rescanning from the start, in linear
// time.
void ThinMarks(const std::vector<double>& c, bool closed, std::vector<int>& marks) {
  const std::size_t n = marks.size();
  const std::size_t first = closed ? 0 : 1, end = closed ? n : n - 1;
  for (std::size_t i = first; i < end;) {
    std::size_t j = n;
    if (marks[i]) {
      for (std::size_t k = 1; k <= kThinSpan; ++k) {
        const std::size_t jj = i + k;
        if (jj >= n && !closed) break;
        if (marks[jj % n]) {
          j = jj % n;
          break;
        }
      }
    }
    if (j == n) {
      ++i;
    } else if (c[j] >= c[i]) {
      marks[i] = 0;
      ++i;
    } else {
      marks[j] = 0;
    }
  }
}

}  // namespace

bool GetContourCornerMarks(const std::vector<Point3D_d>& pts, double minChord2, bool closed,
                           std::vector<int>& marks) {
  const std::size_t n = pts.size();
  marks.assign(n, 0);
  if (n == 0) return true;

  std::vector<double> c(n, -1.0);
  for (std::size_t i = 0; i < n; ++i) {
    double ahead[3], behind[3];
    const bool found = FarChord(pts, i, true, minChord2, closed, ahead) &&
                       FarChord(pts, i, false, minChord2, closed, behind);
    if (found) {
      c[i] = Dot3(ahead, behind);
    } else if (closed) {
      return false;
    }
  }

  std::size_t first = 0, end = n;
  if (!closed) {
    marks[0] = marks[n - 1] = 1;
    first = 1;
    end = n - 1;
  }
  for (std::size_t i = first; i < end; ++i) {
    const double prev = c[i == 0 ? n - 1 : i - 1], next = c[i + 1 == n ? 0 : i + 1];
    if (c[i] >= kCornerCos && c[i] >= prev && c[i] >= next) marks[i] = 1;
  }
  if (n > kMinThinCount) ThinMarks(c, closed, marks);
  return true;
}

bool GetContourCornerMarks(const std::vector<REmath::Point3D>& pts, double minChord2, bool closed,
                           std::vector<int>& marks) {
  std::vector<Point3D_d> d;
  d.reserve(pts.size());
  for (const auto& p : pts) d.emplace_back(p.m_x, p.m_y, p.m_z);
  return GetContourCornerMarks(d, minChord2, closed, marks);
}

namespace {

template <class P>
bool SplitContourByCornersTmpl(std::vector<std::vector<P>>* pieces, const std::vector<P>& pts,
                               double minChord2, bool closed, int* cornerCount) {
  if (!pieces) return false;
  std::vector<int> marks;
  if (!GetContourCornerMarks(pts, minChord2, closed, marks)) return false;
  const std::size_t n = pts.size();
  int count = 0;
  std::size_t s = n;
  for (std::size_t i = 0; i < n; ++i) {
    if (marks[i] != 1) continue;
    if (count++ == 0) s = i;
  }
  if (cornerCount) *cornerCount = count;

  if (count == 0) {
    pieces->push_back(pts);
    return true;
  }
  if (count == 1 && closed) {
    std::vector<P> loop;
    loop.reserve(n + 1);
    for (std::size_t k = 0; k <= n; ++k) loop.push_back(pts[(s + k) % n]);
    pieces->push_back(std::move(loop));
    return true;
  }
  const int pieceCount = closed ? count : count - 1;
  for (int p = 0; p < pieceCount; ++p) {
    // The search for the next mark needs no bound: a closed contour has another mark, and
    // on an open one a later mark remains for each of its count − 1 pieces.
    std::size_t L = 1;
    while (marks[(s + L) % n] != 1) ++L;
    std::vector<P> piece;
    piece.reserve(L + 1);
    for (std::size_t k = 0; k <= L; ++k) piece.push_back(pts[(s + k) % n]);
    pieces->push_back(std::move(piece));
    s = (s + L) % n;
  }
  return true;
}

}  // namespace

bool SplitContourByCorners(std::vector<std::vector<REmath::Point3D_d>>* pieces,
                           const std::vector<REmath::Point3D_d>& pts, double minChord2, bool closed,
                           int* cornerCount) {
  return SplitContourByCornersTmpl(pieces, pts, minChord2, closed, cornerCount);
}

bool SplitContourByCorners(std::vector<std::vector<REmath::Point3D>>* pieces,
                           const std::vector<REmath::Point3D>& pts, double minChord2, bool closed,
                           int* cornerCount) {
  return SplitContourByCornersTmpl(pieces, pts, minChord2, closed, cornerCount);
}
