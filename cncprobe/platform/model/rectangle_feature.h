// mtrRectangleFeature: a measured pocket or boss: nominal and actual rectangle in CAD coordinates.
#pragma once

#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/rectangle3.h"

class CNCPROBE_API mtrRectangleFeature : public mtrInspectionFeature {
 public:
  // Toolpath id, print data, nominal and actual rectangle; no tolerances.
  mtrRectangleFeature(unsigned int id, const mtrInspectionPrintData& print_data,
                      const mtgRectangle3& nominal, const mtgRectangle3& actual)
      : mtrInspectionFeature(id, print_data), nominal_(nominal), actual_(actual) {}
  ~mtrRectangleFeature() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultRectangle; }

  // The nominal rectangle, in CAD coordinates and millimetres.
  const mtgRectangle3& nominal() const noexcept { return nominal_; }
  // The measured rectangle, in CAD coordinates and millimetres.
  const mtgRectangle3& actual() const noexcept { return actual_; }

  // Tolerance on the length (mm); absent until set.
  const std::optional<double>& length_tolerance() const noexcept { return length_tolerance_; }
  // Stores the printed length tolerance.
  void set_length_tolerance(double tolerance) noexcept { length_tolerance_ = tolerance; }
  // Tolerance on the width (mm); absent until set.
  const std::optional<double>& width_tolerance() const noexcept { return width_tolerance_; }
  // Stores the printed width tolerance.
  void set_width_tolerance(double tolerance) noexcept { width_tolerance_ = tolerance; }
  // Position tolerance of the centre (mm); absent until set.
  const std::optional<double>& position_tolerance() const noexcept { return position_tolerance_; }
  // Stores the printed true-position tolerance of the centre.
  void set_position_tolerance(double tolerance) noexcept { position_tolerance_ = tolerance; }

 private:
  mtgRectangle3 nominal_;
  mtgRectangle3 actual_;
  std::optional<double> length_tolerance_;
  std::optional<double> width_tolerance_;
  std::optional<double> position_tolerance_;
};
