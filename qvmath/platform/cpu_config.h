// SPDX-License-Identifier: MIT
// The library's one-time start-up: the processor configuration that the threaded parts
// of the library read.
#pragma once

#include <qvmath/platform/export.h>

/// Reads the processor configuration once per process; later calls do nothing.
/// The library calls it when it is loaded, before any other work; calling it again from
/// the host is harmless. On this platform the only setting is the number of hardware
/// threads (at least 1), used as the default worker count of threaded routines.
/// Thread safety: safe to call from several threads at once.
QVMATH_API void InitCPUconf();

/// @return the number of hardware threads found by `InitCPUconf` (at least 1).
QVMATH_API int GetCPUcount();
