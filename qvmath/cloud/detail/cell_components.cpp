// SPDX-License-Identifier: MIT
#include <qvmath/cloud/detail/cell_components.h>

#include <algorithm>
#include <cmath>

namespace REmath {
namespace detail {

namespace {

std::uint64_t Hash(const std::int32_t k[3]) {
  std::uint64_t h = std::uint64_t(std::uint32_t(k[0])) * 0x9E3779B97F4A7C15ull;
  h ^= std::uint64_t(std::uint32_t(k[1])) * 0xC2B2AE3D27D4EB4Full;
  h ^= std::uint64_t(std::uint32_t(k[2])) * 0x165667B19E3779F9ull;
  return h ^ (h >> 29);
}

// The position of a cell in its block of 4 × 4 × 4.
std::size_t Local(const std::int32_t k[3]) {
  return std::size_t((k[0] & 3) | (k[1] & 3) << 2 | (k[2] & 3) << 4);
}

int Root(std::vector<int>& parent, int c) {
  while (parent[std::size_t(c)] != c) {
    parent[std::size_t(c)] = parent[std::size_t(parent[std::size_t(c)])];
    c = parent[std::size_t(c)];
  }
  return c;
}

}  // namespace

void CellComponents::SetGrid(const double lo[3], const double hi[3], double cell) {
  const double extent = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2], 0.0});
  // 2^30 cells per axis keep a key (shifted by 4) and its neighbours' inside int32.
  cell = std::max(cell, extent * 0x1p-30);
  if (!(cell > 0) || !std::isfinite(cell)) cell = extent > 0 ? extent : 1.0;
  m_inv = 1.0 / cell;
  for (int a = 0; a < 3; ++a) m_lo[a] = lo[a];
}

int CellComponents::FindBlock(const std::int32_t bk[3]) const {
  for (std::uint64_t h = Hash(bk) & m_mask;; h = (h + 1) & m_mask) {
    const Slot& s = m_table[std::size_t(h)];
    if (s.block < 0) return -1;
    if (s.key[0] == bk[0] && s.key[1] == bk[1] && s.key[2] == bk[2]) return s.block;
  }
}

int CellComponents::AddBlock(const std::int32_t bk[3]) {
  std::uint64_t h = Hash(bk) & m_mask;
  while (m_table[std::size_t(h)].block >= 0) h = (h + 1) & m_mask;
  const int block = int(m_blockCells.size() / 64);
  m_table[std::size_t(h)] = Slot{{bk[0], bk[1], bk[2]}, block};
  m_blockCells.resize(m_blockCells.size() + 64, -1);
  // Keep the load at most one half.
  if (2 * std::size_t(block + 1) > m_table.size()) Grow();
  return block;
}

void CellComponents::Grow() {
  m_spare = m_table;
  m_table.assign(2 * m_table.size(), Slot{{0, 0, 0}, -1});
  m_mask = m_table.size() - 1;
  for (const Slot& s : m_spare) {
    if (s.block < 0) continue;
    std::uint64_t h = Hash(s.key) & m_mask;
    while (m_table[std::size_t(h)].block >= 0) h = (h + 1) & m_mask;
    m_table[std::size_t(h)] = s;
  }
}

