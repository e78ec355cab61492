// giUnitVec3: a direction in space, a vector of length 1 (or the zero vector, see below).
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/axis.h"
#include "cncprobe/platform/geometry/vector3.h"

class CNCPROBE_API giUnitVec3 {
 public:
  // The Z axis (0, 0, 1): the tool axis, the direction a default probe approaches along.
  constexpr giUnitVec3() noexcept = default;
  // The vector divided by its length. A vector of length zero, or one with a non-finite
  // component, gives the zero vector (0, 0, 0): a nominal point may carry no direction, and a
  // direction is never NaN. Very large or very small components are scaled first, so they
  // normalise without overflow or underflow.
  explicit giUnitVec3(const giVector3& v) noexcept;
  // The unit vector along X (0), Y (1) or Z (2); the zero vector for any other value.
  constexpr explicit giUnitVec3(gi_Axis axis) noexcept
      : x_(axis == gi_AxisX ? 1.0 : 0.0),
        y_(axis == gi_AxisY ? 1.0 : 0.0),
        z_(axis == gi_AxisZ ? 1.0 : 0.0) {}

  // The X component.
  constexpr double x() const noexcept { return x_; }
  // The Y component.
  constexpr double y() const noexcept { return y_; }
  // The Z component.
  constexpr double z() const noexcept { return z_; }

  // The same direction as a plain vector.
  constexpr giVector3 vector() const noexcept { return giVector3(x_, y_, z_); }
  constexpr operator giVector3() const noexcept {
    return vector();
  }  // NOLINT: a unit vector is a vector

  constexpr bool operator==(const giUnitVec3&) const noexcept = default;

 private:
  double x_ = 0.0;
  double y_ = 0.0;
  double z_ = 1.0;
};
