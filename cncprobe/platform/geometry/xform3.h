// giXform3: a rigid transform X(p) = R·p + t; applied to a vector it is R·v.
//
// Workplane records build their frame as a translation post-multiplied by rotations, so the
// rotations act first and the translation last:
//
//   giXform3 m(giXformTranslate, giVector3(10, 0, 0));
//   m.postmultiply(giXform3(giXformRotate, giAngle(giAngleDegrees, 180.0), giAxisZ));
//   m.apply(giPoint3(1, 0, 0));   // (9, 0, 0)
//
// Positive rotations follow the right-hand rule: +90 degrees about Z takes X to Y.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/angle.h"
#include "cncprobe/platform/geometry/axis.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/vector3.h"

class CNCPROBE_API giXform3 {
 public:
  // The identity.
  giXform3() noexcept = default;
  // R = identity, t = v.
  giXform3(giXformTranslate_t, const giVector3& v) noexcept;
  // Rotation by `angle` about the world X (Y, Z) axis through the origin; t = 0. Whole quarter
  // turns give exact 0 and ±1 entries.
  giXform3(giXformRotate_t, const giAngle& angle, giAxisX_t) noexcept;
  giXform3(giXformRotate_t, const giAngle& angle, giAxisY_t) noexcept;
  giXform3(giXformRotate_t, const giAngle& angle, giAxisZ_t) noexcept;
  ~giXform3() = default;
  giXform3(const giXform3&) noexcept = default;
  giXform3& operator=(const giXform3&) noexcept = default;

  // this := this ∘ m: the new transform applies m first, then the old one. Returns *this.
  giXform3& postmultiply(const giXform3& m) noexcept;

  // The inverse transform. Exact for rigid transforms (R is inverted by transposing it).
  [[nodiscard]] giXform3 inverse() const noexcept;

  // R·p + t.
  [[nodiscard]] giPoint3 apply(const giPoint3& p) const noexcept;
  // R·v: translations do not move vectors.
  [[nodiscard]] giVector3 apply(const giVector3& v) const noexcept;

  // Entry (row, column) of R, both 0 to 2; 0 for indices out of range.
  double rotation(int row, int column) const noexcept;
  // The translation t.
  giVector3 translation() const noexcept { return giVector3(t_[0], t_[1], t_[2]); }

 private:
  friend class giWorkplane3;
  // R row by row, then t.
  double r_[9] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  double t_[3] = {0.0, 0.0, 0.0};
};
