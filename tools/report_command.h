// cncprobe report: the HTML inspection report of a results file, or the trend report of several.
#pragma once

#include "tools/output.h"
#include "tools/report/report_data.h"

namespace tool {

// Writes the page to options.output (by default the input's base name with .html, or trend.html)
// and prints its path to `out`; returns the exit code.
int run_report(ReportOptions options, Output& out);

}  // namespace tool
