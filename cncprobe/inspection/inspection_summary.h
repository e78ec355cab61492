// kptInspection: the verdict of a whole extraction: how many feature checks are in, out or not
// toleranced, how many points are within, outside, unmeasured or not toleranced, and the worst
// of each.
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
  // The result the check belongs to (0-based index in the extractor's results()).
  std::size_t result_index;
  // The check itself.
  kptFeatureCheck check;
};
// An inspection point's check, its probe path (0-based index in results()) and its index in the
// path (0-based).
struct kptWorstPoint {
  // The probe path (0-based index in the extractor's results()).
  std::size_t result_index;
  // The point's index in its path (0-based).
  std::size_t point_index;
  // The point's deviation and verdict.
  kptPointCheck check;
};

// The verdict of a whole extraction: the counts, the worst check and point, PASS or FAIL.
struct kptInspectionSummary {
  // How many checks are in tolerance, out of it, and not toleranced.
  std::size_t checks_in = 0, checks_out = 0, checks_not_toleranced = 0;
  // How many points are within their limits, outside them, and unmeasured.
  std::size_t points_within = 0, points_outside = 0, points_unmeasured = 0;
  // Points measured without a probing direction to judge them along: shown, never judged.
  std::size_t points_not_toleranced = 0;
  // The check with the largest share of its tolerance used (the first one on a tie); absent when
  // nothing is toleranced.
  std::optional<kptWorstCheck> worst_check;
  // The point with the largest share of its limit used (the first one on a tie); absent when no
  // point could be judged.
  std::optional<kptWorstPoint> worst_point;
  // How true-position tolerances were read.
  kptZoneConvention convention = kptZoneDiametral;
  // Nothing out: no check out of tolerance and no point outside its limits. Checks that are not
  // toleranced and points unmeasured or not toleranced do not fail a part, and never count as a
  // pass either.
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
