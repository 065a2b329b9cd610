// SPDX-License-Identifier: MIT
#include "command.h"

#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/platform/korva_exception.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <thread>

#include "output_file.h"
#include "progress_bar.h"

namespace qvtool {

void AddCommonOptions(CLI::App& sub, CommonOptions& o, bool output, bool cloudOutput) {
  sub.add_option("input", o.inputs, "Input point clouds (.ply, .xyz, .txt, .pts, .csv, .asc)")
      ->required();
  if (output)
    sub.add_option("-o,--output", o.output,
                   "Output file; with several inputs, a folder (created when missing)")
        ->required();
  sub.add_option("--report", o.report,
                 "Write a JSON report: parameters chosen, counts, invalid points, timings");
  sub.add_flag("-q,--quiet", o.quiet, "No progress bar and no summary lines (errors only)");
  sub.add_option("-j,--threads", o.threads, "Worker threads (0: one per hardware thread)")
      ->default_val(0)
      ->check(CLI::NonNegativeNumber);
  if (cloudOutput)
    sub.add_flag("--ascii", o.ascii, "Write ASCII PLY instead of binary little-endian");
}

double Stopwatch::Lap() {
  const auto now = std::chrono::steady_clock::now();
  const double s = std::chrono::duration<double>(now - m_t).count();
  m_t = now;
  return s;
}

void Job::Say(const char* format, ...) const {
  if (quiet) return;
  std::va_list args;
  va_start(args, format);
  std::vprintf(format, args);
  va_end(args);
  std::putchar('\n');
  std::fflush(stdout);
}

namespace {

std::string Stem(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.find_last_of('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

void Fail(const std::string& message) {
  EndProgress();
  std::fprintf(stderr, "qvmath: %s\n", message.c_str());
}

}  // namespace

int RunBatch(const std::string& command, const CommonOptions& o, const std::string& extension,
             Json params, const std::function<void(Job&)>& work) {
  const unsigned hw = std::thread::hardware_concurrency();
  const int threads = o.threads > 0 ? o.threads : static_cast<int>(hw ? hw : 1);
  const bool several = o.inputs.size() > 1;
  if (several && !o.output.empty() && mkdir(o.output.c_str(), 0777) != 0 && errno != EEXIST) {
    Fail(o.output + ": cannot create the folder: " + std::strerror(errno));
    return kExitFailed;
  }

  if (extension == ".ply" && !several &&
      REmath::CloudFileFormatOf(o.output) == REmath::ECloudFileFormat::Unknown) {
    Fail(o.output + ": unknown output extension (use .ply or .xyz)");
    return kExitFailed;
  }

  Json report = Json::Object();
  report["command"] = command;
  report["threads"] = threads;
  report["parameters"] = std::move(params);
  Json& entries = report["inputs"] = Json::Array();
  Stopwatch total;
  int code = kExitOk;
  for (const std::string& input : o.inputs) {
    Json& entry = entries.Push(Json::Object());
    entry["input"] = input;
    Job job{input, "", threads, o.quiet, o.ascii, entry, Stopwatch()};
    if (!o.output.empty())
      job.output = several ? o.output + "/" + Stem(input) + "." + command + extension : o.output;
    if (!job.output.empty()) entry["output"] = job.output;
    std::string error;
    int failure = kExitOk;
    try {
      BeginProgress(Stem(input) + " " + command);
      work(job);
      EndProgress();
      entry["seconds"] = job.Elapsed();
    } catch (const CUserIntrException&) {
      Fail("interrupted");
      return kExitCancelled;
    } catch (const REmath::ECloudFileError& e) {
      error = e.what(), failure = kExitBadInput;
    } catch (const InputError& e) {
      error = e.what(), failure = kExitBadInput;
    } catch (const std::invalid_argument& e) {
      // The whole-cloud operations reject unusable data this way (empty cloud, k above
      // the point count, no finite point).
      error = input + ": " + e.what(), failure = kExitBadInput;
    } catch (const std::bad_alloc&) {
      error = input + ": out of memory", failure = kExitFailed;
    } catch (const std::exception& e) {
      error = e.what(), failure = kExitFailed;
    }
    if (failure != kExitOk) {
      Fail(error);
      entry["status"] = "failed";
      entry["error"] = error;
      if (failure > code) code = failure;
    } else {
      entry["status"] = "ok";
    }
  }
  report["seconds"] = total.Lap();
  if (!o.report.empty()) {
    try {
      OutputFile file(o.report);
      {
        std::ofstream out(file.TempPath(), std::ios::binary);
        out << report.Dump();
        if (!out.flush()) throw std::runtime_error(o.report + ": cannot write");
      }
      file.Commit();
    } catch (const CUserIntrException&) {
      Fail("interrupted");
      return kExitCancelled;
    } catch (const std::exception& e) {
      Fail(e.what());
      if (code == kExitOk) code = kExitFailed;
    }
  }
  return code;
}

}  // namespace qvtool
