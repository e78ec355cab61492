// giAngle: one angle, built from degrees and stored in degrees.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/axis.h"

class CNCPROBE_API giAngle {
 public:
  // Zero degrees. Parsed values overwrite the stored value at once with their unset marker.
  constexpr giAngle() noexcept = default;
  // An angle of `degrees` degrees, kept as given: no reduction to a range.
  constexpr giAngle(giAngleDegrees_t, double degrees) noexcept : degrees_(degrees) {}

  // The angle in degrees.
  constexpr double degrees() const noexcept { return degrees_; }
  // The angle in radians.
  constexpr double radians() const noexcept { return degrees_ * (3.14159265358979323846 / 180.0); }

  // The stored value, which is the angle in degrees and the first (only) field of the class.
  // Parsed measurement values write their "not set" marker (the largest finite double) here
  // and compare it.
  constexpr double& stored_value() noexcept { return degrees_; }
  constexpr double stored_value() const noexcept { return degrees_; }

  constexpr bool operator==(const giAngle&) const noexcept = default;

 private:
  double degrees_ = 0.0;
};
