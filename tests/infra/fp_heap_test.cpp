// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/infra/fp_heap.h>

#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "test_util.h"

namespace {

struct Item : CfpHeapMem {
  int id = 0;
};

}  // namespace

TEST(FpHeapTest, Properties_RandomOperationsMatchAnOrderedSetOracle) {
  qvtest::TestRng rng(20240611);
  SCOPED_TRACE(rng.Trace());
  std::vector<Item> items(300);
  for (int i = 0; i < 300; ++i) items[i].id = i;
  std::set<std::pair<double, int>> oracle;  // (key, id) of the queued elements
  CfpHeap heap;
  // Few distinct keys, so that ties are frequent.
  auto randomKey = [&] { return static_cast<double>(rng.Int(-20, 20)) * 0.5; };
  for (int step = 0; step < 20000; ++step) {
    Item& e = items[rng.Int(0, 299)];
    const int op = rng.Int(0, 9);
    if (op < 4) {
      if (!e.inHeap()) {
        const double key = randomKey();
        if (op == 0) {
          e.setHeapKey(key);
          heap.insert(&e);
        } else {
          heap.insert(&e, key);
        }
        oracle.emplace(key, e.id);
      }
    } else if (op < 6) {
      CfpHeapMem* top = heap.extract();
      if (oracle.empty()) {
        ASSERT_EQ(top, nullptr);
      } else {
        ASSERT_NE(top, nullptr);
        const Item* t = static_cast<Item*>(top);
        // Any element of the largest key may come out; it must be queued with that key.
        ASSERT_EQ(t->getHeapKey(), oracle.rbegin()->first);
        ASSERT_EQ(oracle.erase({t->getHeapKey(), t->id}), 1u);
        ASSERT_FALSE(t->inHeap());
      }
    } else if (op < 7) {
      const bool queued = e.inHeap();
      ASSERT_EQ(heap.remove(&e), queued ? &e : nullptr);
      if (queued) {
        ASSERT_EQ(oracle.erase({e.getHeapKey(), e.id}), 1u);
      }
      ASSERT_FALSE(e.inHeap());
    } else {
      const double before = e.getHeapKey(), key = randomKey();
      if (e.inHeap()) {
        oracle.erase({before, e.id});
        oracle.emplace(key, e.id);
      }
      if (op == 7) {
        heap.update(&e, key);
      } else if (e.inHeap()) {
        e.setHeapKey(key);
        heap.update(&e);
      }
      if (!e.inHeap()) {
        ASSERT_EQ(e.getHeapKey(), before);  // untouched when not queued
      }
    }
    ASSERT_EQ(heap.size(), static_cast<int>(oracle.size()));
  }
  // Draining yields the keys in non-increasing order.
  double last = 1e300;
  while (CfpHeapMem* top = heap.extract()) {
    ASSERT_LE(top->getHeapKey(), last);
    last = top->getHeapKey();
  }
  for (const Item& it : items) EXPECT_FALSE(it.inHeap());
}

TEST(FpHeapTest, Ties_OrderFollowsTheSiftRules) {
  // Equal keys never move when sifted: A, B, C stay at 0, 1, 2. Extracting A puts C at
  // the root, and C does not sink below B's equal key, so the order is A, C, B.
  Item a, b, c;
  CfpHeap heap;
  heap.insert(&a, 1.0);
  heap.insert(&b, 1.0);
  heap.insert(&c, 1.0);
  EXPECT_EQ((std::vector<int>{a.getHeapPos(), b.getHeapPos(), c.getHeapPos()}),
            (std::vector<int>{0, 1, 2}));
  const std::vector<CfpHeapMem*> order{heap.extract(), heap.extract(), heap.extract()};
  EXPECT_EQ(order, (std::vector<CfpHeapMem*>{&a, &c, &b}));
  EXPECT_EQ(heap.extract(), nullptr);

  // Sifting down between two equal children takes the left one.
  Item x, l, r;
  heap.insert(&x, 10.0);
  heap.insert(&l, 5.0);
  heap.insert(&r, 5.0);
  heap.update(&x, 0.0);
  EXPECT_EQ((std::vector<int>{l.getHeapPos(), x.getHeapPos(), r.getHeapPos()}),
            (std::vector<int>{0, 1, 2}));
  // A key raised to equal its parent's stays; a strictly greater one climbs.
  heap.update(&x, 5.0);
  EXPECT_EQ(x.getHeapPos(), 1);
  heap.update(&r, 6.0);
  EXPECT_EQ(r.getHeapPos(), 0);
  EXPECT_EQ(l.getHeapPos(), 2);
}

TEST(FpHeapTest, Misuse_NullsAndDoubleInsert) {
  CfpHeap heap;
  Item a;
  EXPECT_THROW(heap.insert(nullptr, 1.0), std::invalid_argument);
  EXPECT_THROW(heap.insert(nullptr), std::invalid_argument);
  EXPECT_EQ(heap.remove(nullptr), nullptr);
  heap.update(nullptr, 3.0);
  heap.insert(&a, 1.0);
  EXPECT_THROW(heap.insert(&a, 2.0), std::logic_error);
  EXPECT_EQ(a.getHeapKey(), 1.0);
  EXPECT_EQ(heap.size(), 1);
}
