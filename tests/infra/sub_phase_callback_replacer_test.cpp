// SPDX-License-Identifier: MIT
#include <qvmath/infra/progress_counter.h>
#include <qvmath/infra/sub_phase_callback_replacer.h>
#include <qvmath/platform/korva_exception.h>

#include <cmath>
#include <vector>

#include "test_util.h"

using KvPCnt::CSubPhaseCallBackReplacer;

namespace {

struct Outer {
  std::vector<int> seen;
  int stopAt = -1;
  static int Callback(int pos, void* context) {
    Outer* o = static_cast<Outer*>(context);
    o->seen.push_back(pos);
    return pos == o->stopAt ? 1 : 0;
  }
};

// Restores the global callback whatever a test does.
class ReplacerTest : public ::testing::Test {
 protected:
  void SetUp() override { m_saved = CProgressCounter::GetGlobalCallback(); }
  void TearDown() override { CProgressCounter::SetGlobalCallback(m_saved); }

 private:
  int (*m_saved)(int, void*) = nullptr;
};

}  // namespace

TEST_F(ReplacerTest, Properties_MappingAgainstFloatConstantOracle) {
  // Every inner position against the formula evaluated independently in long double with
  // the exact value of 0.01f.
  const long double k = 0.00999999977648258209228515625L;
  for (int start : {0, 5, 20, 37}) {
    for (int length : {1, 10, 50, 63, 100 - start}) {
      Outer outer;
      CProgressCounter::SetGlobalCallback(&Outer::Callback);
      CSubPhaseCallBackReplacer rep(start, length, &outer, false);
      auto* forward = CSubPhaseCallBackReplacer::GetCallBack();
      std::vector<int> expected;
      int last = start - 1;
      for (int pos = 0; pos <= 100; ++pos) {
        forward(pos, &rep);
        EXPECT_EQ(forward(pos / 2, &rep), 0);  // repeats and steps back are not passed on
        const int p = int(std::trunc(pos * k * length + start));
        if (p > last) expected.push_back(last = p);
      }
      EXPECT_EQ(outer.seen, expected) << "start " << start << " length " << length;
      rep.Release();
    }
  }
}

TEST_F(ReplacerTest, Regions_StopRequestReachesInnerCounterWithSavedContext) {
  Outer outer;
  outer.stopAt = 44;
  CProgressCounter::SetGlobalCallback(&Outer::Callback);
  CSubPhaseCallBackReplacer rep(20, 50, &outer, true);
  CProgressCounter inner;
  inner.SetContext(&rep);
  inner.SetPos(10);
  EXPECT_THROW(inner.SetPos(50), CUserIntrException);
  EXPECT_EQ(outer.seen, (std::vector<int>{24, 44}));
}

TEST_F(ReplacerTest, Regions_NestedReplacersRestoreInReverseOrder) {
  CProgressCounter::SetGlobalCallback(&Outer::Callback);
  Outer outer;
  {
    CSubPhaseCallBackReplacer first(20, 50, &outer, true);  // outer range [20, 70]
    {
      CSubPhaseCallBackReplacer second(0, 50, &first, true);  // first half of it
      CProgressCounter inner;
      inner.SetContext(&second);
      inner.SetPos(100);  // 49 on first's scale, then 44 on the outer one
      EXPECT_EQ(CProgressCounter::GetGlobalCallback(), CSubPhaseCallBackReplacer::GetCallBack());
    }
    EXPECT_EQ(CProgressCounter::GetGlobalCallback(), CSubPhaseCallBackReplacer::GetCallBack());
    first.Release();
    first.Release();  // once only
    EXPECT_EQ(CProgressCounter::GetGlobalCallback(), &Outer::Callback);
  }
  EXPECT_EQ(CProgressCounter::GetGlobalCallback(), &Outer::Callback);
  EXPECT_EQ(outer.seen, (std::vector<int>{44}));
}
