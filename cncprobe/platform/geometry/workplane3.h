// giWorkplane3: a coordinate frame, origin and three perpendicular unit axes in world terms.
//
// The frame map F takes local coordinates (u, v, w) to the world point o + u·x + v·y + w·z.
// A workplane is built by moving the world workplane with transforms:
//
//   giWorkplane3 w(giWorkplaneWorld);
//   w.transform(a);                    // F = a
//   w.transform(b);                    // F = b ∘ a
//   giPoint3 local = w.to_work(p);     // F⁻¹(p)
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/axis.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/geometry/vector3.h"
#include "cncprobe/platform/geometry/xform3.h"

class CNCPROBE_API giWorkplane3 {
 public:
  // The world workplane: origin (0, 0, 0) and the world axes; its frame map is the identity.
  giWorkplane3() noexcept = default;
  explicit giWorkplane3(giWorkplaneWorld_t) noexcept {}
  ~giWorkplane3() = default;
  giWorkplane3(const giWorkplane3&) noexcept = default;
  giWorkplane3& operator=(const giWorkplane3&) noexcept = default;

  // Makes this the world workplane again, whatever was done to it before. Returns *this.
  giWorkplane3& become(giWorkplaneWorld_t) noexcept;

  // Moves the frame by x in world terms: o := x(o), each axis := R·axis, so F := x ∘ F.
  // Returns the distance the origin moved (mm).
  double transform(const giXform3& x) noexcept;

  // F⁻¹: the transform from world coordinates to this workplane's local coordinates.
  [[nodiscard]] giXform3 get_transform_to_work() const noexcept;
  // F⁻¹(p): the local coordinates of the world point p.
  [[nodiscard]] giPoint3 to_work(const giPoint3& p) const noexcept;
  // The local components of the world vector v; the origin plays no part.
  [[nodiscard]] giVector3 to_work(const giVector3& v) const noexcept;

  // The workplane's origin.
  const giPoint3& origin() const noexcept { return origin_; }
  // The workplane's unit X axis.
  const giUnitVec3& x_axis() const noexcept { return x_axis_; }
  // The workplane's unit Y axis.
  const giUnitVec3& y_axis() const noexcept { return y_axis_; }
  // The workplane's unit Z axis.
  const giUnitVec3& z_axis() const noexcept { return z_axis_; }

 private:
  giPoint3 origin_;
  giUnitVec3 x_axis_{gi_AxisX};
  giUnitVec3 y_axis_{gi_AxisY};
  giUnitVec3 z_axis_{gi_AxisZ};
};
