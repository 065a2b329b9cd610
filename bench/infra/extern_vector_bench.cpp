// SPDX-License-Identifier: MIT
// File-backed external vectors against plain fread/fwrite of the same bytes on a
// default-buffered temporary file: sequential and random element reads and writes, for
// elements of 12 and 4096 bytes.
#include <benchmark/benchmark.h>
#include <qvmath/infra/extern_vector.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

enum Access { kSeqRead, kSeqWrite, kRandRead, kRandWrite };

// Enough elements for a few megabytes, a pass well above timer resolution.
unsigned int ElementCount(unsigned int elementSize) { return elementSize <= 64 ? 200000 : 2048; }

std::vector<unsigned int> Order(unsigned int count, Access access) {
  std::vector<unsigned int> order(count);
  for (unsigned int i = 0; i < count; ++i) order[i] = i;
  if (access == kRandRead || access == kRandWrite) {
    std::shuffle(order.begin(), order.end(), std::mt19937(7));
  }
  return order;
}

// The arguments of one run: element size, access pattern, and the element order.
struct Run {
  explicit Run(const benchmark::State& state)
      : es(static_cast<unsigned int>(state.range(0))),
        access(static_cast<Access>(state.range(1))),
        count(ElementCount(es)),
        order(Order(count, access)),
        write(access == kSeqWrite || access == kRandWrite) {}
  unsigned int es;
  Access access;
  unsigned int count;
  std::vector<unsigned int> order;
  bool write;
};

void SetLabels(benchmark::State& state, unsigned int es, unsigned int count) {
  static const char* const kNames[] = {"seq_read", "seq_write", "rand_read", "rand_write"};
  state.SetLabel(kNames[state.range(1)]);
  state.SetItemsProcessed(state.iterations() * count);
  state.SetBytesProcessed(state.iterations() * std::int64_t{count} * es);
}

void BM_ExtVec_QVmath(benchmark::State& state) {
  const Run run(state);
  const unsigned int es = run.es, count = run.count;
  const bool write = run.write;
  std::vector<unsigned char> fill(es, 0x5A);
  std::unique_ptr<KorvaExtVec::ExternVectorVoidInterface> v(
      KorvaExtVec::CreateExternVectorVoid(es));
  v->resize(count, fill.data());
  std::uint64_t sum = 0;
  for (auto _ : state) {
    for (unsigned int i : run.order) {
      void* h = nullptr;
      unsigned char* p = static_cast<unsigned char*>(v->lock(i, h));
      if (write) {
        std::memset(p, static_cast<int>(i), es);
      } else {
        sum += p[es - 1];
      }
      v->release(write, h);
    }
  }
  // Check: every element holds its fill byte (0x5A) or the byte written last.
  void* h = nullptr;
  const unsigned char last = *static_cast<unsigned char*>(v->lock(count - 1, h));
  v->release(false, h);
  state.counters["wrong_bytes"] = last != (write ? static_cast<unsigned char>(count - 1) : 0x5A);
  benchmark::DoNotOptimize(sum);
  SetLabels(state, es, count);
}

void BM_ExtVec_PlainStdio(benchmark::State& state) {
  const Run run(state);
  const unsigned int es = run.es, count = run.count;
  const bool write = run.write;
  const bool sequential = run.access == kSeqRead || run.access == kSeqWrite;
  std::vector<unsigned char> buf(es, 0x5A);
  std::FILE* f = std::tmpfile();
  if (!f) {
    state.SkipWithError("tmpfile failed");
    return;
  }
  for (unsigned int i = 0; i < count; ++i) std::fwrite(buf.data(), es, 1, f);
  std::uint64_t sum = 0;
  std::size_t failures = 0;
  for (auto _ : state) {
    std::rewind(f);
    for (unsigned int i : run.order) {
      if (!sequential) std::fseek(f, static_cast<long>(i) * es, SEEK_SET);
      if (write) {
        std::memset(buf.data(), static_cast<int>(i), es);
        failures += std::fwrite(buf.data(), es, 1, f) != 1;
      } else {
        failures += std::fread(buf.data(), es, 1, f) != 1;
        sum += buf[es - 1];
      }
    }
    std::fflush(f);
  }
  state.counters["wrong_bytes"] = static_cast<double>(failures);
  benchmark::DoNotOptimize(sum);
  std::fclose(f);
  SetLabels(state, es, count);
}

void Arguments(benchmark::internal::Benchmark* b) {
  for (int es : {12, 4096}) {
    for (int access = kSeqRead; access <= kRandWrite; ++access) b->Args({es, access});
  }
  b->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK(BM_ExtVec_QVmath)->Apply(Arguments);
BENCHMARK(BM_ExtVec_PlainStdio)->Apply(Arguments);
BENCHMARK_MAIN();
