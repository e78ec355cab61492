// Vector arithmetic on the result model's points and the limit rules shared by the feature and
// point checks. Internal to cncprobe/inspection: include cncprobe/inspection/feature_check.h or
// point_check.h instead.
#pragma once

#include <cmath>
#include <limits>

#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"

namespace inspection_internal {

// A value within this distance of its limit counts as at the limit: the binary difference of two
// printed decimals (25.050 - 25.000 against 0.050) may pass the limit by a rounding.
inline constexpr double kLimitSlack = 1e-9;

inline double dot(const giPoint3& a, const giUnitVec3& b) {
  return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

// (a - b) . direction
inline double along(const giPoint3& a, const giPoint3& b, const giUnitVec3& direction) {
  return (a.x() - b.x()) * direction.x() + (a.y() - b.y()) * direction.y() +
         (a.z() - b.z()) * direction.z();
}

// |a - b|
inline double distance(const giPoint3& a, const giPoint3& b) {
  const double x = a.x() - b.x();
  const double y = a.y() - b.y();
  const double z = a.z() - b.z();
  return std::sqrt(x * x + y * y + z * z);
}

// Whether `value` (>= 0) is at most `limit`, with the slack above.
inline bool within(double value, double limit) { return value <= limit + kLimitSlack; }

// The share of `limit` that `value` uses, both on the same side of zero: 1 at the limit. A limit
// of zero, or one on the other side of zero, leaves no room: 1 when the value is at it, +infinity
// beyond it.
inline double share(double value, double limit) {
  if ((limit > 0.0 && value >= 0.0) || (limit < 0.0 && value <= 0.0)) return value / limit;
  if (std::fabs(value) <= kLimitSlack && std::fabs(limit) <= kLimitSlack) return 1.0;
  return std::numeric_limits<double>::infinity();
}

// Where `value` lies in the zone [lower, upper]: 0 at its middle, 1 at either limit, growing
// linearly beyond them, so that every value outside ranks above every value inside and further
// out ranks higher. Both limits may lie on one side of zero. A zone of no width (within the
// slack) leaves no room to rank by: +infinity, which judged_share() makes 1 for a value at it.
inline double zone_share(double value, double lower, double upper) {
  const double width = upper - lower;
  if (!(width > kLimitSlack)) return std::numeric_limits<double>::infinity();
  return std::fabs(2.0 * value - (upper + lower)) / width;
}

// The share a value reports, agreeing with its verdict whatever the rounding of the division:
// a value judged in (its limit plus the slack included) reports at most 1, exactly 1 at its
// limit, so `share <= 1` reads as in; a value judged out always reports more than 1.
inline double judged_share(double share, bool in) {
  if (in) return share > 1.0 ? 1.0 : share;
  return share <= 1.0 ? std::nextafter(1.0, 2.0) : share;
}

}  // namespace inspection_internal
