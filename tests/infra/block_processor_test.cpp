// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "block_test_host.h"
#include "progress_recorder.h"
#include "test_util.h"

using namespace BlockProc;
using qvtest::IdOf;
using qvtest::LineStructure;
using Recorder = qvtest::ProgressRecorder;

namespace {

void SpinMicroseconds(int us) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(us);
  while (std::chrono::steady_clock::now() < until) {
  }
}

struct Fragment : IKorvaFragment_Old {
  Fragment(int i, std::atomic<int>& alive) : id(i), m_alive(alive) { ++m_alive; }
  ~Fragment() override { --m_alive; }
  int id;
  std::atomic<int>& m_alive;
};

// A block's processing as the journal saw it: tickets of a process-wide clock taken at
// its start and end.
struct Interval {
  int pass, block;
  long begin, end;
};

// The host's processor: configurable costs, failures and checks; records what happened.
class TestProcessor : public CBlockProcessor {
 public:
  explicit TestProcessor(LineStructure& s, int n) : structure(s), costUs(size_t(n), 0) {
    SetBlockStructure(&s);
    data.resize(size_t(n));
    for (int i = 0; i < n; ++i) data[size_t(i)] = double((i * 7919) % 113);
    scratch = data;
  }

  LineStructure& structure;
  std::vector<int> costUs;
  std::map<int, int> resultCode;
  int throwAt = -1;
  int abortAt = -1;
  int reportSteps = 0;      // progress reports per block through the worker's counter
  bool longBlocks = false;  // blocks run until aborted (bounded by 2000 steps of 1 ms)
  bool neighbourMean = false;
  bool needUnshared = false;
  int stopAtPass = -1;  // SetThisPassLast in this pass

  std::vector<double> data, scratch;
  std::vector<std::string> calls;  // hooks of the managing thread
  std::mutex mutex;
  std::vector<Interval> intervals;
  std::atomic<long> clock{0};
  std::atomic<int> workersAlive{0}, fragmentsAlive{0};
  std::atomic<int> sectionViolations{0}, applyCalls{0};
  std::atomic<int> interrupted{0}, threadedMade{0};

  CBlockWorker* CreateWorker(bool threaded) override;
  void PreliminaryGlobalActions() override { calls.push_back("global-begin"); }
  void PreliminaryPassActions() override {
    calls.push_back("pass-begin");
    if (CurrentPassNo() == stopAtPass) SetThisPassLast();
  }
  void FinalPassActions() override { calls.push_back("pass-end"); }
  void FinalGlobalActions() override { calls.push_back("global-end"); }
  bool NeedUnsharedWorkerInit() override { return needUnshared; }
  IKorvaFragment_Old* ExtractBlock(const IKorvaFragmentDescriptor_Old& d) override {
    return new Fragment(IdOf(d), fragmentsAlive);
  }
  void ApplyBlockChanges(const IKorvaFragmentDescriptor_Old& d,
                         const IKorvaFragment_Old& f) override {
    if (static_cast<const Fragment&>(f).id != IdOf(d)) ++sectionViolations;
    Apply(IdOf(d));
  }
  void ApplyBlockChangesBlockNotExtr(const IKorvaFragmentDescriptor_Old& d) override {
    Apply(IdOf(d));
  }

  void Apply(int id) {
    ++applyCalls;
    data[size_t(id)] = scratch[size_t(id)];
  }

  void End(int id, long begin) {
    std::lock_guard<std::mutex> lock(mutex);
    intervals.push_back({CurrentPassNo(), id, begin, clock.fetch_add(1)});
  }

  // Every block ran exactly once in each of `passes` passes and no two forbidden blocks
  // overlapped in time.
  void ExpectCleanSchedule(int passes, int blocks) {
    std::vector<int> runs(size_t(passes * blocks), 0);
    for (const Interval& iv : intervals) {
      ASSERT_GE(iv.pass, 0);
      ASSERT_LT(iv.pass, passes);
      ++runs[size_t(iv.pass * blocks + iv.block)];
    }
    for (size_t k = 0; k < runs.size(); ++k) EXPECT_EQ(runs[k], 1) << "pass/block " << k;
    for (size_t a = 0; a < intervals.size(); ++a)
      for (size_t b = a + 1; b < intervals.size(); ++b) {
        const Interval& x = intervals[a];
        const Interval& y = intervals[b];
        if (!structure.Forbidden(x.block, y.block)) continue;
        EXPECT_FALSE(x.begin < y.end && y.begin < x.end)
            << "blocks " << x.block << " and " << y.block << " overlapped";
      }
  }
};

