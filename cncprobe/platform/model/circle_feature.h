// mtrCircleFeature: a measured bore or boss: nominal and actual circle in CAD coordinates.
#pragma once

#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/circle3.h"
#include "cncprobe/platform/model/inspection_feature.h"

class CNCPROBE_API mtrCircleFeature : public mtrInspectionFeature {
 public:
  // Toolpath id, print data, nominal and actual circle; no tolerances.
  mtrCircleFeature(unsigned int id, const mtrInspectionPrintData& print_data,
                   const giCircle3& nominal, const giCircle3& actual)
      : mtrInspectionFeature(id, print_data), nominal_(nominal), actual_(actual) {}
  ~mtrCircleFeature() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultCircle; }

  // The nominal circle, in CAD coordinates and millimetres.
  const giCircle3& nominal() const noexcept { return nominal_; }
  // The measured circle, in CAD coordinates and millimetres.
  const giCircle3& actual() const noexcept { return actual_; }

  // Tolerance on the diameter as printed (mm); absent until set.
  const std::optional<double>& diameter_tolerance() const noexcept { return diameter_tolerance_; }
  // Stores the printed diameter tolerance.
  void set_diameter_tolerance(double tolerance) noexcept { diameter_tolerance_ = tolerance; }
  // True-position tolerance of the centre (mm); absent until set.
  const std::optional<double>& true_position_tolerance() const noexcept {
    return true_position_tolerance_;
  }
  // Stores the printed true-position tolerance of the centre.
  void set_true_position_tolerance(double tolerance) noexcept {
    true_position_tolerance_ = tolerance;
  }

 private:
  giCircle3 nominal_;
  giCircle3 actual_;
  std::optional<double> diameter_tolerance_;
  std::optional<double> true_position_tolerance_;
};
