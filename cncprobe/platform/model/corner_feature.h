// mtrCornerFeature: a measured corner: nominal and actual corner edge in CAD coordinates.
#pragma once

#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/inf_line3.h"
#include "cncprobe/platform/model/inspection_feature.h"

class CNCPROBE_API mtrCornerFeature : public mtrInspectionFeature {
 public:
  // Toolpath id, print data, nominal and actual edge line; no tolerance.
  mtrCornerFeature(unsigned int id, const mtrInspectionPrintData& print_data,
                   const giInfLine3& nominal, const giInfLine3& actual)
      : mtrInspectionFeature(id, print_data), nominal_(nominal), actual_(actual) {}
  ~mtrCornerFeature() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultCorner; }

  // The nominal corner, as a line through it.
  const giInfLine3& nominal() const noexcept { return nominal_; }
  // The measured corner, as a line through it.
  const giInfLine3& actual() const noexcept { return actual_; }

  // True-position tolerance of the corner (mm); absent until set.
  const std::optional<double>& true_position_tolerance() const noexcept {
    return true_position_tolerance_;
  }
  // Stores the printed true-position tolerance.
  void set_true_position_tolerance(double tolerance) noexcept {
    true_position_tolerance_ = tolerance;
  }

 private:
  giInfLine3 nominal_;
  giInfLine3 actual_;
  std::optional<double> true_position_tolerance_;
};
