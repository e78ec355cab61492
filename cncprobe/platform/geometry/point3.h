// giPoint3: a point in space (mm).
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/axis.h"

class CNCPROBE_API giPoint3 {
 public:
  // The point (0, 0, 0).
  constexpr giPoint3() noexcept = default;
  constexpr explicit giPoint3(giOrigin_t) noexcept {}
  // The point (x, y, z).
  constexpr giPoint3(double x, double y, double z) noexcept : x_(x), y_(y), z_(z) {}

  // The X coordinate.
  constexpr double x() const noexcept { return x_; }
  // The Y coordinate.
  constexpr double y() const noexcept { return y_; }
  // The Z coordinate.
  constexpr double z() const noexcept { return z_; }

  // The coordinate named by `axis`; 0 for a value that names no axis.
  constexpr double coordinate(gi_Axis axis) const noexcept {
    switch (axis) {
      case gi_AxisX:
        return x_;
      case gi_AxisY:
        return y_;
      case gi_AxisZ:
        return z_;
    }
    return 0.0;
  }

  // Replaces the coordinate named by `axis`; a value that names no axis changes nothing.
  constexpr void set_coordinate(gi_Axis axis, double value) noexcept {
    switch (axis) {
      case gi_AxisX:
        x_ = value;
        break;
      case gi_AxisY:
        y_ = value;
        break;
      case gi_AxisZ:
        z_ = value;
        break;
    }
  }

  constexpr bool operator==(const giPoint3&) const noexcept = default;

 private:
  double x_ = 0.0;
  double y_ = 0.0;
  double z_ = 0.0;
};
