// giVector3: a vector in space, never normalised.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/axis.h"

class CNCPROBE_API giVector3 {
 public:
  // The zero vector.
  constexpr giVector3() noexcept = default;
  // The vector (x, y, z), kept as given.
  constexpr giVector3(double x, double y, double z) noexcept : x_(x), y_(y), z_(z) {}
  // The world axes (1, 0, 0), (0, 1, 0) and (0, 0, 1).
  constexpr explicit giVector3(giAxisX_t) noexcept : x_(1.0) {}
  constexpr explicit giVector3(giAxisY_t) noexcept : y_(1.0) {}
  constexpr explicit giVector3(giAxisZ_t) noexcept : z_(1.0) {}

  // The X component.
  constexpr double x() const noexcept { return x_; }
  // The Y component.
  constexpr double y() const noexcept { return y_; }
  // The Z component.
  constexpr double z() const noexcept { return z_; }

  // The Euclidean length; infinite when it overflows, never NaN for finite components.
  double length() const noexcept;

  constexpr bool operator==(const giVector3&) const noexcept = default;

 private:
  double x_ = 0.0;
  double y_ = 0.0;
  double z_ = 0.0;
};
