// giPlane: a plane given by a point on it and its unit normal, as surface reports give them.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"

class CNCPROBE_API giPlane {
 public:
  // The plane z = 0 with normal (0, 0, 1).
  giPlane() noexcept = default;
  // The plane with unit normal `normal` through `point`; both are kept exactly as given and
  // read back unchanged (the normal is not re-normalised).
  giPlane(const giUnitVec3& normal, const giPoint3& point) noexcept
      : point_(point), normal_(normal) {}
  ~giPlane() = default;
  giPlane(const giPlane&) noexcept = default;
  giPlane& operator=(const giPlane&) noexcept = default;

  // A point of the plane.
  const giPoint3& point() const noexcept { return point_; }
  // The plane's unit normal.
  const giUnitVec3& normal() const noexcept { return normal_; }

  bool operator==(const giPlane&) const noexcept = default;

 private:
  giPoint3 point_;
  giUnitVec3 normal_;
};
