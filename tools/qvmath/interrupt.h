// SPDX-License-Identifier: MIT
// Ctrl-C handling: SIGINT raises the library's process-wide stop event, which makes the
// running whole-cloud operation throw CUserIntrException within one block of work.
#pragma once

namespace qvtool {

/// Creates the stop event, installs a SIGINT handler and starts the thread that acts on it.
/// The first SIGINT signals the stop event; a second one removes the registered
/// temporaries and ends the process with exit code 130 at once. SIGXFSZ is ignored, so that
/// a write beyond a file size limit fails as a full disk does instead of ending the process.
void InstallInterruptHandling();

/// @return whether a SIGINT has arrived.
bool Interrupted();

/// Raises SIGINT at the process and waits (up to 5 s) until the stop event is signalled:
/// a deterministic Ctrl-C for the program's tests (environment QVMATH_INTERRUPT_AFTER).
void InterruptSelf();

}  // namespace qvtool
