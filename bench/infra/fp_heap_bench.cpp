// SPDX-License-Identifier: MIT
// CfpHeap against Boost's mutable binary d-ary heap on the same workload: n inserts,
// 2n key updates of queued elements, n extracts.
#include <benchmark/benchmark.h>
#include <qvmath/infra/fp_heap.h>

#include <algorithm>
#include <boost/heap/d_ary_heap.hpp>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace {

// Order-sensitive digest of a key sequence.
struct Digest {
  std::uint64_t value = 1469598103934665603ull;
  void Add(double key) {
    value ^= static_cast<std::uint64_t>(key * 9007199254740992.0);
    value *= 1099511628211ull;
  }
};

struct Workload {
  std::vector<double> initialKeys;
  std::vector<std::uint32_t> updateIds;
  std::vector<double> updateKeys;
  std::uint64_t expected = 0;
};

// Random keys, fixed seed; `expected` is the digest of the final keys in decreasing order,
// the extraction order every correct max-heap must produce.
Workload MakeWorkload(std::size_t n) {
  Workload out;
  std::mt19937_64 rng(12345);
  std::uniform_real_distribution<double> key(0.0, 1.0);
  std::uniform_int_distribution<std::uint32_t> id(0, static_cast<std::uint32_t>(n - 1));
  for (std::size_t i = 0; i < n; ++i) out.initialKeys.push_back(key(rng));
  std::vector<double> finalKeys = out.initialKeys;
  for (std::size_t i = 0; i < 2 * n; ++i) {
    out.updateIds.push_back(id(rng));
    out.updateKeys.push_back(key(rng));
    finalKeys[out.updateIds.back()] = out.updateKeys.back();
  }
  std::sort(finalKeys.begin(), finalKeys.end(), std::greater<double>());
  Digest d;
  for (double k : finalKeys) d.Add(k);
  out.expected = d.value;
  return out;
}

void BM_Heap_QVmath(benchmark::State& state) {
  const std::size_t n = static_cast<std::size_t>(state.range(0));
  const Workload w = MakeWorkload(n);
  std::vector<CfpHeapMem> items(n);
  Digest digest;
  for (auto _ : state) {
    digest = Digest();
    CfpHeap heap(static_cast<int>(n));
    for (std::size_t i = 0; i < n; ++i) heap.insert(&items[i], w.initialKeys[i]);
    for (std::size_t k = 0; k < w.updateIds.size(); ++k) {
      heap.update(&items[w.updateIds[k]], w.updateKeys[k]);
    }
    while (CfpHeapMem* e = heap.extract()) digest.Add(e->getHeapKey());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(4 * n));
  state.counters["wrong_order"] = digest.value != w.expected;
}

struct Node {
  double key;
  std::uint32_t id;
};
struct NodeLess {
  bool operator()(const Node& a, const Node& b) const { return a.key < b.key; }
};
using BoostHeap = boost::heap::d_ary_heap<Node, boost::heap::arity<2>, boost::heap::mutable_<true>,
                                          boost::heap::compare<NodeLess>>;

void BM_Heap_BoostDAry2(benchmark::State& state) {
  const std::size_t n = static_cast<std::size_t>(state.range(0));
  const Workload w = MakeWorkload(n);
  std::vector<BoostHeap::handle_type> handles(n);
  Digest digest;
  for (auto _ : state) {
    digest = Digest();
    BoostHeap heap;
    heap.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
      handles[i] = heap.push(Node{w.initialKeys[i], static_cast<std::uint32_t>(i)});
    }
    for (std::size_t k = 0; k < w.updateIds.size(); ++k) {
      heap.update(handles[w.updateIds[k]], Node{w.updateKeys[k], w.updateIds[k]});
    }
    while (!heap.empty()) {
      digest.Add(heap.top().key);
      heap.pop();
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(4 * n));
  state.counters["wrong_order"] = digest.value != w.expected;
}

}  // namespace

BENCHMARK(BM_Heap_QVmath)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Heap_BoostDAry2)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
