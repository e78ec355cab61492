// giInfLine3: an infinite line through a point along a unit direction (a corner's edge).
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"

class CNCPROBE_API giInfLine3 {
 public:
  // The Z axis through the origin.
  giInfLine3() noexcept = default;
  // The line through `point` along `direction`, both kept as given.
  giInfLine3(const giPoint3& point, const giUnitVec3& direction) noexcept
      : point_(point), direction_(direction) {}

  // A point of the line.
  const giPoint3& point() const noexcept { return point_; }
  // The line's unit direction.
  const giUnitVec3& direction() const noexcept { return direction_; }

  bool operator==(const giInfLine3&) const noexcept = default;

 private:
  giPoint3 point_;
  giUnitVec3 direction_;
};
