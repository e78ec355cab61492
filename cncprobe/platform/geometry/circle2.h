// giCircle2: a circle in a plane, as a circle report gives it in output-workplane coordinates.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/length.h"
#include "cncprobe/platform/geometry/point2.h"

class CNCPROBE_API giCircle2 {
 public:
  // The circle of radius 0 at (0, 0).
  giCircle2() noexcept = default;
  // The circle with this centre and radius, kept as given (a negative radius is not corrected).
  giCircle2(const giPoint2& centre, const giLength& radius) noexcept
      : centre_(centre), radius_(radius) {}
  ~giCircle2() = default;
  giCircle2(const giCircle2&) noexcept = default;
  giCircle2& operator=(const giCircle2&) noexcept = default;

  // The centre.
  const giPoint2& centre() const noexcept { return centre_; }
  // The radius.
  const giLength& radius() const noexcept { return radius_; }

  bool operator==(const giCircle2&) const noexcept = default;

 private:
  giPoint2 centre_;
  giLength radius_;
};
