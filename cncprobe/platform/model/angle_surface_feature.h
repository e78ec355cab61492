// mtrAngleSurfaceFeature: a measured angled surface: its angle to a reference direction lying in
// a reference plane, nominal and actual.
#pragma once

#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/angle.h"
#include "cncprobe/platform/geometry/plane.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/model/inspection_feature.h"

class CNCPROBE_API mtrAngleSurfaceFeature : public mtrInspectionFeature {
 public:
  // Toolpath id, print data, reference plane, reference direction, nominal and actual angle;
  // no tolerance. Angles are kept as given, not transformed.
  mtrAngleSurfaceFeature(unsigned int id, const mtrInspectionPrintData& print_data,
                         const giPlane& reference_plane, const giUnitVec3& reference_direction,
                         const giAngle& nominal, const giAngle& actual)
      : mtrInspectionFeature(id, print_data),
        reference_plane_(reference_plane),
        reference_direction_(reference_direction),
        nominal_(nominal),
        actual_(actual) {}
  ~mtrAngleSurfaceFeature() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultAngleSurface; }

  // The reference plane the reference direction lies in.
  const giPlane& reference_plane() const noexcept { return reference_plane_; }
  // The reference direction the angle is measured from.
  const giUnitVec3& reference_direction() const noexcept { return reference_direction_; }
  // The nominal angle.
  const giAngle& nominal() const noexcept { return nominal_; }
  // The measured angle.
  const giAngle& actual() const noexcept { return actual_; }

  // Angular tolerance; absent until set.
  const std::optional<giAngle>& angular_tolerance() const noexcept { return angular_tolerance_; }
  // Stores the printed angular tolerance.
  void set_angular_tolerance(const giAngle& tolerance) noexcept { angular_tolerance_ = tolerance; }

 private:
  giPlane reference_plane_;
  giUnitVec3 reference_direction_;
  giAngle nominal_;
  giAngle actual_;
  std::optional<giAngle> angular_tolerance_;
};
