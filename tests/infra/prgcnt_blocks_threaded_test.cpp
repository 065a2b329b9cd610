// SPDX-License-Identifier: MIT
#include <qvmath/infra/prgcnt_blocks_threaded.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

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

  // An abort cancels the workers' next reports.
  agg.SetAbort();
  EXPECT_THROW(w1.SetPos(60), CUserIntrException);
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
  EXPECT_TRUE(rec.seen.empty());
}
