// kptResultsFileParserCallback: the events through which every recognised record and report
// arrives.
//
// The parsers build no results themselves: each machine record or printed macro report they
// recognise ends in exactly one call of one of these operations, synchronously, in the order of
// the file's lines. Lengths are already millimetres; directions and angles are as printed.
// A host may implement its own receiver:
//
//   class Printer : public kptResultsFileParserCallback {
//     void on_start() override { std::puts("run starts"); }
//     ... // the other fifteen events
//   };
#pragma once

#include <optional>

#include "cncprobe/events/parsed_angle.h"
#include "cncprobe/events/parsed_dimension.h"
#include "cncprobe/events/parsed_position.h"
#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/circle2.h"
#include "cncprobe/platform/geometry/plane.h"
#include "cncprobe/platform/geometry/point2.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/vector3.h"
#include "cncprobe/platform/geometry/workplane3.h"
#include "cncprobe/platform/model/inspection_print_data.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptResultsFileParserCallback {
 public:
  // A line that contains START anywhere: a run begins.
  virtual void on_start() = 0;
  // A line that begins with END: the run ends.
  virtual void on_end() = 0;
  // G330: the output workplane in which the following points are written.
  virtual void on_workplane(const giWorkplane3& workplane) = 0;
  // G331: the CAD workplane that places machine coordinates in the part's CAD model.
  virtual void on_cad_workplane(const giWorkplane3& workplane) = 0;
  // G800: nominal point (mm), direction as printed, then O, U and L (mm).
  virtual void on_nominal_point(const giPoint3& point, const giVector3& direction, double o,
                                double u, double l) = 0;
  // G801: measured point (mm) and R (mm).
  virtual void on_measured_point(const giPoint3& point, double r) = 0;
  // TOOLPATHID: the tool-path identity and the pattern instance, absent when 0.
  virtual void on_toolpath_instance(unsigned int id, std::optional<unsigned int> instance) = 0;
  // CYCLEDEPTH: the depth (mm) at which the following features were probed.
  virtual void on_cycle_depth(double depth) = 0;
  // RESULTSFILE: the text after the keyword, possibly empty.
  virtual void on_results_file(const utString& name) = 0;
  // A circle report: nominal and actual circle, diameter and true-position tolerances.
  virtual void on_circle_measurement(const mtrInspectionPrintData& print_data,
                                     const giCircle2& nominal, const giCircle2& actual,
                                     const std::optional<double>& diameter_tolerance,
                                     const std::optional<double>& true_position_tolerance) = 0;
  // A rectangle report: X width and Y width, X position and Y position.
  virtual void on_rectangle_measurement(const mtrInspectionPrintData& print_data,
                                        const kptParsedDimension& x_width,
                                        const kptParsedDimension& y_width,
                                        const kptParsedPosition& x_position,
                                        const kptParsedPosition& y_position) = 0;
  // A wall or channel measured along X: width, X position and the nominal Y coordinate (mm).
  virtual void on_x_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                             const kptParsedDimension& width,
                                             const kptParsedPosition& x_position,
                                             double y_nominal) = 0;
  // A wall or channel measured along Y: width, the nominal X coordinate (mm) and Y position.
  virtual void on_y_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                             const kptParsedDimension& width, double x_nominal,
                                             const kptParsedPosition& y_position) = 0;
  // A surface report: probed axis, nominal and actual plane, the size tolerance.
  virtual void on_surface_measurement(const mtrInspectionPrintData& print_data,
                                      mtrProbeWCSAxis axis, const giPlane& nominal,
                                      const giPlane& actual,
                                      const std::optional<double>& tolerance) = 0;
  // A corner report: nominal and actual corner point, the true-position tolerance.
  virtual void on_corner_measurement(const mtrInspectionPrintData& print_data,
                                     const giPoint2& nominal, const giPoint2& actual,
                                     const std::optional<double>& true_position_tolerance) = 0;
  // An angle report: the parsed angle in degrees.
  virtual void on_angle_measurement(const mtrInspectionPrintData& print_data,
                                    const kptParsedAngle& angle) = 0;

  virtual ~kptResultsFileParserCallback() = default;
};
