// SPDX-License-Identifier: MIT
#include "interrupt.h"

#include <qvmath/infra/progress_counter.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "output_file.h"

namespace qvtool {

namespace {

std::atomic<bool> g_interrupted{false};
int g_pipe[2] = {-1, -1};

// The handler only writes a byte to a pipe (async-signal-safe); the thread reading the
// pipe does the rest as ordinary code. Threads that some library started before main()
// may receive the signal, so it cannot simply be blocked and waited for.
extern "C" void OnSigint(int) {
  const int saved = errno;
  const char c = 1;
  const ssize_t written = write(g_pipe[1], &c, 1);  // nothing to do if the pipe is full
  (void)written;
  errno = saved;
}

void WaitForInterrupts() {
  for (;;) {
    char c;
    const ssize_t got = read(g_pipe[0], &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return;
    if (g_interrupted.exchange(true)) {
      RemoveAllTemporaries();
      _exit(130);
    }
    CProgressCounter::SignalStopEvent();
  }
}

}  // namespace

void InstallInterruptHandling() {
  CProgressCounter::CreateStopEvent();
  if (pipe(g_pipe) != 0) return;
  std::thread(WaitForInterrupts).detach();
  struct sigaction sa {};
  sa.sa_handler = OnSigint;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART;
  sigaction(SIGINT, &sa, nullptr);
  // Under a file size limit a write past it raises SIGXFSZ, whose default action ends the
  // process and leaves the temporary behind; ignored, the write fails with EFBIG and the
  // run ends like any failed write.
  signal(SIGXFSZ, SIG_IGN);
}

bool Interrupted() { return g_interrupted.load(); }

void InterruptSelf() {
  kill(getpid(), SIGINT);
  for (int i = 0; i < 500 && !CProgressCounter::IsStopping(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

}  // namespace qvtool
