// cncprobe extract --format json: one document, written as it goes, point by point.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"
#include "tools/commands.h"
#include "tools/extract_view.h"
#include "tools/json_writer.h"
#include "tools/ordered_work.h"

namespace tool {

const char* axis_name(mtrProbeWCSAxis axis) { return kptResultNames::axis(axis); }

const char* kind_name(const mtrToolpathResult& result) {
  return kptResultNames::kind(result.kind());
}

namespace {

void write_point(JsonWriter& json, const giPoint3& p) { json.point(p.x(), p.y(), p.z()); }
void write_vector(JsonWriter& json, const giUnitVec3& v) { json.point(v.x(), v.y(), v.z()); }

void write_plane(JsonWriter& json, const giPlane& plane) {
  json.begin_object(true);
  json.key("point");
  write_point(json, plane.point());
  json.key("normal");
  write_vector(json, plane.normal());
  json.end_object();
}

void write_print_data(JsonWriter& json, const mtrInspectionPrintData& data) {
  switch (data.form()) {
    case mtrInspectionPrintData::kComponentFeature:
      json.begin_object(true);
      json.key("component");
      json.integer(data.component_number());
      json.key("feature");
      json.integer(data.feature_number());
      json.end_object();
      return;
    case mtrInspectionPrintData::kFeatureName:
      json.begin_object(true);
      json.key("feature");
      json.integer(data.feature_number());
      json.key("name");
      json.string(data.feature_name().view());
      json.end_object();
      return;
    case mtrInspectionPrintData::kInvalid:
      break;
  }
  json.null();
}

// The print data of a feature (every kind but a probe path).
void write_print_data(JsonWriter& json, const mtrToolpathResult& feature) {
  json.key("print_data");
  write_print_data(json, static_cast<const mtrInspectionFeature&>(feature).print_data());
}

// A number, or null when absent.
void write_number_or_null(Output& out, const std::optional<double>& value) {
  if (value) {
    write_json_number(out, *value);
  } else {
    out.write("null");
  }
}

// One inspection point on one line. A run holds up to millions of them, so the line is put
// together from its literal pieces straight in the output rather than member by member.
void write_point_line(Output& out, const mtrInspectionPoint& point) {
  const giPoint3& nominal = point.nominal_point();
  const giUnitVec3& direction = point.direction();
  out.write(R"({"label": )");
  write_json_string(out, point.label().view());
  out.write(R"(, "nominal": )");
  write_json_triple(out, nominal.x(), nominal.y(), nominal.z());
  out.write(R"(, "direction": )");
  write_json_triple(out, direction.x(), direction.y(), direction.z());
  out.write(R"(, "o": )");
  write_json_number(out, point.o_value());
  out.write(R"(, "u": )");
  write_json_number(out, point.u_value());
  out.write(R"(, "l": )");
  write_json_number(out, point.l_value());
  if (point.has_measure()) {
    const giPoint3& measured = point.measured_point();
    out.write(R"(, "measured": )");
    write_json_triple(out, measured.x(), measured.y(), measured.z());
    out.write(R"(, "r": )");
    write_json_number(out, point.r_value());
  } else {
    out.write(R"(, "measured": null, "r": null)");
  }
  const kptPointCheck check = kptPointChecks::of(point);
  out.write(R"(, "deviation": )");
  write_number_or_null(out, check.deviation);
  out.write(R"(, "verdict": )");
  write_json_string(out, kpt_verdict_name(check.verdict));
  out.write(R"(, "limit_used": )");
  write_number_or_null(out, check.limit_used);
  out.write('}');
}

void write_probe_path(JsonWriter& json, const mtrProbePath& path) {
  json.key("points");
  json.begin_array();
  for_each_point(path,
                 [&](const mtrInspectionPoint& point) { write_point_line(json.item(), point); });
  json.end_array();
}

void write_circle(JsonWriter& json, const mtrCircleFeature& f) {
  const auto circle = [&](const char* name, const giCircle3& c) {
    json.key(name);
    json.begin_object(true);
    json.key("centre");
    write_point(json, c.centre());
    json.key("normal");
    write_vector(json, c.normal());
    json.key("radius");
    json.number(c.radius().value());
    json.end_object();
  };
  circle("nominal", f.nominal());
  circle("actual", f.actual());
  json.key("diameter_tolerance");
  json.number(f.diameter_tolerance());
  json.key("true_position_tolerance");
  json.number(f.true_position_tolerance());
}

void write_rectangle(JsonWriter& json, const mtrRectangleFeature& f) {
  const auto rectangle = [&](const char* name, const mtgRectangle3& r) {
    json.key(name);
    json.begin_object(true);
    json.key("centre");
    write_point(json, r.centre());
    json.key("normal");
    write_vector(json, r.normal());
    json.key("length_direction");
    write_vector(json, r.length_direction());
    json.key("length");
    json.number(r.length().value());
    json.key("width");
    json.number(r.width().value());
    json.end_object();
  };
  rectangle("nominal", f.nominal());
  rectangle("actual", f.actual());
  json.key("length_tolerance");
  json.number(f.length_tolerance());
  json.key("width_tolerance");
  json.number(f.width_tolerance());
  json.key("position_tolerance");
  json.number(f.position_tolerance());
}

void write_corner(JsonWriter& json, const mtrCornerFeature& f) {
  const auto line = [&](const char* name, const giInfLine3& l) {
    json.key(name);
    json.begin_object(true);
    json.key("point");
    write_point(json, l.point());
    json.key("direction");
    write_vector(json, l.direction());
    json.end_object();
  };
  line("nominal", f.nominal());
  line("actual", f.actual());
  json.key("true_position_tolerance");
  json.number(f.true_position_tolerance());
}

void write_axis(JsonWriter& json, mtrProbeWCSAxis axis) {
  json.key("axis");
  if (const char* name = axis_name(axis)) {
    json.string(name);
  } else {
    json.null();
  }
}

void write_surface(JsonWriter& json, const mtrSurfaceFeature& f) {
  write_axis(json, f.axis());
  json.key("nominal");
  write_plane(json, f.nominal());
  json.key("actual");
  write_plane(json, f.actual());
  json.key("position_tolerance");
  json.number(f.position_tolerance());
}

void write_angle(JsonWriter& json, const mtrAngleSurfaceFeature& f) {
  json.key("reference_plane");
  write_plane(json, f.reference_plane());
  json.key("reference_direction");
  write_vector(json, f.reference_direction());
  json.key("nominal");
  json.number(f.nominal().degrees());
  json.key("actual");
  json.number(f.actual().degrees());
  json.key("angular_tolerance");
  if (f.angular_tolerance()) {
    json.number(f.angular_tolerance()->degrees());
  } else {
    json.null();
  }
}

void write_perpendicular_distance(JsonWriter& json, const mtrPerpendicularDistanceFeature& f) {
  const auto distance = [&](const char* name, const mtgPerpendicularDistance& d) {
    json.key(name);
    json.begin_object(true);
    json.key("point");
    write_point(json, d.point());
    json.key("normal");
    write_vector(json, d.normal());
    json.key("direction");
    write_vector(json, d.direction());
    json.key("distance");
    json.number(d.distance().value());
    json.end_object();
  };
  write_axis(json, f.axis());
  distance("nominal", f.nominal());
  distance("actual", f.actual());
  json.key("distance_tolerance");
  json.number(f.distance_tolerance());
  json.key("position_tolerance");
  json.number(f.position_tolerance());
}

void write_check(JsonWriter& json, const kptFeatureCheck& check) {
  json.begin_object(true);
  json.key("quantity");
  json.string(kpt_quantity_name(check.quantity));
  json.key("nominal");
  json.number(check.nominal);
  json.key("actual");
  json.number(check.actual);
  json.key("deviation");
  json.number(check.deviation);
  json.key("tolerance");
  json.number(check.tolerance);
  json.key("true_position");
  json.boolean(check.true_position);
  json.key("verdict");
  json.string(kpt_verdict_name(check.verdict));
  json.key("tolerance_used");
  json.number(check.tolerance_used);
  json.key("compared");
  json.number(check.compared);
  json.key("compared_limit");
  json.number(check.compared_limit);
  json.end_object();
}

void write_checks(JsonWriter& json, const mtrToolpathResult& feature,
                  kptZoneConvention convention) {
  json.key("checks");
  json.begin_array();
  for (const kptFeatureCheck& check : kptFeatureChecks::of(feature, convention)) {
    write_check(json, check);
  }
  json.end_array();
}

void write_result(JsonWriter& json, const mtrToolpathResult& result, kptZoneConvention convention) {
  json.begin_object();
  json.key("kind");
  json.string(kind_name(result));
  json.key("toolpath_id");
  json.integer(result.id());
  json.key("pattern_instance");
  if (result.pattern_instance()) {
    json.integer(*result.pattern_instance());
  } else {
    json.null();
  }
  switch (result.kind()) {
    case mtrResultProbePath:
      write_probe_path(json, static_cast<const mtrProbePath&>(result));
      break;
    case mtrResultCircle:
      write_print_data(json, result);
      write_circle(json, static_cast<const mtrCircleFeature&>(result));
      break;
    case mtrResultRectangle:
      write_print_data(json, result);
      write_rectangle(json, static_cast<const mtrRectangleFeature&>(result));
      break;
    case mtrResultCorner:
      write_print_data(json, result);
      write_corner(json, static_cast<const mtrCornerFeature&>(result));
      break;
    case mtrResultSurface:
      write_print_data(json, result);
      write_surface(json, static_cast<const mtrSurfaceFeature&>(result));
      break;
    case mtrResultAngleSurface:
      write_print_data(json, result);
      write_angle(json, static_cast<const mtrAngleSurfaceFeature&>(result));
      break;
    case mtrResultPerpendicularDistance:
      write_print_data(json, result);
      write_perpendicular_distance(json,
                                   static_cast<const mtrPerpendicularDistanceFeature&>(result));
      break;
  }
  if (result.kind() != mtrResultProbePath) write_checks(json, result, convention);
  json.end_object();
}

// The run's verdict; result and point indexes count from 0 in the order of "results" and
// "points".
void write_summary(JsonWriter& json, const ExtractView& view) {
  const kptInspectionSummary& summary = view.summary;
  json.key("summary");
  json.begin_object();
  json.key("convention");
  json.string(kpt_zone_convention_name(summary.convention));
  json.key("passed");
  json.boolean(summary.passed());
  json.key("checks_in");
  json.integer(static_cast<std::int64_t>(summary.checks_in));
  json.key("checks_out");
  json.integer(static_cast<std::int64_t>(summary.checks_out));
  json.key("checks_not_toleranced");
  json.integer(static_cast<std::int64_t>(summary.checks_not_toleranced));
  json.key("points_within");
  json.integer(static_cast<std::int64_t>(summary.points_within));
  json.key("points_outside");
  json.integer(static_cast<std::int64_t>(summary.points_outside));
  json.key("points_unmeasured");
  json.integer(static_cast<std::int64_t>(summary.points_unmeasured));
  json.key("points_not_toleranced");
  json.integer(static_cast<std::int64_t>(summary.points_not_toleranced));
  json.key("worst_check");
  if (summary.worst_check) {
    json.begin_object(true);
    json.key("result_index");
    json.integer(static_cast<std::int64_t>(summary.worst_check->result_index));
    json.key("check");
    write_check(json, summary.worst_check->check);
    json.end_object();
  } else {
    json.null();
  }
  json.key("worst_point");
  if (summary.worst_point) {
    const kptPointCheck& check = summary.worst_point->check;
    json.begin_object(true);
    json.key("result_index");
    json.integer(static_cast<std::int64_t>(summary.worst_point->result_index));
    json.key("point_index");
    json.integer(static_cast<std::int64_t>(summary.worst_point->point_index));
    json.key("deviation");
    json.number(check.deviation);
    json.key("verdict");
    json.string(kpt_verdict_name(check.verdict));
    json.key("limit_used");
    json.number(check.limit_used);
    json.end_object();
  } else {
    json.null();
  }
  json.end_object();
}

// The results of a large run, formatted in groups of about the same size on the view's threads
// and printed in order, byte for byte as one thread prints them. False for a run too small to be
// worth the threads, which is left to the caller.
bool write_results_on_threads(JsonWriter& json, Output& out, const ExtractView& view) {
  // A group of about this many points is a third of a megabyte of text; a few groups per thread
  // are held at once.
  constexpr std::size_t kGroupPoints = 1024;
  constexpr std::size_t kLeastPoints = 8 * kGroupPoints;
  std::vector<const mtrToolpathResult*> results;
  std::vector<std::size_t> group_starts;
  std::size_t points = 0;
  std::size_t in_group = kGroupPoints;
  for_each_result(view.extractor, [&](std::size_t, const mtrToolpathResult& result) {
    if (in_group >= kGroupPoints) {
      group_starts.push_back(results.size());
      in_group = 0;
    }
    results.push_back(&result);
    // A feature's few lines weigh about as much as a point's one.
    const std::size_t weight =
        result.kind() == mtrResultProbePath
            ? std::max<std::size_t>(
                  1, static_cast<const mtrProbePath&>(result).inspection_points_count())
            : 1;
    in_group += weight;
    points += weight;
  });
  if (points < kLeastPoints) return false;
  group_starts.push_back(results.size());
  const std::size_t groups = group_starts.size() - 1;
  run_in_order(
      groups, view.threads,
      [&](std::size_t, std::size_t group, std::string& text) {
        Output part_out(text);
        JsonWriter part = json.continuation(part_out, group > 0);
        for (std::size_t i = group_starts[group]; i < group_starts[group + 1]; ++i) {
          write_result(part, *results[i], view.convention);
        }
        part_out.flush();
      },
      [&](std::size_t, std::string& text) { out.write(text); });
  json.items_written_elsewhere();
  return true;
}

void write_json(const ExtractView& view, Output& out) {
  JsonWriter json(out, view.layout);
  json.begin_object();
  json.key("file");
  json.string(view.file);
  json.key("units");
  json.string(units_name(view.units));
  json.key("status");
  json.begin_object(true);
  json.key("code");
  json.integer(view.status);
  json.key("name");
  json.string(kptStatusText::name(view.status));
  json.end_object();
  if (view.error != nullptr) {
    json.key("error");
    json.string(view.error);
  }
  json.key("results_file");
  json.string(view.extractor.resultsfile_name().view());
  json.key("results");
  json.begin_array();
  if (view.threads <= 1 || !write_results_on_threads(json, out, view)) {
    for_each_result(view.extractor, [&](std::size_t, const mtrToolpathResult& result) {
      write_result(json, result, view.convention);
    });
  }
  json.end_array();
  write_summary(json, view);
  json.end_object();
  json.finish();
}

}  // namespace

void write_extract_json(const ExtractView& view, Output& out) { write_json(view, out); }

}  // namespace tool
