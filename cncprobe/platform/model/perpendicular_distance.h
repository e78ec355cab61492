// mtgPerpendicularDistance: a distance measured across two parallel faces (a wall or channel).
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/length.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"

class CNCPROBE_API mtgPerpendicularDistance {
 public:
  // Distance 0 at the origin, normal Z, measured along X.
  mtgPerpendicularDistance() noexcept = default;
  // In this order: the point midway between the faces, the unit normal of the plane in which it
  // was probed, the unit direction along which the distance is measured, the distance; all kept
  // as given.
  mtgPerpendicularDistance(const giPoint3& point, const giUnitVec3& normal,
                           const giUnitVec3& direction, const giLength& distance) noexcept
      : point_(point), normal_(normal), direction_(direction), distance_(distance) {}
  ~mtgPerpendicularDistance() = default;
  mtgPerpendicularDistance(const mtgPerpendicularDistance&) noexcept = default;
  mtgPerpendicularDistance& operator=(const mtgPerpendicularDistance&) noexcept = default;

  // The point midway between the faces.
  const giPoint3& point() const noexcept { return point_; }
  // The unit normal of the plane in which it was probed.
  const giUnitVec3& normal() const noexcept { return normal_; }
  // The unit direction along which the distance is measured.
  const giUnitVec3& direction() const noexcept { return direction_; }
  // The distance between the faces.
  const giLength& distance() const noexcept { return distance_; }

  bool operator==(const mtgPerpendicularDistance&) const noexcept = default;

 private:
  giPoint3 point_;
  giUnitVec3 normal_;
  giUnitVec3 direction_{gi_AxisX};
  giLength distance_;
};
