// giVector2: a direction in a plane, used to pick the X or Y axis of a workplane.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/axis.h"
#include "cncprobe/platform/geometry/vector3.h"

class CNCPROBE_API giVector2 {
 public:
  // The zero vector.
  constexpr giVector2() noexcept = default;
  // The vector (x, y).
  constexpr giVector2(double x, double y) noexcept : x_(x), y_(y) {}
  // The unit vector along X (0) or Y (1); the zero vector for any other axis value, Z included,
  // since a plane has no third axis.
  constexpr explicit giVector2(gi_Axis axis) noexcept
      : x_(axis == gi_AxisX ? 1.0 : 0.0), y_(axis == gi_AxisY ? 1.0 : 0.0) {}

  // The X component.
  constexpr double x() const noexcept { return x_; }
  // The Y component.
  constexpr double y() const noexcept { return y_; }

  // The vector lifted into space: (x, y, z).
  constexpr giVector3 xyz(double z) const noexcept { return giVector3(x_, y_, z); }

  constexpr bool operator==(const giVector2&) const noexcept = default;

 private:
  double x_ = 0.0;
  double y_ = 0.0;
};
