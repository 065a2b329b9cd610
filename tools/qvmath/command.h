// SPDX-License-Identifier: MIT
// What every subcommand shares: the common options, the batch loop over the inputs with
// its error handling and exit codes, the per-input job and the --report file.
#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "json.h"

namespace CLI {
class App;
}

namespace qvtool {

/// Exit codes beside CLI11's own usage-error codes (100 and up).
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;       // an output could not be written, or an internal error
constexpr int kExitBadInput = 2;     // an input is unreadable, malformed or unusable
constexpr int kExitCancelled = 130;  // Ctrl-C

/// An input that cannot be used; `what()` is "<file>: <problem>".
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CommonOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string report;
  bool quiet = false;
  bool ascii = false;
  int threads = 0;
};

/// Adds the positional inputs, -o/--output (when `output` is set: required), --report,
/// -q/--quiet, -j/--threads and, for cloud outputs, --ascii.
void AddCommonOptions(CLI::App& sub, CommonOptions& o, bool output, bool cloudOutput);

/// Seconds since construction or the last `Lap`, and restarts.
class Stopwatch {
 public:
  double Lap();

 private:
  std::chrono::steady_clock::time_point m_t = std::chrono::steady_clock::now();
};

/// One input of a batch, handed to the subcommand's work function.
struct Job {
  std::string input;
  /// The output file (empty for `info`): -o itself for a single input; with several,
  /// "<-o folder>/<input stem>.<command><extension>".
  std::string output;
  /// Threads resolved from -j (0: every hardware thread).
  int threads = 1;
  bool quiet = false;
  bool ascii = false;
  /// This input's entry in the --report file; the work function adds what it chose,
  /// counted and timed.
  Json& report;
  /// Started with the job: `Elapsed` gives the seconds since.
  Stopwatch started;
  double Elapsed() const { return Stopwatch(started).Lap(); }
  /// Prints one line to stdout unless --quiet.
  void Say(const char* format, ...) const __attribute__((format(printf, 2, 3)));
};

/// Runs `work` on each input in turn and returns the exit code: 0 when all succeeded;
/// otherwise 2 when an input was bad, else 1. A failing input is reported on stderr in one
/// line ("qvmath: <file>: <problem>") and the others still run. Ctrl-C stops the whole
/// batch with 130, after the running job's temporaries are removed, and writes no report.
/// `extension` is the output extension used with several inputs (".ply", ".png").
int RunBatch(const std::string& command, const CommonOptions& o, const std::string& extension,
             Json params, const std::function<void(Job&)>& work);

}  // namespace qvtool
