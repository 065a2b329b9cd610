// SPDX-License-Identifier: MIT
// Splitting of 3-D contours at their corner marks, one template over both point types.
#include <qvmath/geometry/contour_corners.h>
#include <qvmath/geometry/split_contour.h>

#include <cstddef>

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
    // Distance to the next mark. Marking guarantees one on every pass (each piece consumes
    // one mark and there are enough of them), so the search limits only bound the loop.
    const std::size_t limit = closed ? n - 1 : n - 1 - s;
    std::size_t L = 1;
    while (L < limit && marks[(s + L) % n] != 1) ++L;
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
