// SPDX-License-Identifier: MIT
#include <qvmath/infra/prgcnt_blocks_threaded.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <thread>
#include <vector>

#include "progress_recorder.h"
#include "test_util.h"

using Recorder = qvtest::ProgressRecorder;

using PrgCntBlocksTreadedTest = qvtest::RecordedCounterTest;
TEST_F(PrgCntBlocksTreadedTest, Regions_BlockPercentagesMoveTheParent) {
  CProgressCounter w1, w2;  // registered counters outlive the aggregator
  CPrgCntBlocksTreaded agg(&pc, 4);
  agg.RegisterWorker(&w1);
  agg.RegisterWorker(&w2);

  w1.SetPos(50);  // no block assigned yet: ignored
  agg.UpdateParent();
  EXPECT_TRUE(rec.seen.empty());

  agg.BlockStart(0, &w1);
  agg.BlockStart(2, &w2);
  w1.SetPos(40);
  w2.SetPos(80);
  agg.UpdateParent();  // (40 + 80) / 400 = 0.30
  agg.BlockFinish(0, &w1);
  w1.SetPos(10);       // after its block finished: ignored
  agg.UpdateParent();  // (100 + 80) / 400 = 0.45
  agg.BlockStart(3, &w1);
  w1.SetPos(20);
  agg.BlockFinish(2, &w2);
  agg.UpdateParent();  // (100 + 100 + 20) / 400 = 0.55
  EXPECT_EQ(rec.seen, (std::vector<int>{30, 45, 55}));

  agg.BlockStart(7, &w2);  // outside the table: ignored
  agg.BlockFinish(-1, &w2);
  w2.SetPos(90);
  agg.UpdateParent();
  EXPECT_EQ(rec.seen.size(), 3u);
}

TEST(PrgCntBlocksTreaded, Regions_AbortCancelsWorkerReports) {
  CProgressCounter w;
  CPrgCntBlocksTreaded agg(nullptr, 2);
  agg.RegisterWorker(&w);
  agg.BlockStart(1, &w);
  w.SetPos(5);
  agg.SetAbort();
  EXPECT_TRUE(agg.IsAbort());
  EXPECT_THROW(w.SetPos(6), CUserIntrException);
  agg.UpdateParent();  // no parent: nothing
}

TEST_F(PrgCntBlocksTreadedTest, Regions_UnregisterAndDestructionDetachCounters) {
  CProgressCounter w1, w2;
  {
    CPrgCntBlocksTreaded agg(&pc, 1);
    agg.RegisterWorker(&w1);
    agg.RegisterWorker(&w1);  // twice: one registration
    agg.RegisterWorker(&w2);
    agg.RegisterWorker(nullptr);
    agg.UnregisterWorker(&w1);
    agg.UnregisterWorker(&w1);
    EXPECT_EQ(w1.GetContext(), nullptr);
    agg.BlockStart(0, &w1);
    w1.SetPos(70);  // no callback any more
    agg.UpdateParent();
    EXPECT_TRUE(rec.seen.empty());
  }
  // The aggregator is gone; w2 was still registered and must not call into it.
  EXPECT_EQ(w2.GetContext(), nullptr);
  w2.SetPos(33);
  CProgressCounter w3;
  CPrgCntBlocksTreaded empty(&pc, 0);
  empty.RegisterWorker(&w3);
  empty.BlockFinish(0, &w3);
  empty.UpdateParent();  // nothing changed
  EXPECT_TRUE(rec.seen.empty());
}

// Workers on their own threads report random progress on their blocks while the owning
// thread keeps moving the parent; every block ends at 100 %, so does the parent.
TEST_F(PrgCntBlocksTreadedTest, Properties_ConcurrentWorkersReachTheEnd) {
  const int kBlocks = 40, kWorkers = 3;
  std::vector<CProgressCounter> counters(kWorkers);  // must outlive the aggregator
  CPrgCntBlocksTreaded agg(&pc, kBlocks);
  for (auto& c : counters) agg.RegisterWorker(&c);
  std::atomic<int> next{0};
  std::atomic<int> running{kWorkers};
  std::vector<std::thread> threads;
  for (int w = 0; w < kWorkers; ++w)
    threads.emplace_back([&, w] {
      qvtest::TestRng rng(100 + unsigned(w));
      for (int b; (b = next.fetch_add(1)) < kBlocks;) {
        agg.BlockStart(b, &counters[size_t(w)]);
        for (int k = 0; k < 20; ++k) counters[size_t(w)].SetPosFloat(rng.Uniform(0.0, 1.0));
        agg.BlockFinish(b, &counters[size_t(w)]);
      }
      running.fetch_sub(1);
    });
  while (running.load() > 0) agg.UpdateParent();
  for (auto& t : threads) t.join();
  agg.UpdateParent();
  ASSERT_FALSE(rec.seen.empty());
  EXPECT_EQ(rec.seen.back(), 100);
  for (int p : rec.seen) {
    EXPECT_GE(p, 0);
    EXPECT_LE(p, 100);
  }
}
