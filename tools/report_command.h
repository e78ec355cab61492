// cncprobe report: the HTML inspection report of a results file, or the trend report of several.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/output.h"
#include "tools/report/report_data.h"

namespace tool {

// Writes the page to options.output (by default the input's base name with .html, or trend.html)
// and prints its path to `out`; returns the exit code.
int run_report(ReportOptions options, Output& out);

// The command's options as the command line gives them.
struct ReportCommand {
  ReportOptions options;
  std::string units = "mm";
  std::string true_position = "diametral";
};

// Adds `report` to the tool's command line; its options land in `command`.
CLI::App* add_report_command(CLI::App& app, ReportCommand& command);
// Runs the parsed command.
int run_report_command(const ReportCommand& command, Output& out);

}  // namespace tool
