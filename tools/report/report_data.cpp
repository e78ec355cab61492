// The data of the report pages, taken from the library: extraction, verdicts, summary, references
// and settings. Nothing here judges a value: deviations, verdicts and shares of tolerance are the
// inspection subsystem's; this file only arranges them for the page.
#include "tools/report/report_data.h"

#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <thread>
#include <tuple>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/utc_time.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/inspection/trend_analysis.h"
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
#include "cncprobe/platform/text/path.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "cncprobe/settings/inspection_settings_reader.h"
#include "tools/commands.h"
#include "tools/extract_view.h"
#include "tools/report/json_text.h"
#include "tools/report/label_runs.h"
#include "tools/report/report_page.h"

namespace tool {

// ---------------------------------------------------------------------------------------------
// Dates and settings

std::string file_date(const std::string& path) {
  if (path == "-") return {};
  return kptUtcTime::of_file(utString(std::string_view(path))).value_or(std::string());
}

SettingsOutcome read_settings(const ReportOptions& options) {
  kptInspectionSettings settings;
  settings.set_input_units(kptUnits(options.units));
  SettingsOutcome outcome;
  if (!options.settings_file.empty()) {
    const kptInspectionSettings defaults = settings;
    const kptInspectionSettingsError error =
        kptInspectionSettingsReader::read(apPath(options.settings_file), settings);
    if (error.code() == kptSettingsSuccess || error.code() == kptSettingsNewerVersion) {
      outcome.read = true;
    } else {
      outcome.problem = std::string(error.message().utf8());
      settings = defaults;
    }
  }
  outcome.confetti_mm = settings.confetti_diameter_mm();
  outcome.linear_digits = outcome.read
                              ? settings.linear_precision()
                              : default_linear_digits(options.units, settings.linear_precision());
  outcome.angular_digits = settings.angular_precision();
  outcome.unitless_digits = settings.unitless_precision();
  return outcome;
}

namespace {

void write_settings(JsonText& json, const ReportOptions& options, const SettingsOutcome& s) {
  json.key("settings").begin_object();
  json.key("file");
  if (options.settings_file.empty()) {
    json.null();
  } else {
    json.string(options.settings_file);
  }
  json.key("problem");
  if (s.problem.empty()) {
    json.null();
  } else {
    json.string(s.problem);
  }
  json.key("confetti_mm").number(s.confetti_mm);
  json.key("linear_digits").integer(s.linear_digits);
  json.key("angular_digits").integer(s.angular_digits);
  json.key("unitless_digits").integer(s.unitless_digits);
  json.end_object();
}

// ---------------------------------------------------------------------------------------------
// Results

// Where a feature sits on the part: its nominal position, marked in the 3D view.
std::optional<giPoint3> feature_position(const mtrToolpathResult& result) {
  switch (result.kind()) {
    case mtrResultCircle:
      return static_cast<const mtrCircleFeature&>(result).nominal().centre();
    case mtrResultRectangle:
      return static_cast<const mtrRectangleFeature&>(result).nominal().centre();
    case mtrResultCorner:
      return static_cast<const mtrCornerFeature&>(result).nominal().point();
    case mtrResultSurface:
      return static_cast<const mtrSurfaceFeature&>(result).nominal().point();
    case mtrResultAngleSurface:
      return static_cast<const mtrAngleSurfaceFeature&>(result).reference_plane().point();
    case mtrResultPerpendicularDistance:
      return static_cast<const mtrPerpendicularDistanceFeature&>(result).nominal().point();
    case mtrResultProbePath:
      break;
  }
  return std::nullopt;
}

double toolpath_order(const mtrToolpathResult& result) {
  return result.id() + (result.pattern_instance() ? *result.pattern_instance() / 1e6 : 0.0);
}

bool finite_point(const giPoint3& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

void write_check(JsonText& json, const kptFeatureCheck& check) {
  json.begin_object();
  json.key("quantity").string(kpt_quantity_name(check.quantity));
  json.key("label").string(kpt_quantity_label(check.quantity));
  json.key("nominal").number(check.nominal);
  json.key("actual").number(check.actual);
  json.key("deviation").number(check.deviation);
  json.key("tolerance").number(check.tolerance);
  json.key("true_position").boolean(check.true_position);
  json.key("verdict").string(kpt_verdict_name(check.verdict));
  json.key("tolerance_used").number(check.tolerance_used);
  json.key("compared").number(check.compared);
  json.key("compared_limit").number(check.compared_limit);
  json.end_object();
}

// The points of every probe path, column by column, as the page decodes them.
struct PointColumns {
  std::vector<double> position;    // x, y, z: measured, or nominal while unmeasured
  std::vector<double> deviation;   // NaN when absent
  std::vector<double> limit_used;  // NaN when absent
  std::vector<std::uint8_t> verdict;
  std::vector<float> limits;  // O, U, L
  LabelRuns labels;
  std::size_t count = 0;

  // Room for every point at once: growing by doubling would hold the columns twice over.
  void reserve(std::size_t points) {
    position.reserve(3 * points);
    deviation.reserve(points);
    limit_used.reserve(points);
    verdict.reserve(points);
    limits.reserve(3 * points);
  }

  void add(const mtrInspectionPoint& point, const kptPointCheck& check) {
    const giPoint3& p = point.has_measure() ? point.measured_point() : point.nominal_point();
    position.insert(position.end(), {p.x(), p.y(), p.z()});
    deviation.push_back(check.deviation.value_or(std::nan("")));
    limit_used.push_back(check.limit_used.value_or(std::nan("")));
    verdict.push_back(static_cast<std::uint8_t>(check.verdict));
    limits.insert(limits.end(),
                  {static_cast<float>(point.o_value()), static_cast<float>(point.u_value()),
                   static_cast<float>(point.l_value())});
    labels.add(point.label().view());
    ++count;
  }
};

template <class T>
void write_column(JsonText& json, const char* name, const std::vector<T>& values) {
  json.key(name).base64_string(values.data(), values.size() * sizeof(T));
}

void write_points(JsonText& json, const PointColumns& columns) {
  json.key("points").begin_object();
  json.key("count").integer(static_cast<std::int64_t>(columns.count));
  write_column(json, "position", columns.position);
  write_column(json, "deviation", columns.deviation);
  write_column(json, "limit_used", columns.limit_used);
  write_column(json, "verdict", columns.verdict);
  write_column(json, "limits", columns.limits);
  json.key("label_runs");
  columns.labels.write(json);
  json.end_object();
}

void write_references(JsonText& json, const kptFileReferenceExtractor& refs) {
  json.key("references").begin_object();
  const auto ref = [&](const char* name, const utString& value) {
    json.key(name);
    if (value.valid()) {
      json.string(value.view());
    } else {
      json.null();
    }
  };
  ref("results_file_version", refs.results_file_version_text());
  ref("settings_filename", refs.settings_filename());
  ref("cad_filename", refs.cad_filename());
  ref("cldata_filename", refs.cldata_filename());
  ref("document_id", refs.document_id());
  ref("document_version", refs.document_version());
  ref("model_version", refs.model_version());
  json.end_object();
}

}  // namespace

std::string single_report_title(const ReportOptions& options) {
  return "Inspection report: " + options.files.front();
}

SingleReportOutcome write_single_report_data(const ReportOptions& options,
                                             const SettingsOutcome& settings,
                                             const kptInputFile* input, const std::string& date,
                                             Output& out) {
  const std::string& file = options.files.front();
  // The reference scan reads the whole file whenever a reference line is missing, and needs
  // nothing of the extraction: it runs beside it on its own objects (both only read the input's
  // bytes), so a large file costs the longer of the two rather than their sum.
  kptFileReferenceExtractor refs;
  kptResultsDataExtractor extractor;
  kptResultsExtractionStatus status = kptExtractionSuccess;
  {
    // A file named is read by each in blocks, never held whole (it comes from the page cache the
    // second time); standard input has been read already.
    const auto scan_references = [&refs, &file, input] {
      (void)(input ? refs.extract(*input) : refs.extract(apPath(file)));
    };
    std::jthread scan;
    try {
      scan = std::jthread(scan_references);
    } catch (const std::system_error&) {
      scan_references();  // no thread to be had: one after the other
    }
    status =
        input ? extractor.extract_data(*input, kptUnits(options.units))
              : extractor.extract_data(utString(std::string_view(file)), kptUnits(options.units));
  }
  const kptInspectionSummary summary = kptInspection::summarize(extractor, options.convention);

  JsonText json(out);
  json.begin_object();
  json.key("kind").string("report");
  json.key("generator").string(options.generator);
  json.key("file").string(file);
  json.key("results_file");
  if (const utString name = extractor.resultsfile_name(); name.valid() && !name.empty()) {
    json.string(name.view());
  } else {
    json.null();
  }
  json.key("file_date");
  if (date.empty()) {
    json.null();
  } else {
    json.string(date);
  }
  json.key("report_date").string(kptUtcTime::now());
  json.key("status").begin_object();
  json.key("code").integer(status);
  json.key("name").string(kptStatusText::name(status));
  json.key("meaning").string(kptStatusText::meaning(status));
  json.end_object();
  json.key("units").string(units_name(options.units));
  write_references(json, refs);
  write_settings(json, options, settings);

  // Features, then paths, each in the order of the file; the worst check and point are named by
  // the number of their result (1-based, as the tables show it).
  std::string worst_check_identity = "-";
  json.key("features").begin_array();
  std::size_t point_count = 0;
  for_each_result(extractor, [&](std::size_t number, const mtrToolpathResult& result) {
    const std::size_t index = number - 1;
    if (const auto* path = dynamic_cast<const mtrProbePath*>(&result)) {
      point_count += path->inspection_points_count();
      return;
    }
    const auto* feature = dynamic_cast<const mtrInspectionFeature*>(&result);
    if (!feature) return;
    const std::optional<giPoint3> position = feature_position(result);
    const std::string kind = kptResultNames::kind_text(result);
    const std::string identity = kptResultNames::identity_text(feature->print_data());
    if (summary.worst_check && summary.worst_check->result_index == index) {
      worst_check_identity = identity;
    }
    json.begin_object();
    json.key("number").integer(static_cast<std::int64_t>(index + 1));
    json.key("kind").string(kind);
    json.key("toolpath").string(kptResultNames::toolpath_text(result));
    json.key("toolpath_sort").number(toolpath_order(result));
    json.key("identity").string(identity);
    json.key("position");
    if (position && finite_point(*position)) {
      json.begin_array().number(position->x()).number(position->y()).number(position->z());
      json.end_array();
    } else {
      json.null();
    }
    json.key("checks").begin_array();
    for (const kptFeatureCheck& check : kptFeatureChecks::of(result, options.convention)) {
      write_check(json, check);
    }
    json.end_array();
    json.end_object();
  });
  json.end_array();

  PointColumns points;
  points.reserve(point_count);
  std::optional<std::string> worst_point_label;
  json.key("paths").begin_array();
  for_each_result(extractor, [&](std::size_t number, const mtrToolpathResult& result) {
    const std::size_t index = number - 1;
    const auto* path = dynamic_cast<const mtrProbePath*>(&result);
    if (!path) return;
    const std::size_t first = points.count;
    const bool has_worst = summary.worst_point && summary.worst_point->result_index == index;
    for_each_point(*path, [&](const mtrInspectionPoint& point) {
      if (has_worst && points.count - first == summary.worst_point->point_index) {
        worst_point_label = std::string(point.label().view());
      }
      points.add(point, kptPointChecks::of(point));
    });
    const kptPathSummary s = kptPointChecks::summary(*path);
    json.begin_object();
    json.key("number").integer(static_cast<std::int64_t>(index + 1));
    json.key("toolpath").string(kptResultNames::toolpath_text(result));
    json.key("points").integer(static_cast<std::int64_t>(s.points));
    json.key("measured").integer(static_cast<std::int64_t>(s.measured));
    json.key("within").integer(static_cast<std::int64_t>(s.within));
    json.key("outside").integer(static_cast<std::int64_t>(s.outside));
    json.key("unmeasured").integer(static_cast<std::int64_t>(s.unmeasured));
    json.key("smallest").number(s.smallest_deviation);
    json.key("largest").number(s.largest_deviation);
    json.key("worst").number(s.worst_deviation);
    json.key("first").integer(static_cast<std::int64_t>(first));
    json.key("count").integer(static_cast<std::int64_t>(points.count - first));
    json.end_object();
  });
  json.end_array();

  json.key("summary").begin_object();
  json.key("passed").boolean(summary.passed());
  json.key("convention").string(kpt_zone_convention_name(summary.convention));
  json.key("checks_in").integer(static_cast<std::int64_t>(summary.checks_in));
  json.key("checks_out").integer(static_cast<std::int64_t>(summary.checks_out));
  json.key("checks_not_toleranced")
      .integer(static_cast<std::int64_t>(summary.checks_not_toleranced));
  json.key("points_within").integer(static_cast<std::int64_t>(summary.points_within));
  json.key("points_outside").integer(static_cast<std::int64_t>(summary.points_outside));
  json.key("points_unmeasured").integer(static_cast<std::int64_t>(summary.points_unmeasured));
  json.key("points_not_toleranced")
      .integer(static_cast<std::int64_t>(summary.points_not_toleranced));
  json.key("worst_check");
  if (summary.worst_check) {
    const kptWorstCheck& w = *summary.worst_check;
    json.begin_object();
    json.key("feature").integer(static_cast<std::int64_t>(w.result_index + 1));
    json.key("identity").string(worst_check_identity);
    json.key("quantity").string(kpt_quantity_name(w.check.quantity));
    json.key("label").string(kpt_quantity_label(w.check.quantity));
    json.key("deviation").number(w.check.deviation);
    json.key("compared").number(w.check.compared);
    json.key("tolerance").number(w.check.tolerance);
    json.key("true_position").boolean(w.check.true_position);
    json.key("tolerance_used").number(w.check.tolerance_used);
    json.end_object();
  } else {
    json.null();
  }
  json.key("worst_point");
  if (summary.worst_point) {
    const kptWorstPoint& w = *summary.worst_point;
    json.begin_object();
    json.key("path").integer(static_cast<std::int64_t>(w.result_index + 1));
    json.key("label").string(worst_point_label ? *worst_point_label : std::string("-"));
    json.key("deviation").number(w.check.deviation);
    json.key("limit_used").number(w.check.limit_used);
    json.end_object();
  } else {
    json.null();
  }
  json.end_object();

  write_points(json, points);
  json.end_object();
  json.flush();
  SingleReportOutcome outcome;
  outcome.extraction_succeeded = status == kptExtractionSuccess;
  outcome.input_problem = input ? input->problem() : extractor.input_problem();
  if (outcome.input_problem == kptInputReadable) outcome.input_problem = refs.input_problem();
  return outcome;
}

// ---------------------------------------------------------------------------------------------
// Trend

namespace {

void write_optional(JsonText& json, const char* name, const std::optional<double>& value) {
  json.key(name).number(value);
}

// One series as the page charts it: its values per run, tolerance and control limits, capability
// and the rules that fired (all from the library's analysis).
void write_series(JsonText& json, const kptTrendSeries& s, const kptSeriesStatistics& st) {
  const kptControlLimits& l = st.limits;
  const auto when_set = [&l](double value) {
    return l.usable() ? std::optional<double>(value) : std::nullopt;
  };
  json.begin_object();
  json.key("key").string(s.key);
  json.key("item").string(s.item);
  json.key("quantity").string(s.quantity);
  json.key("label").string(s.label);
  json.key("value_name").string("deviation");
  json.key("nominal").null();  // values are deviations: the nominal is 0
  json.key("lower").number(s.tolerance.lower);
  json.key("upper").number(s.tolerance.upper);
  json.key("values").begin_array();
  for (const double v : s.values) {
    if (std::isnan(v)) {
      json.null();
    } else {
      json.number(v);
    }
  }
  json.end_array();
  json.key("stats").begin_object();
  json.key("n").integer(static_cast<std::int64_t>(st.n));
  write_optional(json, "mean", st.mean);
  write_optional(json, "standard_deviation", st.standard_deviation);
  write_optional(json, "min", st.min);
  write_optional(json, "max", st.max);
  json.key("state").string(kpt_control_state_name(l.state));
  json.key("baseline_n").integer(static_cast<std::int64_t>(l.n));
  write_optional(json, "centre", when_set(l.centre));
  write_optional(json, "sigma_within", when_set(l.sigma));
  write_optional(json, "lcl", when_set(l.lower));
  write_optional(json, "ucl", when_set(l.upper));
  write_optional(json, "mr_ucl", when_set(l.moving_range_upper));
  write_optional(json, "cp", st.cp);
  write_optional(json, "cpk", st.cpk);
  write_optional(json, "cpk_low", st.cpk_low);
  write_optional(json, "cpk_high", st.cpk_high);
  write_optional(json, "pp", st.pp);
  write_optional(json, "ppk", st.ppk);
  json.key("one_sided").boolean(st.one_sided);
  json.key("capability_preliminary").boolean(st.capability_preliminary);
  json.key("performance_preliminary").boolean(st.performance_preliminary);
  json.end_object();
  json.key("violations").begin_array();
  for (const kptRuleViolation& v : st.violations) {
    json.begin_object();
    json.key("run").integer(static_cast<std::int64_t>(v.run));
    json.key("rule").integer(v.rule);
    json.key("chart").string(v.moving_range ? "moving_range" : "individuals");
    json.key("value").number(v.value);
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

}  // namespace

ReportData trend_report_data(const ReportOptions& options, const SettingsOutcome& settings,
                             const std::vector<kptInputFile>& inputs) {
  const std::size_t runs = options.files.size();
  TrendData trend;
  trend.series = kptTrendSeriesSet(options.convention, kMaxTrendPoints);
  kptResultsDataExtractor extractor;  // one for every run: what does not depend on a file is kept
  for (std::size_t run = 0; run < runs; ++run) {
    const std::string& file = options.files[run];
    const kptResultsExtractionStatus status =
        extractor.extract_data(inputs[run], kptUnits(options.units));
    trend.all_succeeded = trend.all_succeeded && status == kptExtractionSuccess;
    const kptInspectionSummary summary = kptInspection::summarize(extractor, options.convention);
    trend.runs.push_back({file, std::string(extractor.resultsfile_name().view()), file_date(file),
                          kptStatusText::name(status), summary.passed()});
    trend.series.add_run(extractor);
  }
  return trend_report_data(options, settings, trend);
}

ReportData trend_report_data(const ReportOptions& options, const SettingsOutcome& settings,
                             const TrendData& trend) {
  JsonText json;
  json.begin_object();
  json.key("kind").string("trend");
  json.key("generator").string(options.generator);
  json.key("report_date").string(kptUtcTime::now());
  json.key("units").string(units_name(options.units));
  json.key("convention").string(kpt_zone_convention_name(options.convention));
  write_settings(json, options, settings);
  json.key("runs").begin_array();
  for (const TrendRun& run : trend.runs) {
    json.begin_object();
    json.key("file").string(run.file);
    json.key("results_file").string(run.results_file);
    json.key("file_date");
    if (run.file_date.empty()) {
      json.null();
    } else {
      json.string(run.file_date);
    }
    json.key("status").string(run.status);
    json.key("passed").boolean(run.passed);
    json.end_object();
  }
  json.end_array();

  const kptTrendAnalysis analysis = kptTrendAnalysis::from_baseline(trend.series, options.baseline);
  json.key("baseline_runs").integer(static_cast<std::int64_t>(analysis.baseline_runs));
  json.key("first_judged").integer(static_cast<std::int64_t>(analysis.first_judged));
  json.key("features").begin_array();
  for (std::size_t i = 0; i < trend.series.features().size(); ++i) {
    write_series(json, trend.series.features()[i], analysis.features[i]);
  }
  json.end_array();
  json.key("points").begin_array();
  for (std::size_t i = 0; i < trend.series.points().size(); ++i) {
    write_series(json, trend.series.points()[i], analysis.points[i]);
  }
  json.end_array();
  json.key("points_omitted").integer(static_cast<std::int64_t>(trend.series.points_omitted()));
  json.end_object();

  ReportData out;
  out.json = json.take();
  out.title = "Trend report: " + std::to_string(trend.runs.size()) + " runs";
  out.extraction_succeeded = trend.all_succeeded;
  return out;
}

}  // namespace tool
