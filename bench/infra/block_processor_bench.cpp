// SPDX-License-Identifier: MIT
// The block processor on CPU-bound blocks (a few milliseconds of arithmetic each) with 1 and
// 2 worker threads, beside the ideal: the same blocks in a plain loop and on std::threads
// taking blocks from an atomic counter. Empty blocks measure the scheduling cost per block.
#include <benchmark/benchmark.h>
#include <qvmath/infra/block_processor.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

namespace {

using namespace BlockProc;

struct Block : IKorvaFragmentDescriptor_Old {
  explicit Block(int i) : id(i) {}
  int id;
};

// Independent blocks 0..n-1; any two distinct blocks may run together.
class Blocks : public CBlockStructure {
 public:
  explicit Blocks(int n) {
    for (int i = 0; i < n; ++i) m_blocks.emplace_back(i);
  }
  IKorvaFragmentDescriptor_Old* Next(IKorvaFragmentDescriptor_Old* d) override {
    const size_t next = size_t(static_cast<Block*>(d)->id) + 1;
    return next < m_blocks.size() ? &m_blocks[next] : nullptr;
  }
  void ResetForPass() override {}
  bool CanProcessTogether(const IKorvaFragmentDescriptor_Old& a,
                          const IKorvaFragmentDescriptor_Old& b) override {
    return &a != &b;
  }
  int GetBlockNumber() const override { return int(m_blocks.size()); }
  Block_iter begin() override {
    return Block_iter(m_blocks.empty() ? nullptr : &m_blocks[0], this);
  }
  Block_iter end() override { return Block_iter(nullptr, this); }
  // Random access: the default index walks the blocks.
  int BlockIndex(Block_iter it) override {
    return it.Descriptor() ? static_cast<Block*>(it.Descriptor())->id : -1;
  }

 private:
  std::vector<Block> m_blocks;
};

// A few milliseconds of dependent floating-point arithmetic.
double Kernel(int id, int work) {
  double x = 1.0 + id;
  for (int i = 0; i < work; ++i) x = std::sqrt(x * 1.000001 + 0.5);
  return x;
}

class Worker : public CBlockWorker {
 public:
  Worker(CBlockProcessor* m, bool threaded, int work, std::vector<double>* out)
      : CBlockWorker(m, threaded), m_work(work), m_out(out) {}
  int ProcessFragment(IKorvaFragmentDescriptor_Old& d, IKorvaFragment_Old*) override {
    const int id = static_cast<Block&>(d).id;
    (*m_out)[size_t(id)] = m_work > 0 ? Kernel(id, m_work) : 0.0;
    return 0;
  }
  void FinishBlock(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {}

 private:
  int m_work;
  std::vector<double>* m_out;
};

class Processor : public CBlockProcessor {
 public:
  Processor(int work, std::vector<double>* out) : m_work(work), m_out(out) {}
  CBlockWorker* CreateWorker(bool threaded) override {
    return new Worker(this, threaded, m_work, m_out);
  }

 private:
  int m_work;
  std::vector<double>* m_out;
};

constexpr int kBlocks = 32;
constexpr int kWork = 200000;  // about 2 ms of sqrt chains per block on this machine
constexpr int kEmptyBlocks = 1000;

// `count` blocks of `work` through the block processor. Arg: worker threads (0: serial
// processing on the calling thread).
void RunQVmath(benchmark::State& st, int count, int work) {
  const int threads = int(st.range(0));
  Blocks blocks(count);
  std::vector<double> out(static_cast<size_t>(count));
  Processor p(work, &out);
  p.SetBlockStructure(&blocks);
  p.SetNParralelThreads(threads);
  p.SetUseParallelThreads(threads > 0);
  for (auto _ : st) {
    p.Run();
    benchmark::DoNotOptimize(out.data());
  }
  st.SetItemsProcessed(st.iterations() * count);
  st.counters["check"] = out.empty() ? 0.0 : out.back();
}

// The ideal: the same blocks on the calling thread and threads - 1 plain threads, each
// taking the next block from a shared atomic counter, with no other bookkeeping.
void RunIdeal(benchmark::State& st, int count, int work) {
  const int threads = int(st.range(0));
  std::vector<double> out(static_cast<size_t>(count));
  for (auto _ : st) {
    std::atomic<int> next{0};
    auto drain = [&] {
      for (int b; (b = next.fetch_add(1)) < count;)
        out[size_t(b)] = work > 0 ? Kernel(b, work) : 0.0;
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < threads; ++t) pool.emplace_back(drain);
    drain();
    for (auto& t : pool) t.join();
    benchmark::DoNotOptimize(out.data());
  }
  st.SetItemsProcessed(st.iterations() * count);
  st.counters["check"] = out.empty() ? 0.0 : out.back();
}

void BM_CpuBlocks_QVmath(benchmark::State& st) { RunQVmath(st, kBlocks, kWork); }
void BM_CpuBlocks_IdealThreads(benchmark::State& st) { RunIdeal(st, kBlocks, kWork); }
// Empty blocks: what the framework costs per block.
void BM_EmptyBlocks_QVmath(benchmark::State& st) { RunQVmath(st, kEmptyBlocks, 0); }
void BM_EmptyBlocks_IdealThreads(benchmark::State& st) { RunIdeal(st, kEmptyBlocks, 0); }

}  // namespace

BENCHMARK(BM_CpuBlocks_QVmath)
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_CpuBlocks_IdealThreads)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_EmptyBlocks_QVmath)
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(BM_EmptyBlocks_IdealThreads)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

BENCHMARK_MAIN();
