// kptInspection: counts and worst cases over every result of an extraction.
#include "cncprobe/inspection/inspection_summary.h"

#include <cmath>
#include <memory>

#include "cncprobe/platform/model/probe_path.h"

namespace {

// Whether `share` is a larger share than the one kept so far; a share that is not a number never
// is (a NaN deviation from an absurd file must not hide a real worst case).
bool larger(const std::optional<double>& share, const std::optional<double>& kept) {
  return share && !std::isnan(*share) && (!kept || *share > *kept);
}

void count(kptInspectionSummary& summary, std::size_t result_index,
           const mtrToolpathResult& result) {
  for (kptFeatureCheck& check : kptFeatureChecks::of(result, summary.convention)) {
    if (check.verdict == kptVerdictIn) ++summary.checks_in;
    if (check.verdict == kptVerdictOut) ++summary.checks_out;
    if (check.verdict == kptVerdictNotToleranced) ++summary.checks_not_toleranced;
    if (larger(check.tolerance_used,
               summary.worst_check ? summary.worst_check->check.tolerance_used : std::nullopt)) {
      summary.worst_check = kptWorstCheck{result_index, check};
    }
  }
}

void count(kptInspectionSummary& summary, std::size_t result_index, const mtrProbePath& path) {
  const unsigned int points = path.inspection_points_count();
  for (unsigned int point_index = 0; point_index < points; ++point_index) {
    const kptPointCheck check = kptPointChecks::of(path.inspection_point_ref(point_index));
    if (check.verdict == kptVerdictIn) ++summary.points_within;
    if (check.verdict == kptVerdictOut) ++summary.points_outside;
    if (check.verdict == kptVerdictUnmeasured) ++summary.points_unmeasured;
    if (check.verdict == kptVerdictNotToleranced) ++summary.points_not_toleranced;
    if (larger(check.limit_used,
               summary.worst_point ? summary.worst_point->check.limit_used : std::nullopt)) {
      summary.worst_point = kptWorstPoint{result_index, point_index, check};
    }
  }
}

}  // namespace

namespace {
kptInspectionSummary summarize_results(itIterator<std::shared_ptr<mtrToolpathResult>> it,
                                       kptZoneConvention convention) {
  kptInspectionSummary summary;
  summary.convention = convention;
  for (std::size_t index = 0; ++it; ++index) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    if (!result) continue;
    if (result->kind() == mtrResultProbePath) {
      count(summary, index, static_cast<const mtrProbePath&>(*result));
    } else {
      count(summary, index, *result);
    }
  }
  return summary;
}
}  // namespace

kptInspectionSummary kptInspection::summarize(const kptResultsDataExtractor& extractor,
                                              kptZoneConvention convention) {
  return summarize_results(extractor.results(), convention);
}

kptInspectionSummary kptInspection::summarize(const kptFileExtraction& extraction,
                                              kptZoneConvention convention) {
  return summarize_results(extraction.results(), convention);
}
