// SPDX-License-Identifier: MIT
#include <qvmath/infra/multi_phase_manager.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "progress_recorder.h"
#include "test_util.h"

using KvPCnt::CMultiPhaseManager;
using KvPCnt::CMultiPhaseManagerSingleSubPhase;

using Recorder = qvtest::ProgressRecorder;

using MultiPhaseManagerTest = qvtest::RecordedCounterTest;
TEST(MultiPhaseManager, Properties_RandomWeightsTileTheCounterRange) {
  qvtest::TestRng rng(7031);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 100; ++trial) {
    CProgressCounter pc;
    pc.StartNewSubPhase(10, 80, true);  // the manager divides the current phase [10, 90]
    CMultiPhaseManager mgr(&pc);
    const int n = rng.Int(1, 12);
    std::vector<double> w(static_cast<size_t>(n));
    double total = 0.0;
    for (int i = 0; i < n; ++i) {
      // A quarter of the weights are 0 or negative: those phases open nothing.
      w[size_t(i)] = rng.Int(0, 3) == 0 ? -rng.Int(0, 1) : rng.Uniform(0.01, 5.0);
      if (w[size_t(i)] > 0.0) total += w[size_t(i)];
      mgr.RegisterPhase("p" + std::to_string(i), w[size_t(i)]);
    }
    double expectedStart = 10.0;
    for (int i = 0; i < n; ++i) {
      mgr.StartPhase("p" + std::to_string(i));
      if (w[size_t(i)] <= 0.0) {
        EXPECT_EQ(pc.GetPhaseDepth(), 1);
        continue;
      }
      ASSERT_EQ(pc.GetPhaseDepth(), 2);
      // Phases follow each other without gaps, each in proportion to its weight.
      EXPECT_NEAR(pc.GetStart(), expectedStart, 1e-9);
      EXPECT_NEAR(pc.GetStep(), 80.0 * w[size_t(i)] / total, 1e-9);
      expectedStart = pc.GetStart() + pc.GetStep();
      mgr.FinishPhase("any name");
    }
    if (total > 0.0) {
      EXPECT_NEAR(expectedStart, 90.0, 1e-9);
    }
    EXPECT_EQ(pc.GetPhaseDepth(), 1);
  }
}

TEST_F(MultiPhaseManagerTest, Regions_CancellationLeavesNoPhaseBehind) {
  CMultiPhaseManager mgr(&pc);
  mgr.RegisterPhase("a", 1.0);
  mgr.RegisterPhase("b", 1.0);
  rec.stopAt = 50;
  mgr.StartPhase("a");
  EXPECT_THROW(mgr.FinishPhase("a"), CUserIntrException);  // the end 50 cancels
  EXPECT_EQ(pc.GetPhaseDepth(), 0);
  mgr.FinishLastPhase();  // nothing left to finish
  pc.ClearStopFlag();
  pc.SetPos(0);
  EXPECT_THROW(mgr.StartPhase("b"), CUserIntrException);
  EXPECT_EQ(pc.GetPhaseDepth(), 0);
}

TEST_F(MultiPhaseManagerTest, Regions_SingleSubPhaseReleasesOnceAndOnScopeExit) {
  CMultiPhaseManager mgr(&pc);
  mgr.RegisterPhase("a", 1.0);
  mgr.RegisterPhase("b", 3.0);
  {
    CMultiPhaseManagerSingleSubPhase scope(&mgr, "a");
    EXPECT_EQ(pc.GetPhaseDepth(), 1);
    scope.release();
    scope.release();
    EXPECT_EQ(pc.GetPhaseDepth(), 0);
  }
  { CMultiPhaseManagerSingleSubPhase scope(&mgr, "b"); }  // destructor finishes with report
  EXPECT_EQ(rec.seen, (std::vector<int>{0, 25, 100}));

  // Leaving by an exception closes the phase without reporting its end.
  pc.SetPos(0);
  rec.seen.clear();
  try {
    CMultiPhaseManagerSingleSubPhase scope(&mgr, "b");
    pc.SetPosFloat(0.5);
    throw std::runtime_error("failed");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(rec.seen, (std::vector<int>{25, 63}));
  EXPECT_EQ(pc.GetPhaseDepth(), 0);

  // A cancellation by the destructor's final report is not thrown from the destructor.
  rec.stopAt = 100;
  EXPECT_NO_THROW({ CMultiPhaseManagerSingleSubPhase scope(&mgr, "b"); });
  EXPECT_EQ(pc.GetPhaseDepth(), 0);
  EXPECT_EQ(rec.seen.back(), 100);
}
