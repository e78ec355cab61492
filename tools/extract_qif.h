// cncprobe extract --format qif: its options and the run.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "cncprobe/exchange/qif_writer.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/inspection/verdict.h"
#include "tools/commands.h"
#include "tools/output.h"

namespace tool {

struct QifOptions {
  kptQifPoints points = kptQifPointsAll;
  kptDraftingStandard standard = kptDraftingIso1101;
  std::string time;    // empty: now
  std::string output;  // empty: standard output
};

// What the extract command decides its exit code from.
struct ExtractOutcome {
  kptResultsExtractionStatus status = kptExtractionSuccess;
  bool passed = true;
};

// --format text|json|jsonl|qif for extract.
void add_extract_format_option(CLI::App& command, Format& format);
// --qif-points, --drafting-standard, --time, -o.
void add_qif_options(CLI::App& command, QifOptions& options);
// Extracts `file` and writes its QIF document to `out` or the -o file; throws UnreadableInput
// for an input that cannot be read. kExitSuccess when written, kExitFailure (after an error line)
// when the output file cannot be written; `outcome` says how the run went.
int run_extract_qif(const std::string& file, kptUnitsType units, kptZoneConvention convention,
                    const QifOptions& options, Output& out, ExtractOutcome& outcome);

}  // namespace tool
