// SPDX-License-Identifier: MIT
// A host's block structure for the block-processor tests: blocks 0..n-1 on a line, where
// blocks closer than a given gap must not be processed at the same time.
#pragma once

#include <qvmath/infra/block_structure.h>

#include <cstdlib>
#include <vector>

namespace qvtest {

struct LineBlock : BlockProc::IKorvaFragmentDescriptor_Old {
  explicit LineBlock(int i) : id(i) {}
  int id;
};

inline int IdOf(const BlockProc::IKorvaFragmentDescriptor_Old& d) {
  return static_cast<const LineBlock&>(d).id;
}

/// Blocks 0..n-1; a and b may run together when |a - b| > gap (gap 0: any two distinct
/// blocks).
class LineStructure : public BlockProc::CBlockStructure {
 public:
  explicit LineStructure(int n, int gap = 1) : m_gap(gap) {
    for (int i = 0; i < n; ++i) m_blocks.emplace_back(i);
  }
  BlockProc::IKorvaFragmentDescriptor_Old* Next(
      BlockProc::IKorvaFragmentDescriptor_Old* d) override {
    const int next = IdOf(*d) + 1;
    return next < int(m_blocks.size()) ? &m_blocks[size_t(next)] : nullptr;
  }
  void ResetForPass() override { ++resets; }
  bool CanProcessTogether(const BlockProc::IKorvaFragmentDescriptor_Old& a,
                          const BlockProc::IKorvaFragmentDescriptor_Old& b) override {
    if (&a == &b) return false;
    return !Forbidden(IdOf(a), IdOf(b));
  }
  int GetBlockNumber() const override { return int(m_blocks.size()); }
  BlockProc::Block_iter begin() override {
    return BlockProc::Block_iter(m_blocks.empty() ? nullptr : &m_blocks[0], this);
  }
  BlockProc::Block_iter end() override { return BlockProc::Block_iter(nullptr, this); }

  /// Whether blocks a and b (distinct) must not overlap in time.
  bool Forbidden(int a, int b) const { return a != b && std::abs(a - b) <= m_gap; }
  BlockProc::Block_iter At(int i) { return BlockProc::Block_iter(&m_blocks[size_t(i)], this); }

  int resets = 0;

 private:
  std::vector<LineBlock> m_blocks;
  int m_gap;
};

}  // namespace qvtest
