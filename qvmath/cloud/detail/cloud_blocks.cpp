// SPDX-License-Identifier: MIT
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/block_structure.h>
#include <qvmath/infra/block_worker.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace REmath {
namespace detail {

namespace {

struct Range : BlockProc::IKorvaFragmentDescriptor_Old {
  int begin = 0, end = 0, index = 0;
};

// Consecutive ranges, all independent of each other.
class Ranges : public BlockProc::CBlockStructure {
 public:
  Ranges(int n, int blockSize) {
    for (int b = 0; b < n; b += blockSize) {
      Range r;
      r.begin = b;
      r.end = std::min(n, b + blockSize);
      r.index = int(m_ranges.size());
      m_ranges.push_back(r);
    }
  }
  BlockProc::IKorvaFragmentDescriptor_Old* Next(
      BlockProc::IKorvaFragmentDescriptor_Old* d) override {
    const int i = static_cast<Range*>(d)->index + 1;
    return i < int(m_ranges.size()) ? &m_ranges[std::size_t(i)] : nullptr;
  }
  void ResetForPass() override {}
  bool CanProcessTogether(const BlockProc::IKorvaFragmentDescriptor_Old& a,
                          const BlockProc::IKorvaFragmentDescriptor_Old& b) override {
    return &a != &b;
  }
  int GetBlockNumber() const override { return int(m_ranges.size()); }
  BlockProc::Block_iter begin() override {
    return BlockProc::Block_iter(m_ranges.empty() ? nullptr : &m_ranges[0], this);
  }
  BlockProc::Block_iter end() override { return BlockProc::Block_iter(nullptr, this); }
  int BlockIndex(BlockProc::Block_iter it) override {
    return it.Descriptor() ? static_cast<Range*>(it.Descriptor())->index : -1;
  }

 private:
  std::vector<Range> m_ranges;
};

class Worker : public BlockProc::CBlockWorker {
 public:
  Worker(BlockProc::CBlockProcessor* manager, bool threaded, IBlockKernel& kernel, int slot)
      : CBlockWorker(manager, threaded), m_kernel(kernel), m_slot(slot) {}
  int ProcessFragment(BlockProc::IKorvaFragmentDescriptor_Old& d,
                      BlockProc::IKorvaFragment_Old*) override {
    // The stop flag is read here rather than left to the callback, so a host that
    // signals the process-wide stop event stops a run within one block.
    if (CProgressCounter::IsStopping()) throw CUserIntrException();
    const Range& r = static_cast<const Range&>(d);
    m_kernel.ProcessRange(r.begin, r.end, m_slot);
    return 0;
  }
  void FinishBlock(BlockProc::IKorvaFragmentDescriptor_Old&,
                   BlockProc::IKorvaFragment_Old*) override {}

 private:
  IBlockKernel& m_kernel;
  int m_slot;
};

class Processor : public BlockProc::CBlockProcessor {
 public:
  explicit Processor(IBlockKernel& kernel) : m_kernel(kernel) {}
  // Threaded workers are created on the calling thread, one per slot, at the start of the
  // pass; the serial path makes one worker per block, always slot 0.
  BlockProc::CBlockWorker* CreateWorker(bool threaded) override {
    return new Worker(this, threaded, m_kernel, threaded ? m_nextSlot++ : 0);
  }
  void PreliminaryPassActions() override { m_nextSlot = 0; }

 private:
  IBlockKernel& m_kernel;
  int m_nextSlot = 0;
};

}  // namespace

int ResolveThreadCount(int nThreads) {
  if (nThreads >= 1) return nThreads;
  const unsigned hw = std::thread::hardware_concurrency();
  return hw ? int(hw) : 1;
}

void RunBlocks(int n, int blockSize, int nThreads, CProgressCounter* pc, IBlockKernel& kernel) {
  if (n <= 0) return;
  Ranges ranges(n, std::max(1, blockSize));
  Processor proc(kernel);
  proc.SetBlockStructure(&ranges);
  proc.SetProgressCounter(pc);
  proc.SetNParralelThreads(ResolveThreadCount(nThreads));
  proc.Run();
}

}  // namespace detail
}  // namespace REmath
