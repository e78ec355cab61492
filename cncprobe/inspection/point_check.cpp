// kptPointChecks: deviations and verdicts of inspection points.
#include "cncprobe/inspection/point_check.h"

#include <cmath>
#include <memory>

#include "cncprobe/inspection/internal/limits.h"

using namespace inspection_internal;

kptPointCheck kptPointChecks::of(const mtrInspectionPoint& point) {
  kptPointCheck check;
  if (!point.has_measure()) {
    check.verdict = kptVerdictUnmeasured;
    return check;
  }
  const giUnitVec3& direction = point.direction();
  if (direction.x() == 0.0 && direction.y() == 0.0 && direction.z() == 0.0) return check;
  const double d = along(point.measured_point(), point.nominal_point(), direction);
  const double excess = d - point.o_value();
  const bool in = excess >= point.l_value() - kLimitSlack && within(excess, point.u_value());
  check.deviation = d;
  check.verdict = in ? kptVerdictIn : kptVerdictOut;
  check.limit_used = judged_share(zone_share(excess, point.l_value(), point.u_value()),
                                  check.verdict == kptVerdictIn);
  return check;
}

kptCheckLimits kptPointChecks::limits(const mtrInspectionPoint& point) {
  return {point.o_value() + point.l_value(), point.o_value() + point.u_value()};
}

kptPathSummary kptPointChecks::summary(const mtrProbePath& path) {
  kptPathSummary summary;
  const unsigned int points = path.inspection_points_count();
  for (unsigned int i = 0; i < points; ++i) {
    const mtrInspectionPoint& point = path.inspection_point_ref(i);
    ++summary.points;
    if (point.has_measure()) ++summary.measured;
    const kptPointCheck check = of(point);
    if (check.verdict == kptVerdictIn) ++summary.within;
    if (check.verdict == kptVerdictOut) ++summary.outside;
    if (check.verdict == kptVerdictUnmeasured) ++summary.unmeasured;
    if (check.verdict == kptVerdictNotToleranced) ++summary.not_toleranced;
    if (!check.deviation) continue;
    const double d = *check.deviation;
    if (!summary.smallest_deviation || d < *summary.smallest_deviation) {
      summary.smallest_deviation = d;
    }
    if (!summary.largest_deviation || d > *summary.largest_deviation) {
      summary.largest_deviation = d;
    }
    if (!summary.worst_deviation || std::fabs(d) > std::fabs(*summary.worst_deviation)) {
      summary.worst_deviation = d;
    }
  }
  return summary;
}
