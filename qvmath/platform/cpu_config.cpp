// SPDX-License-Identifier: MIT
#include <qvmath/platform/cpu_config.h>

#include <thread>

namespace {

int CountCPUs() {
  const unsigned n = std::thread::hardware_concurrency();
  return n == 0 ? 1 : static_cast<int>(n);  // 0 means "unknown": run on one thread
}

// The configuration is a lazily built constant; the load-time object below makes it
// happen before any other work of the library, as on the original platform.
int CPUcount() {
  static const int count = CountCPUs();
  return count;
}

struct LoadTimeInit {
  LoadTimeInit() { InitCPUconf(); }
};
const LoadTimeInit kLoadTimeInit;

}  // namespace

void InitCPUconf() { (void)CPUcount(); }

int GetCPUcount() { return CPUcount(); }
