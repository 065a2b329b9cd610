// SPDX-License-Identifier: MIT
// The terminal progress bar: a global progress callback that draws the position and the
// time left on stderr, and turns a pending Ctrl-C into a cancellation.
#pragma once

#include <string>

namespace qvtool {

/// Installs the callback as the library's global progress callback (so every counter
/// constructed afterwards reports to it). The bar is drawn only when `show` is set and
/// stderr is a terminal; the callback cancels (returns non-zero) once a Ctrl-C arrived,
/// shown or not.
void InstallProgressBar(bool show);

/// Starts a new bar labelled `label` (its clock starts now).
void BeginProgress(const std::string& label);

/// Erases the bar, if one is drawn.
void EndProgress();

}  // namespace qvtool
