// SPDX-License-Identifier: MIT
// `qvmath`: normals, curvatures, planes, meshes and mesh deviations of scanned point clouds
// from the command line, a thin shell over the library's cloud layer.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "commands.h"
#include "interrupt.h"
#include "progress_bar.h"

int main(int argc, char** argv) {
  qvtool::InstallInterruptHandling();

  CLI::App app{
      "qvmath: normals, curvatures, planes, meshes and deviations of scanned point clouds.\n"
      "Exit codes: 0 success, 1 an output could not be written, 2 an input is "
      "unreadable, malformed or unusable (the other inputs still run), 130 "
      "interrupted (no output is left behind), 100 and up: command-line errors."};
  app.name("qvmath");
  app.require_subcommand(1);
  app.set_version_flag("--version", "qvmath 0.1.0");
  qvtool::Runner run;
  qvtool::AddInfoCommand(app, run);
  qvtool::AddNormalsCommand(app, run);
  qvtool::AddCurvatureCommand(app, run);
  qvtool::AddPlanesCommand(app, run);
  qvtool::AddPreviewCommand(app, run);
  qvtool::AddSampleCommand(app, run);
  qvtool::AddReconstructCommand(app, run);
  qvtool::AddDeviationCommand(app, run);
  bool quiet = false;
  try {
    app.parse(argc, argv);
    for (const CLI::App* sub : app.get_subcommands())
      quiet = quiet || sub->get_option("--quiet")->count() > 0;
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  }
  qvtool::InstallProgressBar(!quiet);
  return run ? run() : 0;
}
