// mtgRectangle3: a rectangle in space, as a rectangle (pocket or boss) report describes it.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/length.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"

class CNCPROBE_API mtgRectangle3 {
 public:
  // A rectangle of size 0 at the origin, normal Z, length along X.
  mtgRectangle3() noexcept = default;
  // In this order: centre, unit normal, unit direction of the length side, length, width; all
  // kept as given.
  mtgRectangle3(const giPoint3& centre, const giUnitVec3& normal,
                const giUnitVec3& length_direction, const giLength& length,
                const giLength& width) noexcept
      : centre_(centre),
        normal_(normal),
        length_direction_(length_direction),
        length_(length),
        width_(width) {}
  ~mtgRectangle3() = default;
  mtgRectangle3(const mtgRectangle3&) noexcept = default;
  mtgRectangle3& operator=(const mtgRectangle3&) noexcept = default;

  // The centre.
  const giPoint3& centre() const noexcept { return centre_; }
  // The unit normal of the rectangle's plane.
  const giUnitVec3& normal() const noexcept { return normal_; }
  // The unit direction of its length.
  const giUnitVec3& length_direction() const noexcept { return length_direction_; }
  // The length.
  const giLength& length() const noexcept { return length_; }
  // The width.
  const giLength& width() const noexcept { return width_; }

  bool operator==(const mtgRectangle3&) const noexcept = default;

 private:
  giPoint3 centre_;
  giUnitVec3 normal_;
  giUnitVec3 length_direction_{gi_AxisX};
  giLength length_;
  giLength width_;
};