struct TestWorker : CBlockWorker {
  TestWorker(TestProcessor* p, bool threaded) : CBlockWorker(p, threaded), m_p(p) {
    ++m_p->workersAlive;
  }
  ~TestWorker() override { --m_p->workersAlive; }
  int ProcessFragment(IKorvaFragmentDescriptor_Old& d, IKorvaFragment_Old* f) override;
  void FinishBlock(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {}
  TestProcessor* m_p;
};

CBlockWorker* TestProcessor::CreateWorker(bool threaded) {
  threadedMade += threaded;
  return new TestWorker(this, threaded);
}

int TestWorker::ProcessFragment(IKorvaFragmentDescriptor_Old& d, IKorvaFragment_Old* f) {
  const int id = IdOf(d);
  if (f && static_cast<Fragment*>(f)->id != id) ++m_p->sectionViolations;
  const long begin = m_p->clock.fetch_add(1);
  if (m_p->neighbourMean) {
    const std::vector<double>& x = m_p->data;
    const double left = id > 0 ? x[size_t(id - 1)] : x[size_t(id)];
    const double right = id + 1 < int(x.size()) ? x[size_t(id + 1)] : x[size_t(id)];
    m_p->scratch[size_t(id)] = (left + x[size_t(id)] + right) / 3.0;
  } else {
    m_p->scratch[size_t(id)] = m_p->data[size_t(id)] + 1.0;
  }
  SpinMicroseconds(m_p->costUs[size_t(id)]);
  if (id == m_p->abortAt) m_p->SetAbortEvent();
  CProgressCounter* pc = GetProgressCounter();
  for (int k = 1; k <= m_p->reportSteps && pc; ++k) pc->SetPosFloat(double(k) / m_p->reportSteps);
  if (m_p->longBlocks && id != m_p->abortAt) {
    try {
      for (int k = 0; k < 2000; ++k) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (pc) pc->SetPosFloat((k % 100) * 0.01);
      }
    } catch (const CUserIntrException&) {
      ++m_p->interrupted;
      m_p->End(id, begin);
      throw;
    }
  }
  m_p->End(id, begin);
  if (id == m_p->throwAt) throw std::runtime_error("boom");
  auto code = m_p->resultCode.find(id);
  return code == m_p->resultCode.end() ? 0 : code->second;
}

// 0: serial; n: n worker threads (a count above one alone turns parallel processing on).
void Configure(TestProcessor& p, int threads) {
  p.SetNParralelThreads(threads);
  if (threads == 1) p.SetUseParallelThreads(true);
}

}  // namespace

TEST(BlockProcessor, Regions_HooksPassesAndLastPass) {
  for (int threads : {0, 2}) {
    LineStructure s(5);
    TestProcessor p(s, 5);
    Configure(p, threads);
    p.SetNPasses(3);
    // Refused before any hook: no structure, or extraction without immediate changes.
    p.SetBlockStructure(nullptr);
    EXPECT_EQ(p.Run(), -1);
    p.SetBlockStructure(&s);
    p.SetExtractBlock(true);
    EXPECT_EQ(p.Run(), 9);
    EXPECT_EQ(p.CurrentPassNo(), -1);
    p.SetExtractBlock(false);
    EXPECT_EQ(p.Run(), 0);
    const std::vector<std::string> expected{"global-begin", "pass-begin", "pass-end", "pass-begin",
                                            "pass-end",     "pass-begin", "pass-end", "global-end"};
    EXPECT_EQ(p.calls, expected);
    EXPECT_EQ(s.resets, 3);
    EXPECT_EQ(p.CurrentPassNo(), 2);
    EXPECT_EQ(p.threadedMade.load() > 0, threads > 0);
    EXPECT_EQ(p.applyCalls.load(), 15);  // every pass's changes applied at its end

    // SetThisPassLast in pass 1 of 5 ends the run after that pass.
    LineStructure s2(3);
    TestProcessor q(s2, 3);
    Configure(q, threads);
    q.SetNPasses(5);
    q.stopAtPass = 1;
    q.Run();
    EXPECT_EQ(s2.resets, 2);
    EXPECT_EQ(q.intervals.size(), 6u);
    EXPECT_EQ(q.calls.size(), 6u);
    EXPECT_EQ(q.CurrentPassNo(), 4);  // the pass number was moved to the last one
  }
}

