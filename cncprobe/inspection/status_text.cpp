// kptStatusText: names and meanings of the extraction statuses.
#include "cncprobe/inspection/status_text.h"

const char* kptStatusText::name(kptResultsExtractionStatus status) noexcept {
  switch (status) {
    case kptExtractionSuccess:
      return "success";
    case kptExtractionMissingEnd:
      return "missing_end";
    case kptExtractionMultipleStarts:
      return "multiple_starts";
    case kptExtractionUnmatchedMeasuredPoint:
      return "unmatched_measured_point";
    case kptExtractionUnmeasuredNominalPoint:
      return "unmeasured_nominal_point";
    case kptExtractionNoResults:
      return "no_results";
    case kptExtractionOutsideStartEnd:
      return "outside_start_end";
    case kptExtractionResultConflict:
      return "result_conflict";
  }
  return "unknown";
}

const char* kptStatusText::meaning(kptResultsExtractionStatus status) noexcept {
  switch (status) {
    case kptExtractionSuccess:
      return "every record was read and fitted its toolpath";
    case kptExtractionMissingEnd:
      return "the last START has no END after it; the results are kept";
    case kptExtractionMultipleStarts:
      return "a second START discarded the results gathered before it";
    case kptExtractionUnmatchedMeasuredPoint:
      return "a measured point had no open nominal point to complete and was dropped";
    case kptExtractionUnmeasuredNominalPoint:
      return "a nominal point followed one that was never measured";
    case kptExtractionNoResults:
      return "the file holds no result, or only probe paths without points";
    case kptExtractionOutsideStartEnd:
      return "a record outside START ... END was ignored";
    case kptExtractionResultConflict:
      return "a point or feature did not fit the newest result of its toolpath instance and was "
             "dropped";
  }
  return "an unknown status";
}
