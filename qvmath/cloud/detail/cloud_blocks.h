// SPDX-License-Identifier: MIT
// Internal: runs a whole-cloud kernel over the index range [0, n) in blocks through the
// block processor, serially or on worker threads. Not installed.
#pragma once

class CProgressCounter;

namespace REmath {
namespace detail {

// The work of a whole-cloud operation on one block of consecutive items. A kernel keeps
// one scratch area per slot: every slot is used by one thread at a time.
class IBlockKernel {
 public:
  virtual ~IBlockKernel() = default;
  // Processes items [begin, end) using the scratch of `slot` (0 <= slot < thread count).
  virtual void ProcessRange(int begin, int end, int slot) = 0;
};

// The thread count actually used for nThreads (< 1: one per hardware thread).
int ResolveThreadCount(int nThreads);

// Runs kernel over [0, n) in blocks of blockSize items: on the calling thread when
// nThreads == 1, else on nThreads workers of a `BlockProc::CBlockProcessor`. Progress goes
// to pc (null: none) from 0 to 1 of its current phase. Before every block the process-wide
// stop flag is read (`CProgressCounter::IsStopping`).
// Throws CUserIntrException on cancellation (callback or stop flag) and whatever the
// kernel throws, after every worker has stopped.
void RunBlocks(int n, int blockSize, int nThreads, CProgressCounter* pc, IBlockKernel& kernel);

// RunBlocks with a callable f(begin, end, slot) as the kernel.
template <class F>
void RunBlocksOf(int n, int blockSize, int nThreads, CProgressCounter* pc, F&& f) {
  struct Kernel : IBlockKernel {
    explicit Kernel(F& fn) : m_f(fn) {}
    void ProcessRange(int begin, int end, int slot) override { m_f(begin, end, slot); }
    F& m_f;
  } kernel(f);
  RunBlocks(n, blockSize, nThreads, pc, kernel);
}

}  // namespace detail
}  // namespace REmath
