// SPDX-License-Identifier: MIT
#include "progress_bar.h"

#include <qvmath/infra/progress_counter.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "interrupt.h"

namespace qvtool {

namespace {

using Clock = std::chrono::steady_clock;

struct Bar {
  std::mutex lock;
  bool show = false;
  bool drawn = false;
  std::string label;
  Clock::time_point start;
  int reports = 0;
  int interruptAfter = -1;  // test hook: raise SIGINT after this many reports
};

Bar& TheBar() {
  static Bar bar;
  return bar;
}

int OnProgress(int pos, void*) {
  Bar& b = TheBar();
  bool selfInterrupt = false;
  {
    std::lock_guard<std::mutex> hold(b.lock);
    selfInterrupt = b.interruptAfter >= 0 && b.reports++ == b.interruptAfter;
    if (b.show) {
      const double elapsed = std::chrono::duration<double>(Clock::now() - b.start).count();
      char left[32] = "";
      if (pos >= 2 && pos < 100 && elapsed >= 0.5) {
        const int s = static_cast<int>(elapsed * (100 - pos) / pos + 0.5);
        std::snprintf(left, sizeof left, "%d:%02d left", s / 60, s % 60);
      }
      constexpr int kWidth = 30;
      char bar[kWidth + 1];
      for (int i = 0; i < kWidth; ++i) bar[i] = i < pos * kWidth / 100 ? '#' : '-';
      bar[kWidth] = 0;
      std::fprintf(stderr, "\r\033[K%.40s [%s] %3d%% %s", b.label.c_str(), bar, pos, left);
      std::fflush(stderr);
      b.drawn = true;
    }
  }
  if (selfInterrupt) InterruptSelf();
  return CProgressCounter::IsStopping() || Interrupted() ? 1 : 0;
}

}  // namespace

void InstallProgressBar(bool show) {
  Bar& b = TheBar();
  b.show = show && isatty(2);
  if (const char* after = std::getenv("QVMATH_INTERRUPT_AFTER"))
    b.interruptAfter = std::atoi(after);
  CProgressCounter::SetGlobalCallback(OnProgress);
}

void BeginProgress(const std::string& label) {
  Bar& b = TheBar();
  std::lock_guard<std::mutex> hold(b.lock);
  b.label = label;
  b.start = Clock::now();
}

void EndProgress() {
  Bar& b = TheBar();
  std::lock_guard<std::mutex> hold(b.lock);
  if (b.drawn) std::fprintf(stderr, "\r\033[K");
  b.drawn = false;
}

}  // namespace qvtool
