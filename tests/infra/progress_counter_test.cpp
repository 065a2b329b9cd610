// SPDX-License-Identifier: MIT
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include "progress_recorder.h"
#include "test_util.h"

using Recorder = qvtest::ProgressRecorder;

using ProgressCounterTest = qvtest::RecordedCounterTest;

TEST_F(ProgressCounterTest, Regions_FinishingOuterReportsInnermostEndAndRestoresParent) {
  CPrgCntSubPhase a(&pc, 20, 50, CPrgCntSubPhase::PhaseInt, true);  // [20, 70]
  pc.StartNewSubPhaseFloat(0.0, 0.5, true);                         // [20, 45]
  pc.StartNewSubPhaseFloat(0.0, 0.5, true);                         // [20, 32.5]
  ASSERT_EQ(pc.GetPhaseDepth(), 3);
  a.Finish();
  // The end is taken from the phase in force (the innermost), not from the finished one.
  EXPECT_EQ(rec.seen, (std::vector<int>{20, 33}));
  EXPECT_EQ(pc.GetPhaseDepth(), 0);
  EXPECT_EQ(std::make_pair(pc.GetStart(), pc.GetStep()), std::make_pair(0.0, 100.0));
  const double nan = std::numeric_limits<double>::quiet_NaN();  // start, step given; kept:
  const double rows[][4] = {
      {10, 30, 10, 30}, {-5, 0, 0, 1}, {150, -2, 99, 1}, {nan, nan, 0, 1}, {0, 500, 0, 100}};
  for (const auto& r : rows) {
    pc.SetStart(r[0]), pc.SetStep(r[1]);
    EXPECT_EQ(std::make_pair(pc.GetStart(), pc.GetStep()), std::make_pair(r[2], r[3]));
  }
}

TEST(ProgressCounter, Properties_RandomNestingMatchesExactComposition) {
  qvtest::TestRng rng(20240907);
  SCOPED_TRACE(rng.Trace());
  struct Frame {
    long double start, step;
    bool visible;
  };
  for (int trial = 0; trial < 200; ++trial) {
    CProgressCounter pc;
    Recorder rec;
    rec.Attach(pc);
    std::vector<Frame> model{{0.0L, 100.0L, true}};
    for (int op = 0; op < 60; ++op) {
      const Frame& top = model.back();
      const int kind = rng.Int(0, 9);
      if (kind < 3 && model.size() < 7) {
        const double a = rng.Uniform(0.0, 1.0);
        const double b = rng.Uniform(0.0, 1.0 - a);
        const bool visible = rng.Int(0, 7) != 0;
        const int before = pc.GetPos();
        pc.StartNewSubPhaseFloat(a, b, visible);
        model.push_back({top.start + top.step * a, top.step * b, top.visible && visible});
        if (model.back().visible)
          EXPECT_NEAR(double(pc.GetPos()), double(model.back().start), 0.5 + 1e-9);
        else
          EXPECT_EQ(pc.GetPos(), before);
      } else if (kind < 5 && model.size() > 1) {
        const int before = pc.GetPos();
        const long double end = top.start + top.step;
        pc.FinishSubPhase();
        model.pop_back();
        if (model.back().visible)
          EXPECT_NEAR(double(pc.GetPos()), double(end), 0.5 + 1e-9);
        else
          EXPECT_EQ(pc.GetPos(), before);
      } else {
        const double f = rng.Uniform(-0.2, 1.2);
        const int before = pc.GetPos();
        pc.SetPosFloat(f);
        if (top.visible) {
          // Within rounding of the exact position, clamped to the phase.
          long double x = top.start + top.step * f;
          x = std::min(std::max(x, top.start), top.start + top.step);
          EXPECT_NEAR(double(pc.GetPos()), double(x), 0.5 + 1e-9);
        } else {
          EXPECT_EQ(pc.GetPos(), before);
        }
      }
      ASSERT_EQ(pc.GetPhaseDepth(), int(model.size()) - 1);
      EXPECT_EQ(pc.IsHidden(), !model.back().visible);
      EXPECT_NEAR(pc.GetStart(), double(model.back().start), 1e-12);
      EXPECT_NEAR(pc.GetStep(), double(model.back().step), 1e-12);
    }
    // Closing everything restores the top-level phase exactly.
    pc.FinishSubPhaseAndAllSlaveSubphases(1, false);
    EXPECT_EQ(pc.GetStart(), 0.0);
    EXPECT_EQ(pc.GetStep(), 100.0);
    EXPECT_FALSE(pc.IsHidden());
  }
}

TEST_F(ProgressCounterTest, Degenerate_HiddenCounterIgnoresPositionsAndIntegerSubPhases) {
  pc.Hide();
  pc.SetPos(10);
  pc.SetStart(30.0);
  EXPECT_EQ(pc.GetStart(), 0.0);
  {
    CPrgCntSubPhase inert(&pc, 20, 50, CPrgCntSubPhase::PhaseInt, true);
    EXPECT_EQ(pc.GetPhaseDepth(), 0);
  }
  {
    // The double form opens anyway, as percentages truncated to integers.
    CPrgCntSubPhase opened(&pc, 20.9, 50.7, CPrgCntSubPhase::PhaseFloat, true);
    EXPECT_EQ(pc.GetPhaseDepth(), 1);
    EXPECT_DOUBLE_EQ(pc.GetStart(), 20.0);
    EXPECT_DOUBLE_EQ(pc.GetStep(), 50.0);
  }
  EXPECT_TRUE(rec.seen.empty());
  pc.Restore();
  pc.SetPos(10);
  EXPECT_EQ(rec.seen, (std::vector<int>{10}));
}