TEST(BlockProcessor, Regions_LongBlocksStopOnAbort) {
  // Blocks that would run for seconds are stopped through their counters.
  LineStructure s(4, 0);
  TestProcessor p(s, 4);
  Configure(p, 3);
  p.longBlocks = true;
  p.abortAt = 0;
  p.costUs[0] = 50000;  // let the long blocks 1 and 2 start first
  CProgressCounter pc;
  p.SetProgressCounter(&pc);
  EXPECT_THROW(p.Run(), EBlockAlgError);
  EXPECT_GE(p.interrupted.load(), 1);
  EXPECT_EQ(p.workersAlive.load(), 0);
}

// Hundreds of runs with random sizes, costs, rules, thread counts and injected failures:
// each ends, with a clean schedule or the injected failure surfacing unchanged, and leaves
// nothing behind; a processor that failed runs cleanly again.
TEST(BlockProcessor, Properties_RepeatedRandomRuns) {
  qvtest::TestRng rng(99173);
  SCOPED_TRACE(rng.Trace());
  for (int run = 0; run < 200; ++run) {
    const int n = rng.Int(0, 24);
    LineStructure s(n, rng.Int(0, 3));
    TestProcessor p(s, n);
    for (int& c : p.costUs) c = rng.Int(0, 40);
    Configure(p, rng.Int(0, 3));
    const int passes = rng.Int(1, 3);
    p.SetNPasses(passes);
    const bool immediate = rng.Int(0, 1) == 1;
    p.SetImmediateBlockModify(immediate);
    p.SetExtractBlock(immediate && rng.Int(0, 1) == 1);
    p.needUnshared = rng.Int(0, 3) == 0;
    p.neighbourMean = !immediate;
    const std::vector<double> initial = p.data;
    CProgressCounter pc;
    Recorder rec;
    rec.Attach(pc);
    const bool counted = rng.Int(0, 1) == 1;
    if (counted) p.SetProgressCounter(&pc);
    p.reportSteps = rng.Int(0, 3);
    int fault = n > 0 ? rng.Int(0, 9) : 9;
    const int at = n > 0 ? rng.Int(0, n - 1) : 0;
    if (fault == 0) p.throwAt = at;
    if (fault == 1) p.resultCode[at] = 3;
    if (fault == 2) p.abortAt = at;
    p.SetUserBreak(at % 2 == 1);            // an abort then reports code 10 instead of -1
    if (fault == 3) p.resultCode[at] = 10;  // the worker asks to stop
    if (fault == 4 && !counted) fault = 9;
    if (fault == 4) rec.stopFrom = rng.Int(1, 100);  // the host cancels through the counter
    std::string outcome = "ok";
    try {
      p.Run();
    } catch (const std::runtime_error& e) {
      outcome = e.what();
    } catch (const EBlockAlgError& e) {
      const int code = e.GetErrorCode();
      outcome = code == 3 ? "code" : code == (at % 2 ? 10 : -1) ? "abort" : "?";
    } catch (const CUserIntrException&) {
      outcome = "stop";
    }
    const std::string expected[] = {"boom", "code", "abort", "stop", "stop"};
    EXPECT_EQ(outcome, fault < 5 ? expected[fault] : "ok") << "run " << run;
    if (fault == 2 || fault >= 5) {
      EXPECT_EQ(p.IsAbortRaised(), fault == 2);
    }
    if (fault == 0) {
      p.throwAt = -1;
      p.data = initial;
      p.intervals.clear();
      rec.seen.clear();
      EXPECT_EQ(p.Run(), 0);
      fault = 9;
    }
    if (fault >= 5) p.ExpectCleanSchedule(passes, n);
    if (fault >= 5 && !immediate) {
      // Deferred changes: every pass reads only the values of the pass before, whatever
      // the threads and the order, so the result is the serial sweep bit for bit.
      std::vector<double> x = initial, y = initial;
      for (int k = 0; k < passes; ++k, x = y)
        for (size_t i = 0; i < x.size(); ++i)
          y[i] = (x[i > 0 ? i - 1 : i] + x[i] + x[i + 1 < x.size() ? i + 1 : i]) / 3.0;
      EXPECT_EQ(p.data, x) << "run " << run;
    }
    // A complete run's progress never goes back and ends at 100 %.
    if (fault >= 5 && counted) {
      EXPECT_TRUE(std::is_sorted(rec.seen.begin(), rec.seen.end()));
      EXPECT_EQ(rec.seen.empty() ? -1 : rec.seen.back(), 100);
    }
    EXPECT_EQ(p.workersAlive.load(), 0);
    EXPECT_EQ(p.fragmentsAlive.load(), 0);
    EXPECT_EQ(p.sectionViolations.load(), 0);
    EXPECT_EQ(pc.GetPhaseDepth(), 0);
    if (HasFailure()) break;
  }
}
