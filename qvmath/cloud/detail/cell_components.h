// SPDX-License-Identifier: MIT
// Internal: connected pieces of a subset of points through a uniform grid; two points are
// joined when their cells touch (26-neighbourhood). Not installed.
#pragma once

#include <qvmath/core/point3d.h>

#include <cstdint>
#include <vector>

namespace REmath {
namespace detail {

// Splits a list of points into the connected components of their occupied grid cells.
// Points in the same cell or in cells sharing a face, an edge or a corner are connected;
// so points closer than the cell edge always share a component, points farther apart than
// 2·√3 cell edges are never joined directly. Cost linear in the points labelled (a hash
// table of the occupied 4 × 4 × 4 blocks of cells and a union-find over the cells); the
// storage is kept from one call to the next, so repeated calls on sets no larger than before
// allocate nothing. Blocks keep the table small and most neighbour look-ups inside the
// block at hand; consecutive points in the same cell (Morton order) share one look-up.
class CellComponents {
 public:
  // The grid: cells of edge `cell` from the corner lo of the box [lo, hi] that holds every
  // point later labelled. The edge is enlarged where needed so that a coordinate spans at
  // most 2^30 cells; a box of zero size and a cell <= 0 give cells of edge 1.
  void SetGrid(const double lo[3], const double hi[3], double cell);

  // Labels pts[items[0]], ..., pts[items[count - 1]]. Components are numbered from 0 in the
  // order of their first item. Returns the number of components.
  int Label(const Point3D* pts, const int* items, int count);

  // The component of item i of the last `Label`.
  int ComponentOf(int i) const { return m_compOfItem[std::size_t(i)]; }
  // Items of component c (their values from `items`, in item order): Members()[Begin(c)..
  // Begin(c + 1)).
  int Begin(int c) const { return m_begin[std::size_t(c)]; }
  const int* Members() const { return m_members.data(); }

 private:
  struct Slot {
    std::int32_t key[3];  // of the block
    std::int32_t block;   // -1: empty
  };
  int FindBlock(const std::int32_t bk[3]) const;
  int AddBlock(const std::int32_t bk[3]);
  void Grow();

  double m_lo[3] = {0, 0, 0};
  double m_inv = 1;
  std::vector<Slot> m_table, m_spare;
  std::uint64_t m_mask = 0;
  std::vector<int> m_blockCells;     // 64 per block: cell or -1
  std::vector<std::int32_t> m_keys;  // 3 per cell
  std::vector<int> m_blockOfCell;
  std::vector<int> m_parent;  // union-find over cells
  std::vector<int> m_compOfCell;
  std::vector<int> m_cellOfItem, m_compOfItem;
  std::vector<int> m_begin, m_members;
};

}  // namespace detail
}  // namespace REmath
