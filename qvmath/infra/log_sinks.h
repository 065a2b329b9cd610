// SPDX-License-Identifier: MIT
// The host's two process-wide text sinks: one for log lines, one for user-visible output.
#pragma once

#include <qvmath/platform/export.h>

extern "C" {

/// The log sink, null until the host installs one. Exported as data so that other modules
/// of the host can read it; a reader must test it for null before calling it.
/// Thread safety: written without a lock. The host sets it once at start-up, before any
/// thread uses the library, and clears it before unloading the module that holds the sink.
QVMATH_API extern void (*gpWriteLogFcn)(const char*);

/// The output sink; the same contract as `gpWriteLogFcn`.
QVMATH_API extern void (*gpWriteOutputFcn)(const char*);

/// Stores sink into `gpWriteLogFcn`; null removes the sink. Calls nothing and copies no
/// earlier text. Exported under its plain, undecorated name.
QVMATH_API void QVmath_setCB_WriteLog(void (*sink)(const char*));

/// Stores sink into `gpWriteOutputFcn`; null removes the sink. Undecorated name.
QVMATH_API void QVmath_setCB_WriteOutput(void (*sink)(const char*));

}  // extern "C"
