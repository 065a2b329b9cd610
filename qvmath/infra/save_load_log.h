// SPDX-License-Identifier: MIT
// The log of a save or load of a document: receives one entry per notable component
// (for example one that was skipped because the reader does not know it).
#pragma once

#include <qvmath/platform/export.h>

#include <string>

namespace KvF {

/// Log entry kind: the component was skipped on load (unknown block mark or version, or
/// no filter to read it).
constexpr int kSaveLoadLogSkipped = 2;

/// Receives log entries of a save or load: a component name and an entry kind
/// (`kSaveLoadLogSkipped` is the one this library writes; other kinds are the host's).
/// Implemented by the host; the library never owns or frees a log.
/// Thread safety: called on the thread that saves or loads.
class QVMATH_API ISaveLoadLog {
 public:
  virtual ~ISaveLoadLog() = default;
  /// Records that the component `componentName` had an event of kind `kind`.
  void AddEntry(const std::wstring& componentName, int kind) { OnAddEntry(componentName, kind); }

 private:
  /// Called by `AddEntry`; must not throw.
  virtual void OnAddEntry(const std::wstring& componentName, int kind) = 0;
};

namespace detail {

// Logs `name` as skipped when there is a log and a name: the common rule of the filters
// that skip data they cannot read.
inline void LogSkippedComponent(ISaveLoadLog* log, const std::wstring& name) {
  if (log && !name.empty()) log->AddEntry(name, kSaveLoadLogSkipped);
}

}  // namespace detail

}  // namespace KvF
