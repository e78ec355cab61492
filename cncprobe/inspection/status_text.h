// kptStatusText: the short name and one-line meaning of every extraction status.
//
// Every front end (the tool, the HTML report, the Python package) takes its words from here, so a
// status reads the same wherever it is shown.
//
//   const kptResultsExtractionStatus status = extractor.extract_data(utString("run.res"));
//   std::printf("%s: %s\n", kptStatusText::name(status), kptStatusText::meaning(status));
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/extraction/results_data_extractor.h"

class CNCPROBE_API kptStatusText {
 public:
  // "success", "missing_end", "multiple_starts", "unmatched_measured_point",
  // "unmeasured_nominal_point", "no_results", "outside_start_end", "result_conflict"; "unknown"
  // for any other value. The text is static; never null.
  static const char* name(kptResultsExtractionStatus status) noexcept;
  // What the status means for a person reading the results, in one line ("every record was read
  // and fitted its toolpath"); "an unknown status" for any other value. Static; never null.
  static const char* meaning(kptResultsExtractionStatus status) noexcept;
};

// The short name of a status, as kptStatusText::name; kept for hosts written before
// kptStatusText.
inline const char* kpt_status_name(kptResultsExtractionStatus status) noexcept {
  return kptStatusText::name(status);
}
