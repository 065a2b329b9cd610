// SPDX-License-Identifier: MIT
// The subcommands of the `qvmath` program: each adds itself to the command line and sets
// `run` to the function that performs it (returning the exit code).
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace qvtool {

using Runner = std::function<int()>;

void AddInfoCommand(CLI::App& app, Runner& run);
void AddNormalsCommand(CLI::App& app, Runner& run);
void AddCurvatureCommand(CLI::App& app, Runner& run);
void AddPlanesCommand(CLI::App& app, Runner& run);
void AddPreviewCommand(CLI::App& app, Runner& run);
void AddSampleCommand(CLI::App& app, Runner& run);
void AddReconstructCommand(CLI::App& app, Runner& run);
void AddDeviationCommand(CLI::App& app, Runner& run);

}  // namespace qvtool
