// kptTrendStatistics: how one quantity of a part behaves over several runs of the same program:
// its spread and how well it sits within its tolerance (process capability).
//
// The values are the deviations a check or a point had in each run (see kptFeatureCheck and
// kptPointCheck); the limits are the deviations at which their verdict turns.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "cncprobe/export.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/model/inspection_point.h"

// The deviations at which a verdict turns; a side is absent when nothing limits it (an offset
// has no lower limit, an untoleranced quantity none at all).
// The values at which a verdict turns (the feature check's limits; O + L and O + U for a point).
using kptTrendLimits = kptCheckLimits;

// The statistics of one quantity over several runs.
struct kptTrendSummary {
  std::size_t n = 0;                         // the runs that had a value
  std::optional<double> mean;                // n >= 1
  std::optional<double> standard_deviation;  // sample standard deviation (n - 1), n >= 2
  std::optional<double> min, max;            // n >= 1
  // (upper - lower) / 6s, with both limits; the nearer limit's distance from the mean over 3s,
  // with at least one limit. Both absent when s is absent or zero. Taken from the standard
  // deviation of every run these are performance indices (Pp, Ppk); capability (Cp, Cpk from the
  // moving ranges) and control limits are kptControlChart's.
  std::optional<double> cp, cpk;
};

class CNCPROBE_API kptTrendStatistics {
 public:
  // The limits of a check's deviation: +-tolerance for a plain tolerance; for a true position
  // the zone's half width (diametral) or the tolerance itself (radial), on both sides of a middle
  // and above a radial offset, which cannot be negative.
  static kptTrendLimits limits_of(const kptFeatureCheck& check, kptZoneConvention convention);
  // The limits of a point's deviation d: O + L and O + U (within limits when L <= d - O <= U).
  static kptTrendLimits limits_of(const mtrInspectionPoint& point);
  // The statistics of the values (NaN values are skipped) against the limits.
  static kptTrendSummary of(std::span<const double> values, const kptTrendLimits& limits);
};
