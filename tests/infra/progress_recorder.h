// SPDX-License-Identifier: MIT
// A host progress callback for the infrastructure tests: records every position a counter
// reports and asks to stop at a chosen position (or from one on).
#pragma once

#include <gtest/gtest.h>
#include <qvmath/infra/progress_counter.h>

#include <climits>
#include <vector>

namespace qvtest {

struct ProgressRecorder {
  std::vector<int> seen;
  int stopAt = -1;         // answer "stop" at exactly this position
  int stopFrom = INT_MAX;  // ... and at this one and above
  static int Callback(int pos, void* context) {
    ProgressRecorder* r = static_cast<ProgressRecorder*>(context);
    r->seen.push_back(pos);
    return pos == r->stopAt || pos >= r->stopFrom ? 1 : 0;
  }
  /// Makes this recorder the callback of `pc`, with itself as the context.
  void Attach(CProgressCounter& pc) {
    pc.SetCallback(&Callback);
    pc.SetContext(this);
  }
};

/// A fixture: a fresh counter `pc` reporting into the recorder `rec`.
class RecordedCounterTest : public ::testing::Test {
 protected:
  RecordedCounterTest() { rec.Attach(pc); }
  CProgressCounter pc;
  ProgressRecorder rec;
};

}  // namespace qvtest
