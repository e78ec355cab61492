// mtrSurfaceFeature: a surface probed along one axis: nominal and actual plane in CAD coordinates.
#pragma once

#include <optional>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/plane.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"

class CNCPROBE_API mtrSurfaceFeature : public mtrInspectionFeature {
 public:
  // Toolpath id, print data, probing axis, nominal and actual plane; no tolerance.
  mtrSurfaceFeature(unsigned int id, const mtrInspectionPrintData& print_data, mtrProbeWCSAxis axis,
                    const giPlane& nominal, const giPlane& actual)
      : mtrInspectionFeature(id, print_data), axis_(axis), nominal_(nominal), actual_(actual) {}
  ~mtrSurfaceFeature() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultSurface; }

  // The work-coordinate axis the surface was probed along, as given.
  mtrProbeWCSAxis axis() const noexcept { return axis_; }
  // The nominal surface, as a plane.
  const giPlane& nominal() const noexcept { return nominal_; }
  // The measured surface, as a plane.
  const giPlane& actual() const noexcept { return actual_; }

  // Position tolerance of the surface (mm); absent until set.
  const std::optional<double>& position_tolerance() const noexcept { return position_tolerance_; }
  // Stores the printed position tolerance.
  void set_position_tolerance(double tolerance) noexcept { position_tolerance_ = tolerance; }

 private:
  mtrProbeWCSAxis axis_;
  giPlane nominal_;
  giPlane actual_;
  std::optional<double> position_tolerance_;
};
