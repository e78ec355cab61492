// Test-only: a receiver of parser events that writes every event down as one readable line.
//
// Numbers are printed with ten significant digits; magnitudes below 1e-10 print as 0, so rounding
// noise of unit conversions and rotations does not show. A value that is not set prints "unset",
// an absent optional "-". Never included by library code.
#pragma once

#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/events/parsed_angle.h"
#include "cncprobe/events/parsed_dimension.h"
#include "cncprobe/events/parsed_position.h"
#include "cncprobe/events/results_file_parser_callback.h"
#include "cncprobe/events/unset_value.h"

class RecordingCallback : public kptResultsFileParserCallback {
 public:
  // One line per event, in the order the events arrived.
  std::vector<std::string> events;

  // A number as the event lines print it.
  static std::string number(double value) {
    if (value == kptUnsetValue) return "unset";
    if (std::fabs(value) < 1e-10) value = 0.0;  // also turns -0 into 0
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.10g", value);
    return buffer;
  }
  static std::string optional(const std::optional<double>& value) {
    return value ? number(*value) : "-";
  }
  static std::string point(const giPoint3& p) {
    return std::string("(") + number(p.x()) + " " + number(p.y()) + " " + number(p.z()) + ")";
  }
  static std::string vector(const giVector3& v) { return point(giPoint3(v.x(), v.y(), v.z())); }
  static std::string point(const giPoint2& p) {
    return std::string("(") + number(p.x()) + " " + number(p.y()) + ")";
  }
  static std::string workplane(const giWorkplane3& w) {
    return std::string("o") + point(w.origin()) + " x" + vector(w.x_axis()) + " y" +
           vector(w.y_axis()) + " z" + vector(w.z_axis());
  }
  // "C1 F2" for component and feature number, "F3 'NAME'" for feature number and name, "-" when
  // the report named no feature.
  // Built by appending: a literal put in front of a temporary string makes GCC 12 at -O3 warn
  // (-Wrestrict) about an overlap that cannot happen.
  static std::string print_data(const mtrInspectionPrintData& data) {
    std::string text;
    switch (data.form()) {
      case mtrInspectionPrintData::kComponentFeature:
        text += 'C';
        text += std::to_string(data.component_number());
        text += " F";
        text += std::to_string(data.feature_number());
        return text;
      case mtrInspectionPrintData::kFeatureName:
        text += 'F';
        text += std::to_string(data.feature_number());
        text += " '";
        text += data.feature_name().str();
        text += '\'';
        return text;
      case mtrInspectionPrintData::kInvalid:
        break;
    }
    return "-";
  }
  // Nominal, actual and tolerance: "10 10.02 tol 0.1".
  static std::string dimension(const kptParsedDimension& d) {
    return number(d.nominal()) + " " + number(d.actual()) + " tol " + optional(d.tolerance());
  }
  static std::string position(const kptParsedPosition& p) {
    return number(p.nominal()) + " " + number(p.actual()) + " tp " +
           optional(p.true_position_tolerance());
  }
  static std::string circle(const giCircle2& c) {
    return point(c.centre()) + " r " + number(c.radius().value());
  }
  static std::string plane(const giPlane& p) {
    return point(p.point()) + " n" + vector(p.normal());
  }

 private:
  void on_start() override { events.push_back("start"); }
  void on_end() override { events.push_back("end"); }
  void on_workplane(const giWorkplane3& w) override {
    events.push_back("workplane " + workplane(w));
  }
  void on_cad_workplane(const giWorkplane3& w) override {
    events.push_back("cad_workplane " + workplane(w));
  }
  void on_nominal_point(const giPoint3& p, const giVector3& direction, double o, double u,
                        double l) override {
    events.push_back("nominal_point " + point(p) + " dir " + vector(direction) + " o " + number(o) +
                     " u " + number(u) + " l " + number(l));
  }
  void on_measured_point(const giPoint3& p, double r) override {
    events.push_back("measured_point " + point(p) + " r " + number(r));
  }
  void on_toolpath_instance(unsigned int id, std::optional<unsigned int> instance) override {
    events.push_back("toolpath_instance " + std::to_string(id) + " " +
                     (instance ? std::to_string(*instance) : "-"));
  }
  void on_cycle_depth(double depth) override { events.push_back("cycle_depth " + number(depth)); }
  void on_results_file(const utString& name) override {
    events.push_back(name.valid() ? "results_file '" + name.str() + "'" : "results_file <invalid>");
  }
  void on_circle_measurement(const mtrInspectionPrintData& data, const giCircle2& nominal,
                             const giCircle2& actual, const std::optional<double>& diameter_tol,
                             const std::optional<double>& position_tol) override {
    events.push_back("circle " + print_data(data) + " nominal " + circle(nominal) + " actual " +
                     circle(actual) + " tol " + optional(diameter_tol) + " tp " +
                     optional(position_tol));
  }
  void on_rectangle_measurement(const mtrInspectionPrintData& data, const kptParsedDimension& x_w,
                                const kptParsedDimension& y_w, const kptParsedPosition& x_pos,
                                const kptParsedPosition& y_pos) override {
    events.push_back("rectangle " + print_data(data) + " xw " + dimension(x_w) + " yw " +
                     dimension(y_w) + " x " + position(x_pos) + " y " + position(y_pos));
  }
  void on_x_wall_channel_measurement(const mtrInspectionPrintData& data,
                                     const kptParsedDimension& width,
                                     const kptParsedPosition& x_pos, double y_nominal) override {
    events.push_back("x_wall_channel " + print_data(data) + " w " + dimension(width) + " x " +
                     position(x_pos) + " y " + number(y_nominal));
  }
  void on_y_wall_channel_measurement(const mtrInspectionPrintData& data,
                                     const kptParsedDimension& width, double x_nominal,
                                     const kptParsedPosition& y_pos) override {
    events.push_back("y_wall_channel " + print_data(data) + " w " + dimension(width) + " x " +
                     number(x_nominal) + " y " + position(y_pos));
  }
  void on_surface_measurement(const mtrInspectionPrintData& data, mtrProbeWCSAxis axis,
                              const giPlane& nominal, const giPlane& actual,
                              const std::optional<double>& tolerance) override {
    static const char* const kAxes[] = {"X", "Y", "Z"};
    const int index = static_cast<int>(axis);
    const std::string axis_name = index >= 0 && index < 3 ? kAxes[index] : std::to_string(index);
    events.push_back("surface " + print_data(data) + " axis " + axis_name + " nominal " +
                     plane(nominal) + " actual " + plane(actual) + " tol " + optional(tolerance));
  }
  void on_corner_measurement(const mtrInspectionPrintData& data, const giPoint2& nominal,
                             const giPoint2& actual,
                             const std::optional<double>& position_tol) override {
    events.push_back("corner " + print_data(data) + " nominal " + point(nominal) + " actual " +
                     point(actual) + " tp " + optional(position_tol));
  }
  void on_angle_measurement(const mtrInspectionPrintData& data,
                            const kptParsedAngle& angle) override {
    const utOptionalArg<giAngle> tolerance = angle.tolerance();
    events.push_back("angle " + print_data(data) + " " + number(angle.nominal().stored_value()) +
                     " " + number(angle.actual().stored_value()) + " tol " +
                     (tolerance ? number(tolerance.value().degrees()) : "-"));
  }
};
