// mtrPerpendicularDistanceFeature: a measured wall or channel: its width across two parallel
// faces, probed along one axis, nominal and actual.
#pragma once

#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/perpendicular_distance.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"

class CNCPROBE_API mtrPerpendicularDistanceFeature : public mtrInspectionFeature {
 public:
  // Toolpath id, print data, probing axis, nominal and actual distance; no tolerances.
  mtrPerpendicularDistanceFeature(unsigned int id, const mtrInspectionPrintData& print_data,
                                  mtrProbeWCSAxis axis, const mtgPerpendicularDistance& nominal,
                                  const mtgPerpendicularDistance& actual)
      : mtrInspectionFeature(id, print_data), axis_(axis), nominal_(nominal), actual_(actual) {}
  ~mtrPerpendicularDistanceFeature() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultPerpendicularDistance; }

  // The work-coordinate axis the wall or channel was probed along, as given.
  mtrProbeWCSAxis axis() const noexcept { return axis_; }
  // The nominal wall or channel, in CAD coordinates and millimetres.
  const mtgPerpendicularDistance& nominal() const noexcept { return nominal_; }
  // The measured wall or channel, in CAD coordinates and millimetres.
  const mtgPerpendicularDistance& actual() const noexcept { return actual_; }

  // Tolerance on the width (mm); absent until set.
  const std::optional<double>& distance_tolerance() const noexcept { return distance_tolerance_; }
  // Stores the printed width tolerance.
  void set_distance_tolerance(double tolerance) noexcept { distance_tolerance_ = tolerance; }
  // Position tolerance of the middle (mm); absent until set.
  const std::optional<double>& position_tolerance() const noexcept { return position_tolerance_; }
  // Stores the printed true-position tolerance of the middle.
  void set_position_tolerance(double tolerance) noexcept { position_tolerance_ = tolerance; }

 private:
  mtrProbeWCSAxis axis_;
  mtgPerpendicularDistance nominal_;
  mtgPerpendicularDistance actual_;
  std::optional<double> distance_tolerance_;
  std::optional<double> position_tolerance_;
};
