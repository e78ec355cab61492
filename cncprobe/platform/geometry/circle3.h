// giCircle3: a circle in space: centre, the unit normal of its plane and its radius.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/length.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"

class CNCPROBE_API giCircle3 {
 public:
  // The circle of radius 0 at the origin in the plane z = 0.
  giCircle3() noexcept = default;
  // The circle with this centre, lying in the plane through the centre perpendicular to
  // `normal`, with this radius; all three kept as given.
  giCircle3(const giPoint3& centre, const giUnitVec3& normal, const giLength& radius) noexcept
      : centre_(centre), normal_(normal), radius_(radius) {}
  ~giCircle3() = default;
  giCircle3(const giCircle3&) noexcept = default;
  giCircle3& operator=(const giCircle3&) noexcept = default;

  // The centre.
  const giPoint3& centre() const noexcept { return centre_; }
  // The unit normal of the circle's plane.
  const giUnitVec3& normal() const noexcept { return normal_; }
  // The radius.
  const giLength& radius() const noexcept { return radius_; }

  bool operator==(const giCircle3&) const noexcept = default;

 private:
  giPoint3 centre_;
  giUnitVec3 normal_;
  giLength radius_;
};
