// SPDX-License-Identifier: MIT
// Self-deleting temporary files: a uniquely named file in the temporary directory that the
// system removes when it is closed, or when the process dies.
#pragma once

#include <qvmath/platform/export.h>

#include <cstdio>
#include <string>

/// Access pattern announced for a temporary file, passed to the system as a caching hint.
enum class ETempFileAccess {
  kDefault,     ///< no hint
  kRandom,      ///< mostly random access: read-ahead is of little use
  kSequential,  ///< mostly sequential access: aggressive read-ahead pays
};

/// The directory in which temporary files are created: the value of the environment
/// variable TMP when set and not empty, else that of TMPDIR, else "/tmp".
/// @return the directory name, without a trailing separator added or removed.
/// Thread safety: reads the environment; do not call while another thread changes it.
QVMATH_API std::string KorvaTempDirectory();

/// Creates and opens a new, empty temporary file for reading and writing in binary mode.
/// The name is `KorvaTempDirectory()` + "/" + prefix + six random characters; the file is
/// created exclusively (it never reuses or truncates an existing file), readable and
/// writable by the owner only, not inherited by child processes, and its name is removed
/// at once: the data lives only as long as the returned stream is open, so closing it (or
/// the end of the process, crash included) deletes it and nothing is left in the directory.
/// @param[in] prefix the start of the file name; must not contain '/'; null means "".
/// @param[in] access the caching hint given to the system (posix_fadvise where available).
/// @return the open stream, owned by the caller (close it with fclose); null on any failure
///         (directory missing or not writable, prefix containing '/', no file descriptors),
///         with errno set by the failing call.
QVMATH_API std::FILE* KorvaOpenTempFile(const char* prefix,
                                        ETempFileAccess access = ETempFileAccess::kDefault);