TEST_F(ProgressCounterTest, Regions_CancellationThrowsOnceThenSilence) {
  rec.stopAt = 30;
  pc.SetPos(0);  // the position starts at -1: 0 is a change
  pc.SetPos(0);
  pc.SetPos(10);
  EXPECT_THROW(pc.SetPos(30), CUserIntrException);
  EXPECT_NO_THROW(pc.SetPos(40));
  EXPECT_NO_THROW(pc.SetPosFloat(0.9));
  EXPECT_EQ(rec.seen, (std::vector<int>{0, 10, 30}));
  // The lock was released before the throw: another thread can take it.
  std::atomic<bool> done{false};
  std::thread other([&] {
    pc.SetCallback(&Recorder::Callback);
    done = true;
  });
  other.join();
  EXPECT_TRUE(done);
  pc.ClearStopFlag();
  pc.SetPos(50);
  EXPECT_EQ(rec.seen, (std::vector<int>{0, 10, 30, 50}));
  // ResetCounters also clears the stop flag.
  rec.stopAt = 60;
  EXPECT_THROW(pc.SetPos(60), CUserIntrException);
  pc.ResetCounters();
  pc.SetPos(61);
  EXPECT_EQ(rec.seen.back(), 61);
}

TEST_F(ProgressCounterTest, Regions_ScopeObjectsCloseDuringExceptions) {
  try {
    CPrgCntSubPhase outer(&pc, 20, 50, CPrgCntSubPhase::PhaseInt, true);
    CPrgCntSubPhase inner(&pc, 0.5, 0.5, CPrgCntSubPhase::PhaseFloat, true);
    CPrgCntIntegerScope items(&pc, 4);
    items.increment();
    throw std::runtime_error("work failed");
  } catch (const std::runtime_error&) {
  }
  // Closed without reporting the ends.
  EXPECT_EQ(rec.seen, (std::vector<int>{20, 45, 51}));
  EXPECT_EQ(pc.GetPhaseDepth(), 0);
  EXPECT_EQ(std::make_pair(pc.GetStart(), pc.GetStep()), std::make_pair(0.0, 100.0));

  // A cancelled opening report closes the half-opened sub-phase again.
  rec.stopAt = 70;
  pc.SetStart(10.0);
  EXPECT_THROW(CPrgCntSubPhase(&pc, 60, 10, CPrgCntSubPhase::PhaseInt, true), CUserIntrException);
  EXPECT_EQ(pc.GetPhaseDepth(), 0);
  EXPECT_EQ(pc.GetStart(), 10.0);
}

TEST_F(ProgressCounterTest, Regions_IntegerScope) {
  CPrgCntSubPhase phase(&pc, 20, 50, CPrgCntSubPhase::PhaseInt, true);
  CPrgCntIntegerScope items(&pc, 4);
  for (int i = 0; i < 6; ++i) items.increment();  // capped at the total
  EXPECT_EQ(items.GetCurrent(), 4);
  EXPECT_EQ(rec.seen, (std::vector<int>{20, 33, 45, 58, 70}));  // 32.5 and 57.5 round up

  rec.seen.clear();
  items.refresh(0);  // no report of its own
  EXPECT_TRUE(rec.seen.empty());
  pc.SetPos(30);
  items.increment();  // total 0: each increment reports the end of the phase
  EXPECT_EQ(rec.seen, (std::vector<int>{30, 70}));
}

TEST(ProgressCounter, Regions_StopEventIsConsumedOnce) {
  ASSERT_EQ(CProgressCounter::m_hStopEvent, nullptr);
  CProgressCounter::SignalStopEvent();  // no event: nothing
  EXPECT_FALSE(CProgressCounter::IsStopping() || CProgressCounter::CheckStopEvent());
  ASSERT_TRUE(CProgressCounter::CreateStopEvent());
  EXPECT_FALSE(CProgressCounter::CheckStopEvent());
  CProgressCounter::SignalStopEvent();
  EXPECT_TRUE(CProgressCounter::CheckStopEvent());
  EXPECT_FALSE(CProgressCounter::CheckStopEvent());  // consumed
  CProgressCounter::SignalStopEvent();
  CProgressCounter::ResetStopEvent();
  EXPECT_FALSE(CProgressCounter::IsStopping());
  CProgressCounter::CloseStopEvent();
  EXPECT_EQ(CProgressCounter::m_hStopEvent, nullptr);
  CProgressCounter::CloseStopEvent();  // twice is harmless
}

TEST(ProgressCounter, Properties_SharedCounterSerialisesItsCallback) {
  CProgressCounter pc;
  struct Probe {
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::atomic<int> calls{0};
  } probe;
  pc.SetContext(&probe);
  pc.SetCallback([](int, void* c) {
    Probe* p = static_cast<Probe*>(c);
    if (p->inside.fetch_add(1) != 0) p->overlaps.fetch_add(1);
    p->calls.fetch_add(1);
    std::this_thread::yield();
    p->inside.fetch_sub(1);
    return 0;
  });
  auto hammer = [&pc](unsigned seed) {
    qvtest::TestRng rng(seed);
    for (int i = 0; i < 20000; ++i) pc.SetPosFloat(rng.Uniform(0.0, 1.0));
  };
  std::thread t1(hammer, 1u), t2(hammer, 2u);
  t1.join();
  t2.join();
  EXPECT_EQ(probe.overlaps.load(), 0);
  EXPECT_GT(probe.calls.load(), 100);
}
