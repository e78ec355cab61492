// giUnitVec3: normalisation that survives zero, huge and tiny vectors.
#include "cncprobe/platform/geometry/unit_vec3.h"

#include <algorithm>
#include <cmath>

giUnitVec3::giUnitVec3(const giVector3& v) noexcept : x_(0.0), y_(0.0), z_(0.0) {
  // An infinite or NaN component leaves no direction to keep.
  if (!std::isfinite(v.x()) || !std::isfinite(v.y()) || !std::isfinite(v.z())) return;
  const double scale = std::max({std::fabs(v.x()), std::fabs(v.y()), std::fabs(v.z())});
  if (scale == 0.0) return;
  const double x = v.x() / scale;
  const double y = v.y() / scale;
  const double z = v.z() / scale;
  const double length = std::sqrt(x * x + y * y + z * z);  // between 1 and sqrt(3)
  x_ = x / length;
  y_ = y / length;
  z_ = z / length;
}