int CellComponents::Label(const Point3D* pts, const int* items, int count) {
  std::size_t cap = 64;
  while (16 * cap < std::size_t(count)) cap *= 2;
  m_table.assign(cap, Slot{{0, 0, 0}, -1});
  m_mask = cap - 1;
  m_blockCells.clear();
  m_keys.clear();
  m_blockOfCell.clear();
  m_parent.clear();
  m_cellOfItem.resize(std::size_t(count));
  std::int32_t last[3] = {0, 0, 0}, lastBlockKey[3] = {0, 0, 0};
  int lastCell = -1, lastBlock = -1;
  for (int i = 0; i < count; ++i) {
    const Point3D& p = pts[items[i]];
    // Shifted by 4 so that the neighbours of cell 0 have non-negative block keys too. The
    // offsets from lo are >= 0: truncation is the floor.
    const std::int32_t key[3] = {std::int32_t((p.x() - m_lo[0]) * m_inv) + 4,
                                 std::int32_t((p.y() - m_lo[1]) * m_inv) + 4,
                                 std::int32_t((p.z() - m_lo[2]) * m_inv) + 4};
    if (lastCell < 0 || key[0] != last[0] || key[1] != last[1] || key[2] != last[2]) {
      const std::int32_t bk[3] = {key[0] >> 2, key[1] >> 2, key[2] >> 2};
      if (lastBlock < 0 || bk[0] != lastBlockKey[0] || bk[1] != lastBlockKey[1] ||
          bk[2] != lastBlockKey[2]) {
        lastBlock = FindBlock(bk);
        if (lastBlock < 0) lastBlock = AddBlock(bk);
        std::copy(bk, bk + 3, lastBlockKey);
      }
      int& cell = m_blockCells[64 * std::size_t(lastBlock) + Local(key)];
      if (cell < 0) {
        cell = int(m_parent.size());
        m_parent.push_back(cell);
        m_blockOfCell.push_back(lastBlock);
        m_keys.insert(m_keys.end(), key, key + 3);
      }
      lastCell = cell;
      std::copy(key, key + 3, last);
    }
    m_cellOfItem[std::size_t(i)] = lastCell;
  }
  // Join every cell with its occupied neighbours; each touching pair is visited once, from
  // the cell whose offset to the other is "positive" (13 of the 26).
  const int cells = int(m_parent.size());
  for (int c = 0; c < cells; ++c) {
    const std::int32_t* k = &m_keys[3 * std::size_t(c)];
    for (int dz = 0; dz <= 1; ++dz)
      for (int dy = dz ? -1 : 0; dy <= 1; ++dy)
        for (int dx = (dz || dy) ? -1 : 1; dx <= 1; ++dx) {
          const std::int32_t nk[3] = {k[0] + dx, k[1] + dy, k[2] + dz};
          const std::int32_t bk[3] = {nk[0] >> 2, nk[1] >> 2, nk[2] >> 2};
          const int block = bk[0] == k[0] >> 2 && bk[1] == k[1] >> 2 && bk[2] == k[2] >> 2
                                ? m_blockOfCell[std::size_t(c)]
                                : FindBlock(bk);
          if (block < 0) continue;
          const int o = m_blockCells[64 * std::size_t(block) + Local(nk)];
          if (o < 0) continue;
          const int a = Root(m_parent, c), b = Root(m_parent, o);
          if (a != b) m_parent[std::size_t(std::max(a, b))] = std::min(a, b);
        }
  }
  // Number the components in the order of their first item and group the items.
  m_compOfCell.assign(std::size_t(cells), -1);
  m_compOfItem.resize(std::size_t(count));
  m_begin.clear();
  for (int i = 0; i < count; ++i) {
    int& comp = m_compOfCell[std::size_t(Root(m_parent, m_cellOfItem[std::size_t(i)]))];
    if (comp < 0) {
      comp = int(m_begin.size());
      m_begin.push_back(0);
    }
    m_compOfItem[std::size_t(i)] = comp;
    ++m_begin[std::size_t(comp)];
  }
  const int comps = int(m_begin.size());
  int sum = 0;
  for (int& b : m_begin) {
    const int size = b;
    b = sum;
    sum += size;
  }
  m_begin.push_back(sum);
  m_members.resize(std::size_t(count));
  for (int i = 0; i < count; ++i)
    m_members[std::size_t(m_begin[std::size_t(m_compOfItem[std::size_t(i)])]++)] = items[i];
  // The scatter moved every start to the next component's: shift back.
  for (int c = comps; c > 0; --c) m_begin[std::size_t(c)] = m_begin[std::size_t(c - 1)];
  m_begin[0] = 0;
  return comps;
}

}  // namespace detail
}  // namespace REmath
