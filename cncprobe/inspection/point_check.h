// kptPointChecks: an inspection point's deviation along its probing direction and its verdict
// against the limits of its nominal-point record, and the summary of a probe path.
//
// d = (measured - nominal) . direction, positive when the probe touched further along the unit
// probing direction than the nominal point. O, U and L of the nominal-point record are the
// offset, the upper and the lower limit: the point is within its limits when L <= d - O <= U.
//
//   const kptPointCheck check = kptPointChecks::of(*point);
//   if (check.verdict == kptVerdictOut) flag(*point, *check.deviation);
#pragma once

#include <cstddef>
#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/probe_path.h"

// A point's deviation along its probing direction, its verdict and the share of its limit used.
struct kptPointCheck {
  // d: (measured - nominal) . unit direction. Absent when the point is unmeasured or has no
  // direction (a zero vector).
  std::optional<double> deviation;
  // Unmeasured; in when L <= d - O <= U (with 1e-9 slack), else out; not toleranced when the
  // point was measured but has no direction to judge it along.
  kptVerdict verdict = kptVerdictNotToleranced;
  // Where d - O lies in the zone [L, U]: |2 (d - O) - (U + L)| / (U - L), 0 at the zone's middle,
  // 1 at either limit, growing linearly beyond; so every point out ranks above every point in,
  // also when both limits lie on one side of the offset. Exactly 1 for a point judged in at its
  // limit, always above 1 for a point out. A zone of no width (U = L) or an inverted one (U < L)
  // gives 1 to a point judged at it and +infinity to any other. Absent when there is no
  // deviation.
  std::optional<double> limit_used;
};

// One probe path's points at a glance.
struct kptPathSummary {
  // How many points the path holds, and how many are measured, within, outside, unmeasured.
  std::size_t points = 0, measured = 0, within = 0, outside = 0, unmeasured = 0;
  // Measured, but without a probing direction to judge the point along.
  std::size_t not_toleranced = 0;
  // The minimum and maximum d (signed); absent when no point has a deviation.
  std::optional<double> smallest_deviation;
  // The largest d (signed); absent when no point has a deviation.
  std::optional<double> largest_deviation;
  // The d of largest magnitude, with its sign (the first one on a tie).
  std::optional<double> worst_deviation;
};

class CNCPROBE_API kptPointChecks {
 public:
  // The point's deviation, verdict and share of its limit used.
  static kptPointCheck of(const mtrInspectionPoint& point);
  // The deviations d at which the point's verdict turns: O + L and O + U.
  static kptCheckLimits limits(const mtrInspectionPoint& point);
  // The counts and extreme deviations of the path's points.
  static kptPathSummary summary(const mtrProbePath& path);
};
