// giPoint2: a point in a plane (mm), as macro reports give circle centres and corners.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"

class CNCPROBE_API giPoint2 {
 public:
  // The point (0, 0).
  constexpr giPoint2() noexcept = default;
  // The point (x, y).
  constexpr giPoint2(double x, double y) noexcept : x_(x), y_(y) {}

  // The X coordinate.
  constexpr double x() const noexcept { return x_; }
  // The Y coordinate.
  constexpr double y() const noexcept { return y_; }

  // The point lifted to height z: (x, y, z).
  constexpr giPoint3 xyz(double z) const noexcept { return giPoint3(x_, y_, z); }

  constexpr bool operator==(const giPoint2&) const noexcept = default;

 private:
  double x_ = 0.0;
  double y_ = 0.0;
};
