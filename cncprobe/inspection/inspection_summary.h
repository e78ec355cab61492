// kptInspection: the verdict of a whole extraction: how many feature checks are in, out or not
// toleranced, how many points are within, outside or unmeasured, and the worst of each.
//
//   kptResultsDataExtractor extractor;
//   extractor.extract_data(utString("run.res"));
//   const kptInspectionSummary summary = kptInspection::summarize(extractor);
//   std::puts(summary.passed() ? "PASS" : "FAIL");
#pragma once

#include <cstddef>
#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/extraction/file_extraction.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/verdict.h"

// A feature check and the result it belongs to (0-based index in the extractor's results()).
struct kptWorstCheck {
  std::size_t result_index;
  kptFeatureCheck check;
};
// An inspection point's check, its probe path (0-based index in results()) and its index in the
// path (0-based).
struct kptWorstPoint {
  std::size_t result_index;
  std::size_t point_index;
  kptPointCheck check;
};

struct kptInspectionSummary {
  std::size_t checks_in = 0, checks_out = 0, checks_not_toleranced = 0;
  std::size_t points_within = 0, points_outside = 0, points_unmeasured = 0;
  // The check with the largest share of its tolerance used (the first one on a tie); absent when
  // nothing is toleranced.
  std::optional<kptWorstCheck> worst_check;
  // The point with the largest share of its limit used (the first one on a tie); absent when no
  // point could be judged.
  std::optional<kptWorstPoint> worst_point;
  kptZoneConvention convention = kptZoneDiametral;
  // Nothing out: no check out of tolerance and no point outside its limits. Checks that are not
  // toleranced and unmeasured points do not fail a part, and never count as a pass either.
  bool passed() const noexcept { return checks_out == 0 && points_outside == 0; }
};

class CNCPROBE_API kptInspection {
 public:
  // Judges every result the extractor holds, reading true positions by `convention`.
  static kptInspectionSummary summarize(const kptResultsDataExtractor& extractor,
                                        kptZoneConvention convention = kptZoneDiametral);
  // The same for the results of one file of a batch (or one taken from an extractor).
  static kptInspectionSummary summarize(const kptFileExtraction& extraction,
                                        kptZoneConvention convention = kptZoneDiametral);
};
