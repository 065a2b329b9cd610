// SPDX-License-Identifier: MIT
// Thread scaling and memory of the whole-cloud normals pass on the noisy torus (1M points,
// k = 16, index build included). Each iteration runs, one after the other: the pass on 1
// thread, the pass on 2 threads, the index build alone on 2 threads and on 1, and the normals from
// a built index on 1 and 2 threads, each timed on the wall clock and on the process CPU clock (the
// machine may be shared: CPU time shows the work done, wall time the speed-up got). Counters are
// means over the iterations, in seconds; speedup_* are wall-time ratios.
//
// Memory, measured once on the 2-thread pass with fresh outputs: this program replaces the
// global operator new/delete with counting ones (malloc and malloc_usable_size), so
// heap_peak_B_per_pt is the largest live heap during the pass above that before it,
// outputs and index included, and heap_kept_B_per_pt what is still held afterwards (the
// outputs). rss_peak_B_per_pt is VmHWM after the pass minus VmRSS before it, with the
// high-water mark reset through /proc/self/clear_refs (0 when that is refused).
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_normals.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <string>

#include "cloud_bench_common.h"

namespace {

std::atomic<long long> g_live{0}, g_peak{0};

void* Counted(std::size_t n, std::size_t align) {
  void* p = align > alignof(std::max_align_t)
                ? std::aligned_alloc(align, (n + align - 1) / align * align)
                : std::malloc(n ? n : 1);
  if (!p) throw std::bad_alloc();
  const long long live = g_live += (long long)malloc_usable_size(p);
  long long peak = g_peak.load();
  while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
  }
  return p;
}

void Uncounted(void* p) {
  if (!p) return;
  g_live -= (long long)malloc_usable_size(p);
  std::free(p);
}

}  // namespace

void* operator new(std::size_t n) { return Counted(n, 0); }
void* operator new[](std::size_t n) { return Counted(n, 0); }
void* operator new(std::size_t n, std::align_val_t a) { return Counted(n, std::size_t(a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return Counted(n, std::size_t(a)); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
  try {
    return Counted(n, 0);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t n, const std::nothrow_t& t) noexcept { return operator new(n, t); }
void operator delete(void* p) noexcept { Uncounted(p); }
void operator delete[](void* p) noexcept { Uncounted(p); }
void operator delete(void* p, std::size_t) noexcept { Uncounted(p); }
void operator delete[](void* p, std::size_t) noexcept { Uncounted(p); }
void operator delete(void* p, std::align_val_t) noexcept { Uncounted(p); }
void operator delete[](void* p, std::align_val_t) noexcept { Uncounted(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { Uncounted(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { Uncounted(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { Uncounted(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { Uncounted(p); }

using namespace REmath;

namespace {

constexpr int kPoints = 1000000;

// A field of /proc/self/status in bytes ("VmHWM", "VmRSS"); 0 when absent.
double StatusBytes(const char* key) {
  std::ifstream f("/proc/self/status");
  std::string line;
  const std::size_t len = std::strlen(key);
  while (std::getline(f, line))
    if (line.compare(0, len, key) == 0 && line.size() > len && line[len] == ':')
      return 1024.0 * std::atof(line.c_str() + len + 1);
  return 0;
}

void Memory(benchmark::State& st, const CPointCloud& cloud, const CCloudNormalParams& p) {
  std::FILE* f = std::fopen("/proc/self/clear_refs", "w");
  const bool reset = f && std::fputs("5", f) >= 0;
  if (f) std::fclose(f);
  const double rss0 = StatusBytes("VmRSS");
  const long long live0 = g_live.load();
  g_peak = live0;
  long long kept = 0;
  {
    CCloudNormals out;
    ComputeCloudNormals(cloud, p, out);
    kept = g_live.load() - live0;
  }
  st.counters["heap_peak_B_per_pt"] = double(g_peak.load() - live0) / kPoints;
  st.counters["heap_kept_B_per_pt"] = double(kept) / kPoints;
  st.counters["rss_peak_B_per_pt"] = reset ? (StatusBytes("VmHWM") - rss0) / kPoints : 0.0;
}

void BM_NormalsThreads(benchmark::State& st) {
  const CPointCloud& cloud = qvbench::Torus(kPoints).cloud;
  CCloudNormalParams p1, p2;
  p1.k = p2.k = 16;
  p1.nThreads = 1;
  p2.nThreads = 2;
  Memory(st, cloud, p2);
  CCloudNormals out;
  CCloudIndex index;
  enum { kPass1, kPass2, kBuild1, kBuild2, kIdx1, kIdx2, kN };
  const char* names[kN] = {"pass1", "pass2", "build1", "build2", "from_index1", "from_index2"};
  double wall[kN] = {}, cpu[kN] = {};
  auto timed = [&](int slot, auto&& f) {
    const double w = qvbench::WallSeconds(), c = qvbench::CpuSeconds();
    f();
    wall[slot] += qvbench::WallSeconds() - w;
    cpu[slot] += qvbench::CpuSeconds() - c;
  };
  for (auto _ : st) {
    const double before = wall[kPass2];
    timed(kPass1, [&] { ComputeCloudNormals(cloud, p1, out); });
    timed(kPass2, [&] { ComputeCloudNormals(cloud, p2, out); });
    timed(kBuild2, [&] { index.Build(cloud.Positions().data(), cloud.Size(), nullptr, 2); });
    timed(kBuild1, [&] { index.Build(cloud.Positions().data(), cloud.Size()); });
    timed(kIdx1, [&] { ComputeCloudNormals(index, p1, out); });
    timed(kIdx2, [&] { ComputeCloudNormals(index, p2, out); });
    st.SetIterationTime(wall[kPass2] - before);
  }
  const double it = double(st.iterations());
  for (int s = 0; s < kN; ++s) {
    st.counters[std::string(names[s]) + "_wall_s"] = wall[s] / it;
    st.counters[std::string(names[s]) + "_cpu_s"] = cpu[s] / it;
  }
  st.counters["speedup_pass"] = wall[kPass1] / wall[kPass2];
  st.counters["speedup_from_index"] = wall[kIdx1] / wall[kIdx2];
  st.counters["speedup_build"] = wall[kBuild1] / wall[kBuild2];
}
BENCHMARK(BM_NormalsThreads)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
