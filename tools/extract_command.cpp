// cncprobe extract: every probe path and feature of a results file, as JSON or as tables.
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/point_check.h"
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
#include "cncprobe/platform/model/toolpath_result.h"
#include "tools/commands.h"
#include "tools/json_writer.h"
#include "tools/text_table.h"

namespace tool {

namespace {

struct ExtractOptions {
  std::string file;
  kptUnitsType units = kptUnitsMillimetres;
  Format format = Format::kText;
  bool points = false;  // text: list every inspection point, not only a row per probe path
};

const char* axis_name(mtrProbeWCSAxis axis) {
  switch (axis) {
    case mtrProbeWCSAxisX:
      return "x";
    case mtrProbeWCSAxisY:
      return "y";
    case mtrProbeWCSAxisZ:
      return "z";
  }
  return nullptr;
}

const char* kind_name(const mtrToolpathResult& result) {
  switch (result.kind()) {
    case mtrResultProbePath:
      return "probe_path";
    case mtrResultCircle:
      return "circle";
    case mtrResultRectangle:
      return "rectangle";
    case mtrResultCorner:
      return "corner";
    case mtrResultSurface:
      return "surface";
    case mtrResultAngleSurface:
      return "angle";
    case mtrResultPerpendicularDistance:
      return "perpendicular_distance";
  }
  return "unknown";
}

// Calls fn(number, result) for every result in the order of creation, numbered from 1.
template <class Fn>
void for_each_result(const kptResultsDataExtractor& extractor, Fn&& fn) {
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  std::size_t number = 0;
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    ++number;
    if (result) fn(number, *result);
  }
}

// Calls fn(point) for every inspection point of the path in order.
template <class Fn>
void for_each_point(const mtrProbePath& path, Fn&& fn) {
  itIterator<std::shared_ptr<mtrInspectionPoint>> it = path.inspection_points();
  while (++it) {
    const std::shared_ptr<mtrInspectionPoint> point = it();
    if (point) fn(*point);
  }
}

// ---------------------------------------------------------------------------------------------
// JSON

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

void write_probe_path(JsonWriter& json, const mtrProbePath& path) {
  json.key("points");
  json.begin_array();
  for_each_point(path, [&](const mtrInspectionPoint& point) {
    json.begin_object(true);
    json.key("label");
    json.string(point.label().view());
    json.key("nominal");
    write_point(json, point.nominal_point());
    json.key("direction");
    write_vector(json, point.direction());
    json.key("o");
    json.number(point.o_value());
    json.key("u");
    json.number(point.u_value());
    json.key("l");
    json.number(point.l_value());
    json.key("measured");
    if (point.has_measure()) {
      write_point(json, point.measured_point());
    } else {
      json.null();
    }
    json.key("r");
    if (point.has_measure()) {
      json.number(point.r_value());
    } else {
      json.null();
    }
    json.end_object();
  });
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

void write_result(JsonWriter& json, const mtrToolpathResult& result) {
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
  json.end_object();
}

void write_json(const ExtractOptions& options, const kptResultsDataExtractor& extractor,
                kptResultsExtractionStatus status, Output& out) {
  JsonWriter json(out);
  json.begin_object();
  json.key("file");
  json.string(options.file);
  json.key("units");
  json.string(units_name(options.units));
  json.key("status");
  json.begin_object(true);
  json.key("code");
  json.integer(status);
  json.key("name");
  json.string(kptStatusText::name(status));
  json.end_object();
  json.key("results_file");
  json.string(extractor.resultsfile_name().view());
  json.key("results");
  json.begin_array();
  for_each_result(
      extractor, [&](std::size_t, const mtrToolpathResult& result) { write_result(json, result); });
  json.end_array();
  json.end_object();
  json.finish();
}

// ---------------------------------------------------------------------------------------------
// Text

constexpr int kDecimals = 4;

std::string fixed(double value) { return format_fixed(value, kDecimals); }
std::string signed_fixed(double value) { return format_fixed(value, kDecimals, true); }
std::string fixed_or_dash(const std::optional<double>& value) {
  return value ? fixed(*value) : std::string("-");
}

std::string toolpath_text(const mtrToolpathResult& result) {
  std::string text = std::to_string(result.id());
  if (result.pattern_instance()) text += " (" + std::to_string(*result.pattern_instance()) + ")";
  return text;
}

std::string print_data_text(const mtrInspectionPrintData& data) {
  switch (data.form()) {
    case mtrInspectionPrintData::kComponentFeature:
      return "component " + std::to_string(data.component_number()) + " feature " +
             std::to_string(data.feature_number());
    case mtrInspectionPrintData::kFeatureName:
      return "feature " + std::to_string(data.feature_number()) + " " +
             printable_text(data.feature_name().view());
    case mtrInspectionPrintData::kInvalid:
      break;
  }
  return "-";
}

std::string upper_axis(mtrProbeWCSAxis axis) {
  const char* name = axis_name(axis);
  return name ? std::string(1, static_cast<char>(name[0] - 'a' + 'A')) : "?";
}

// The text kind of a feature: its JSON kind, with the probing axis where it has one.
std::string kind_text(const mtrToolpathResult& result) {
  switch (result.kind()) {
    case mtrResultSurface:
      return "surface " + upper_axis(static_cast<const mtrSurfaceFeature&>(result).axis());
    case mtrResultPerpendicularDistance:
      return "wall/channel " +
             upper_axis(static_cast<const mtrPerpendicularDistanceFeature&>(result).axis());
    default:
      return kind_name(result);
  }
}

// Rows of the features table for one result; none for a probe path.
std::vector<TextTable::Row> feature_rows(std::size_t number, const mtrToolpathResult& result) {
  std::vector<TextTable::Row> rows;
  if (result.kind() == mtrResultProbePath) return rows;
  const auto& feature = static_cast<const mtrInspectionFeature&>(result);
  const std::vector<kptFeatureCheck> checks = kptFeatureChecks::of(result);
  for (std::size_t i = 0; i < checks.size(); ++i) {
    const kptFeatureCheck& check = checks[i];
    TextTable::Row row;
    if (i == 0) {
      row = {std::to_string(number), kind_text(result), toolpath_text(result),
             print_data_text(feature.print_data())};
    } else {
      row = {"", "", "", ""};
    }
    row.push_back(kpt_quantity_label(check.quantity));
    row.push_back(fixed_or_dash(check.nominal));
    row.push_back(fixed_or_dash(check.actual));
    // An offset is a distance, never negative: it gets no sign.
    const bool offset = !check.nominal;
    row.push_back(offset ? fixed(check.deviation) : signed_fixed(check.deviation));
    row.push_back(fixed_or_dash(check.tolerance));
    rows.push_back(std::move(row));
  }
  return rows;
}

TextTable::Row path_row(std::size_t number, const mtrProbePath& path) {
  const kptPathSummary summary = kptPointChecks::summary(path);
  return {std::to_string(number), toolpath_text(path), std::to_string(summary.points),
          std::to_string(summary.measured),
          summary.worst_deviation ? signed_fixed(*summary.worst_deviation) : "-"};
}

TextTable::Row point_row(std::size_t number, const mtrInspectionPoint& point) {
  const giPoint3& p = point.nominal_point();
  const std::optional<double> deviation = kptPointChecks::of(point).deviation;
  std::string deviation_text = "not measured";
  if (point.has_measure()) deviation_text = deviation ? signed_fixed(*deviation) : "no direction";
  return {std::to_string(number), printable_text(point.label().view()),
          fixed(p.x()),           fixed(p.y()),
          fixed(p.z()),           deviation_text};
}

// Fills the table in two passes over the rows that `rows(sink)` hands to its sink, then prints
// it; nothing is printed when there is no row.
template <class Rows>
void print_table(Output& out, TextTable table, Rows&& rows) {
  bool any = false;
  rows([&](const TextTable::Row& row) {
    table.measure(row);
    any = true;
  });
  if (!any) return;
  table.print_header(out);
  rows([&](const TextTable::Row& row) { table.print(out, row); });
}

void write_text(const ExtractOptions& options, const kptResultsDataExtractor& extractor,
                kptResultsExtractionStatus status, Output& out) {
  std::size_t paths = 0;
  std::size_t features = 0;
  std::size_t points = 0;
  std::size_t measured = 0;
  for_each_result(extractor, [&](std::size_t, const mtrToolpathResult& result) {
    if (result.kind() == mtrResultProbePath) {
      ++paths;
      for_each_point(static_cast<const mtrProbePath&>(result),
                     [&](const mtrInspectionPoint& point) {
                       ++points;
                       if (point.has_measure()) ++measured;
                     });
    } else {
      ++features;
    }
  });

  std::string head;
  head += "File:          " + printable_text(options.file) + " (read in " +
          (options.units == kptUnitsInches ? "inches" : "millimetres") + ")\n";
  head += "Status:        " + std::to_string(status) + " " + kptStatusText::name(status) + ": " +
          kptStatusText::meaning(status) + "\n";
  const utString results_file = extractor.resultsfile_name();
  head += "Results file:  " +
          (results_file.empty() ? std::string("-") : printable_text(results_file.view())) + "\n";
  head += "Results:       " + std::to_string(paths + features) + ": " + std::to_string(features) +
          (features == 1 ? " feature, " : " features, ") + std::to_string(paths) +
          (paths == 1 ? " probe path" : " probe paths") + " holding " + std::to_string(points) +
          (points == 1 ? " point" : " points") + " (" + std::to_string(measured) + " measured)\n";
  head += "Lengths in millimetres, angles in degrees, positions in CAD coordinates.\n";
  out.write(head);

  if (features > 0) {
    out.write("\nFeatures (deviation = actual - nominal)\n");
    print_table(out,
                TextTable({{"#", TextTable::kRight},
                           {"KIND", TextTable::kLeft},
                           {"TOOLPATH", TextTable::kLeft},
                           {"FEATURE", TextTable::kLeft},
                           {"QUANTITY", TextTable::kLeft},
                           {"NOMINAL", TextTable::kRight},
                           {"ACTUAL", TextTable::kRight},
                           {"DEVIATION", TextTable::kRight},
                           {"TOLERANCE", TextTable::kRight}}),
                [&](auto&& sink) {
                  for_each_result(extractor,
                                  [&](std::size_t number, const mtrToolpathResult& result) {
                                    for (const TextTable::Row& row : feature_rows(number, result))
                                      sink(row);
                                  });
                });
  }

  if (paths > 0) {
    out.write("\nProbe paths (deviation along the probing direction, mm)\n");
    print_table(out,
                TextTable({{"#", TextTable::kRight},
                           {"TOOLPATH", TextTable::kLeft},
                           {"POINTS", TextTable::kRight},
                           {"MEASURED", TextTable::kRight},
                           {"LARGEST DEVIATION", TextTable::kRight}}),
                [&](auto&& sink) {
                  for_each_result(
                      extractor, [&](std::size_t number, const mtrToolpathResult& result) {
                        if (result.kind() == mtrResultProbePath) {
                          sink(path_row(number, static_cast<const mtrProbePath&>(result)));
                        }
                      });
                });
  }

  if (points > 0 && options.points) {
    out.write("\nInspection points (nominal point, deviation along the probing direction, mm)\n");
    print_table(
        out,
        TextTable({{"#", TextTable::kRight},
                   {"LABEL", TextTable::kLeft},
                   {"X", TextTable::kRight},
                   {"Y", TextTable::kRight},
                   {"Z", TextTable::kRight},
                   {"DEVIATION", TextTable::kRight}}),
        [&](auto&& sink) {
          for_each_result(extractor, [&](std::size_t number, const mtrToolpathResult& result) {
            if (result.kind() == mtrResultProbePath) {
              for_each_point(
                  static_cast<const mtrProbePath&>(result),
                  [&](const mtrInspectionPoint& point) { sink(point_row(number, point)); });
            }
          });
        });
  } else if (points > 0) {
    out.write("\n(cncprobe extract --points lists every inspection point)\n");
  }
}

int run_extract(const ExtractOptions& options, Output& out) {
  kptResultsDataExtractor extractor;
  const kptUnits units(options.units);
  const kptResultsExtractionStatus status =
      options.file == kStandardInput
          ? extractor.extract_data(kptInputFile::read(std::cin), units)
          : extractor.extract_data(utString(std::string_view(options.file)), units);
  if (extractor.input_problem() != kptInputReadable) {
    throw UnreadableInput(options.file, kpt_input_problem_text(extractor.input_problem()));
  }
  if (options.format == Format::kJson) {
    write_json(options, extractor, status, out);
  } else {
    write_text(options, extractor, status, out);
  }
  return status == kptExtractionSuccess ? kExitSuccess : kExitProblem;
}

}  // namespace

void add_extract_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<ExtractOptions>();
  CLI::App* extract =
      app.add_subcommand("extract", "Print every probe path and feature of a results file");
  add_file_argument(*extract, "FILE", options->file, "The results file, - for standard input");
  add_units_option(*extract, options->units, "The units the file was written in (default mm)");
  add_format_option(*extract, options->format);
  extract->add_flag("--points", options->points, "Text: list every inspection point too");
  commands.add(extract, "extract  FILE     [--units mm|in] [--format text|json] [--points]",
               [options](Output& out) { return run_extract(*options, out); });
}

}  // namespace tool
