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

}  // namespace inspection_internal
