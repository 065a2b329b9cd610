// SPDX-License-Identifier: MIT
// An output file written under a temporary name in its own folder and renamed into place
// only when complete, so that a failed or cancelled run never leaves a partial file.
#pragma once

#include <string>

namespace qvtool {

/// The temporary is "<folder>/.<name>.qvtmp<pid>-<n>.<ext>": hidden, unique per process,
/// with the final extension kept (the cloud writers choose the format by extension).
/// The destructor removes the temporary unless `Commit` succeeded. Every live temporary is
/// also recorded process-wide, so that a second Ctrl-C, which ends the process at once,
/// can remove them (`RemoveAllTemporaries`).
class OutputFile {
 public:
  explicit OutputFile(std::string finalPath);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& TempPath() const { return m_temp; }
  const std::string& FinalPath() const { return m_final; }
  /// Renames the temporary to the final name.
  /// @throws CUserIntrException when an interrupt arrived (the temporary is then removed by
  ///         the destructor); std::runtime_error "<final>: <reason>" when the rename fails.
  void Commit();

 private:
  std::string m_final, m_temp;
  bool m_committed = false;
};

/// Removes every temporary still registered. Safe to call from the interrupt thread.
void RemoveAllTemporaries();

/// @return `path` with its extension (from the last '.' of its file name) replaced by
///         `ext` (which includes the dot), or `ext` appended when it has none.
std::string ReplaceExtension(const std::string& path, const std::string& ext);

}  // namespace qvtool
