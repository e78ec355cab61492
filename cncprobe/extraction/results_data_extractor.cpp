// kptResultsDataExtractor: the extraction driver, the run and toolpath bookkeeping, probe paths
// and the feature results of macro reports.
#include "cncprobe/extraction/results_data_extractor.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <thread>

#include "cncprobe/extraction/file_extraction.h"
#include "cncprobe/extraction/internal/chunked_recognition.h"
#include "cncprobe/extraction/probe_path_listener.h"
#include "cncprobe/platform/geometry/circle3.h"
#include "cncprobe/platform/geometry/inf_line3.h"
#include "cncprobe/platform/geometry/plane.h"
#include "cncprobe/platform/geometry/vector2.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/perpendicular_distance.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/rectangle3.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"
#include "cncprobe/platform/support/observer_ptr.h"
#include "cncprobe/resultsfile/results_file_parser.h"

namespace {

// A file is recognised on several threads, when they are asked for, in chunks of this many lines
// (about half a megabyte of points), and only when it has a few chunks' worth: below that,
// starting threads costs more than they save.
constexpr std::size_t kChunkLines = 4096;
constexpr std::size_t kLinesForThreads = 4 * kChunkLines;

// Appends a count in decimal. Toolpath ids and point numbers are unsigned, so they are written
// from their own digits rather than through an int, which would turn large ones negative.
void append_decimal(utString& text, unsigned int number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits - 1, number).ptr;
  *end = '\0';
  text << digits;
}

// A new feature of the current toolpath instance, carrying its instance; no tolerances yet.
template <class Feature, class... Geometry>
std::shared_ptr<Feature> new_feature(unsigned int id, const std::optional<unsigned int>& instance,
                                     const mtrInspectionPrintData& print_data,
                                     const Geometry&... geometry) {
  auto feature = std::make_shared<Feature>(id, print_data, geometry...);
  feature->set_pattern_instance(instance);
  return feature;
}

// Two results belong to the same pattern instance: both without one, or both with the same.
bool same_instance(const std::optional<unsigned int>& a, const std::optional<unsigned int>& b) {
  return a == b;
}

}  // namespace

kptResultsDataExtractor::kptResultsDataExtractor() { clear(); }

kptResultsDataExtractor::~kptResultsDataExtractor() = default;

kptProbePathListener::~kptProbePathListener() = default;

kptResultsExtractionStatus kptResultsDataExtractor::extract_data(const utString& file_name) {
  return extract_data(file_name, kptUnits(kptUnitsMillimetres));
}

kptResultsExtractionStatus kptResultsDataExtractor::extract_data(const utString& file_name,
                                                                 const kptUnits& units) {
  // Read straight into the lines, so a large file is not held twice; on the threads asked for, a
  // large file is read and cut into its lines in parts side by side.
  kptInputStream stream = kptInputStream::open(file_name);
  kptResultsFileCursor cursor(stream, threads_);
  input_problem_ = stream.problem();
  // The cursor is this extraction's alone, so the lines it has passed are given back as it goes:
  // the results grow while the file's text shrinks.
  return extract_lines(cursor, units, true);
}

kptResultsExtractionStatus kptResultsDataExtractor::extract_data(const kptInputFile& input,
                                                                 const kptUnits& units) {
  kptResultsFileCursor cursor(input);
  input_problem_ = input.problem();
  return extract_lines(cursor, units, true);
}

kptResultsExtractionStatus kptResultsDataExtractor::extract_data_from_cursor(
    kptResultsFileCursor cursor, const kptUnits& units) {
  // The caller may hold copies of its cursor anywhere in the file: nothing is given back.
  return extract_lines(cursor, units, false);
}

kptResultsExtractionStatus kptResultsDataExtractor::extract_lines(kptResultsFileCursor& cursor,
                                                                  const kptUnits& units,
                                                                  bool release_passed_lines) {
  clear();
  if (threads_ > 1 && cursor.undefined() && cursor.line_count() >= kLinesForThreads) {
    // The cursor is this extraction's alone; the lines every thread has passed are given back.
    kptResultsFileCursor passed_lines = cursor;
    kptChunkedRecognition::run(cursor, units, *this,
                               kptChunkedRecognition::even_chunks(cursor.line_count(), kChunkLines),
                               threads_, [&passed_lines, release_passed_lines](std::size_t line) {
                                 if (release_passed_lines && passed_lines.step_to(line + 1)) {
                                   passed_lines.release_passed_lines();
                                 }
                               });
  } else {
    // The parser depends on nothing of the file but its units: an extractor reused for many
    // files keeps it, with its matchers' match data, and builds another only for other units.
    if (!parser_ || parser_units_ != units) {
      parser_.reset();
      parser_ = std::make_unique<kptResultsFileParser>(
          units, utObserverPtr<kptResultsFileParserCallback>(
                     utObserverPtr<kptResultsDataExtractor>(this)));
      parser_units_ = units;
    }
    const kptResultsFileParser& parser = *parser_;
    // An unknown line is simply passed over; a report leaves the cursor on its last line, and the
    // next step moves past it. A cursor left on no line would wrap round to the first line and
    // read the file forever, so that ends the reading whatever the parser did.
    while (++cursor) {
      static_cast<void>(parser.parse_next_object(cursor));
      if (cursor.undefined()) break;
      // The parser's look-ahead copies are gone: no cursor stands behind this one.
      if (release_passed_lines) cursor.release_passed_lines();
    }
  }
  // The file has ended, and with it the newest path.
  if (path_listener_ && !measured_paths_.empty()) {
    path_listener_->on_path_completed(measured_paths_.back());
  }
  if (number_of_results() == 0 ||
      (number_of_results() == measured_paths_count() && number_of_points() == 0)) {
    status_ = kptExtractionNoResults;
  }
  if (inside_run_) status_ = kptExtractionMissingEnd;
  return status_;
}

void kptResultsDataExtractor::set_threads(unsigned int threads) noexcept {
  threads_ = threads != 0 ? threads : std::max(1u, std::thread::hardware_concurrency());
}

itIterator<std::shared_ptr<mtrProbePath>> kptResultsDataExtractor::measured_paths() const {
  return itIterators::make_iter(measured_paths_);
}

unsigned int kptResultsDataExtractor::measured_paths_count() const noexcept {
  return static_cast<unsigned int>(measured_paths_.size());
}

itIterator<std::shared_ptr<mtrToolpathResult>> kptResultsDataExtractor::results() const {
  return itIterators::make_iter(results_);
}

unsigned int kptResultsDataExtractor::number_of_results() const noexcept {
  return static_cast<unsigned int>(results_.size());
}

utString kptResultsDataExtractor::resultsfile_name() const { return results_file_name_; }

kptFileExtraction kptResultsDataExtractor::take_extraction(const utString& file_name) {
  kptFileExtraction outcome;
  outcome.file_name_ = file_name;
  outcome.status_ = status_;
  outcome.input_problem_ = input_problem_;
  outcome.resultsfile_name_ = results_file_name_;
  outcome.results_ = std::move(results_);
  outcome.measured_paths_ = std::move(measured_paths_);
  results_.clear();
  measured_paths_.clear();
  return outcome;
}

// ---- Run and toolpath context ----

void kptResultsDataExtractor::on_start() {
  // A second START begins the run afresh: what the earlier one gathered is discarded. The
  // toolpath context stays, as the machine has not been told otherwise.
  if (start_count_ > 0) status_ = kptExtractionMultipleStarts;
  if (path_listener_ && start_count_ > 0) path_listener_->on_results_discarded();
  clear_results();
  ++start_count_;
  inside_run_ = true;
}

void kptResultsDataExtractor::on_end() { inside_run_ = false; }

void kptResultsDataExtractor::on_workplane(const giWorkplane3& workplane) {
  if (!inside_run_) {
    status_ = kptExtractionOutsideStartEnd;
    return;
  }
  output_transformation_.set_output_workplane(workplane);
}

void kptResultsDataExtractor::on_cad_workplane(const giWorkplane3& workplane) {
  if (!inside_run_) {
    status_ = kptExtractionOutsideStartEnd;
    return;
  }
  output_transformation_.set_cad_workplane(workplane);
}

void kptResultsDataExtractor::on_toolpath_instance(unsigned int id,
                                                   std::optional<unsigned int> instance) {
  if (!inside_run_) {
    status_ = kptExtractionOutsideStartEnd;
    return;
  }
  // Every toolpath instance starts at world workplanes and without a cycle depth.
  current_toolpath_id_ = id;
  current_pattern_instance_ = instance;
  cycle_depth_ = 0.0;
  output_transformation_.reset();
}

void kptResultsDataExtractor::on_cycle_depth(double depth) { cycle_depth_ = depth; }

void kptResultsDataExtractor::on_results_file(const utString& name) { results_file_name_ = name; }

// ---- Probe paths ----

void kptResultsDataExtractor::on_nominal_point(const giPoint3& point, const giVector3& direction,
                                               double o, double u, double l) {
  if (!inside_run_) {
    status_ = kptExtractionOutsideStartEnd;
    return;
  }
  switch (get_probe_path_status(kptNominalPoint)) {
    case kptPathStatusNew:
      add_measured_path(current_toolpath_id_);
      break;
    case kptPathStatusCurrent:
      break;
    case kptPathStatusConflict:
      status_ = kptExtractionResultConflict;
      return;
  }
  if (measured_paths_.empty()) {
    status_ = kptExtractionResultConflict;
    return;
  }
  mtrProbePath& path = *measured_paths_.back();
  const unsigned int count = path.inspection_points_count();
  // The machine probed on without reporting the previous point: keep both, flag the gap.
  if (count > 0 && !path.last_point_measured()) {
    status_ = kptExtractionUnmeasuredNominalPoint;
  }
  // Every point of a path is labelled with the path's prefix and its number: the label is made
  // when a host asks for it, not held by each of a million points.
  path.add_numbered_inspection_point(output_transformation_.local_to_cad(point),
                                     giUnitVec3(output_transformation_.local_to_cad(direction)), o,
                                     u, l, label_prefix_);
}

void kptResultsDataExtractor::on_measured_point(const giPoint3& point, double r) {
  if (!inside_run_) {
    status_ = kptExtractionOutsideStartEnd;
    return;
  }
  switch (get_probe_path_status(kptMeasuredPoint)) {
    case kptPathStatusCurrent: {
      // A measurement completes the last nominal point of the newest path, and only while that
      // point is still open: points pair strictly in sequence, never by position.
      mtrProbePath& path = *measured_paths_.back();
      const unsigned int count = path.inspection_points_count();
      if (count > 0 && !path.last_point_measured()) {
        path.set_measure_of_last_point(output_transformation_.local_to_cad(point), r);
      } else {
        status_ = kptExtractionUnmatchedMeasuredPoint;
      }
      break;
    }
    case kptPathStatusConflict:
      status_ = kptExtractionResultConflict;
      break;
    case kptPathStatusNew:
      status_ = kptExtractionUnmatchedMeasuredPoint;
      break;
  }
}

void kptResultsDataExtractor::add_measured_path(unsigned int id) {
  auto path = std::make_shared<mtrProbePath>(id);
  path->set_pattern_instance(current_pattern_instance_);
  utString prefix("Path ");
  append_decimal(prefix, id);
  if (current_pattern_instance_) {
    prefix << " (";
    append_decimal(prefix, *current_pattern_instance_);
    prefix << ')';
  }
  prefix << ": Inspection Point ";
  label_prefix_ = prefix;
  // Only the newest path grows: the one before it is complete.
  if (path_listener_ && !measured_paths_.empty()) {
    path_listener_->on_path_completed(measured_paths_.back());
  }
  results_.push_back(path);
  measured_paths_.push_back(std::move(path));
}

kptCurrentPathStatus kptResultsDataExtractor::get_probe_path_status(
    kptProbePathPointType type) const {
  if (results_.empty()) return kptPathStatusNew;
  if (results_.back()->id() != current_toolpath_id_) return kptPathStatusNew;
  // The newest result of this toolpath is a feature: points may only go on with a probe path of
  // the same toolpath that is still the newest path.
  if (measured_paths_.empty()) return kptPathStatusConflict;
  const mtrProbePath& path = *measured_paths_.back();
  if (path.id() != current_toolpath_id_) return kptPathStatusConflict;
  if (same_instance(path.pattern_instance(), current_pattern_instance_)) {
    return kptPathStatusCurrent;
  }
  // Another pattern instance of the same toolpath: a nominal point opens its own path, while a
  // measured point has nothing of this instance to complete.
  return type == kptNominalPoint ? kptPathStatusNew : kptPathStatusConflict;
}

kptCurrentPathStatus kptResultsDataExtractor::get_feature_status(
    const mtrInspectionPrintData& print_data) const {
  if (results_.empty()) return kptPathStatusNew;
  const mtrToolpathResult& newest = *results_.back();
  if (newest.id() != current_toolpath_id_) return kptPathStatusNew;
  // A report may not follow the points of its own toolpath.
  const auto* feature = dynamic_cast<const mtrInspectionFeature*>(&newest);
  if (feature == nullptr) return kptPathStatusConflict;
  if (feature->print_data() != print_data) return kptPathStatusNew;
  // The same report again: a repeat within one instance, a new feature in another instance.
  return same_instance(newest.pattern_instance(), current_pattern_instance_) ? kptPathStatusConflict
                                                                             : kptPathStatusNew;
}

unsigned int kptResultsDataExtractor::number_of_points() const noexcept {
  unsigned int points = 0;
  for (const auto& path : measured_paths_) points += path->inspection_points_count();
  return points;
}

void kptResultsDataExtractor::clear() {
  clear_results();
  start_count_ = 0;
  status_ = kptExtractionSuccess;
  current_toolpath_id_ = 0;
  cycle_depth_ = 0.0;
  current_pattern_instance_.reset();
  inside_run_ = false;
  results_file_name_ = utString("");
}

void kptResultsDataExtractor::clear_results() {
  results_.clear();
  measured_paths_.clear();
  label_prefix_ = utString();
  output_transformation_.reset();
}

// ---- Feature results ----

bool kptResultsDataExtractor::accept_feature(const mtrInspectionPrintData& print_data) {
  if (!inside_run_) {
    status_ = kptExtractionOutsideStartEnd;
    return false;
  }
  if (get_feature_status(print_data) == kptPathStatusConflict) {
    status_ = kptExtractionResultConflict;
    return false;
  }
  return true;
}

giUnitVec3 kptResultsDataExtractor::z_axis_in_cad() const noexcept {
  return giUnitVec3(output_transformation_.local_to_cad(giVector3(giAxisZ)));
}

giUnitVec3 kptResultsDataExtractor::x_axis_in_cad() const noexcept {
  return giUnitVec3(output_transformation_.local_to_cad(giVector3(giAxisX)));
}

giPoint3 kptResultsDataExtractor::lift(const giPoint2& point) const noexcept {
  return output_transformation_.local_to_cad(point.xyz(cycle_depth_));
}

void kptResultsDataExtractor::on_circle_measurement(
    const mtrInspectionPrintData& print_data, const giCircle2& nominal, const giCircle2& actual,
    const std::optional<double>& diameter_tolerance,
    const std::optional<double>& true_position_tolerance) {
  if (!accept_feature(print_data)) return;
  // Both circles lie at the cycle depth, in planes across the output workplane's Z axis.
  const giUnitVec3 normal = z_axis_in_cad();
  auto feature =
      new_feature<mtrCircleFeature>(current_toolpath_id_, current_pattern_instance_, print_data,
                                    giCircle3(lift(nominal.centre()), normal, nominal.radius()),
                                    giCircle3(lift(actual.centre()), normal, actual.radius()));
  if (diameter_tolerance) feature->set_diameter_tolerance(*diameter_tolerance);
  if (true_position_tolerance) feature->set_true_position_tolerance(*true_position_tolerance);
  results_.push_back(std::move(feature));
}

void kptResultsDataExtractor::on_rectangle_measurement(const mtrInspectionPrintData& print_data,
                                                       const kptParsedDimension& x_width,
                                                       const kptParsedDimension& y_width,
                                                       const kptParsedPosition& x_position,
                                                       const kptParsedPosition& y_position) {
  if (!accept_feature(print_data)) return;
  // The length side runs along the output workplane's X axis with the X size; the width is the
  // Y size. The centre is made of the X block's and the Y block's positions.
  const giUnitVec3 normal = z_axis_in_cad();
  const giUnitVec3 length_direction = x_axis_in_cad();
  const giPoint3 nominal_centre = output_transformation_.local_to_cad(
      giPoint3(x_position.nominal(), y_position.nominal(), cycle_depth_));
  const giPoint3 actual_centre = output_transformation_.local_to_cad(
      giPoint3(x_position.actual(), y_position.actual(), cycle_depth_));
  auto feature = new_feature<mtrRectangleFeature>(
      current_toolpath_id_, current_pattern_instance_, print_data,
      mtgRectangle3(nominal_centre, normal, length_direction, x_width.nominal(), y_width.nominal()),
      mtgRectangle3(actual_centre, normal, length_direction, x_width.actual(), y_width.actual()));
  if (x_width.tolerance()) feature->set_length_tolerance(*x_width.tolerance());
  if (y_width.tolerance()) feature->set_width_tolerance(*y_width.tolerance());
  // The parser only joins blocks whose true-position tolerances agree, so X's stands for both.
  if (x_position.true_position_tolerance()) {
    feature->set_position_tolerance(*x_position.true_position_tolerance());
  }
  results_.push_back(std::move(feature));
}

void kptResultsDataExtractor::on_x_wall_channel_measurement(
    const mtrInspectionPrintData& print_data, const kptParsedDimension& width,
    const kptParsedPosition& x_position, double y_nominal) {
  const giPoint2 nominal(x_position.nominal(), y_nominal);
  const giPoint2 actual(x_position.actual(), y_nominal);
  handle_wall_channel_measurement(print_data, mtrProbeWCSAxisX, width, nominal, actual,
                                  x_position.true_position_tolerance());
}

void kptResultsDataExtractor::on_y_wall_channel_measurement(
    const mtrInspectionPrintData& print_data, const kptParsedDimension& width, double x_nominal,
    const kptParsedPosition& y_position) {
  const giPoint2 nominal(x_nominal, y_position.nominal());
  const giPoint2 actual(x_nominal, y_position.actual());
  handle_wall_channel_measurement(print_data, mtrProbeWCSAxisY, width, nominal, actual,
                                  y_position.true_position_tolerance());
}

void kptResultsDataExtractor::handle_wall_channel_measurement(
    const mtrInspectionPrintData& print_data, mtrProbeWCSAxis axis, const kptParsedDimension& width,
    const giPoint2& nominal, const giPoint2& actual,
    const std::optional<double>& position_tolerance) {
  if (!accept_feature(print_data)) return;
  // The width is measured along the probed axis of the output workplane.
  const giUnitVec3 normal = z_axis_in_cad();
  const giUnitVec3 direction(
      output_transformation_.local_to_cad(giVector2(to_gi_axis(axis)).xyz(0.0)));
  auto feature = new_feature<mtrPerpendicularDistanceFeature>(
      current_toolpath_id_, current_pattern_instance_, print_data, axis,
      mtgPerpendicularDistance(lift(nominal), normal, direction, width.nominal()),
      mtgPerpendicularDistance(lift(actual), normal, direction, width.actual()));
  if (width.tolerance()) feature->set_distance_tolerance(*width.tolerance());
  if (position_tolerance) feature->set_position_tolerance(*position_tolerance);
  results_.push_back(std::move(feature));
}

void kptResultsDataExtractor::on_surface_measurement(const mtrInspectionPrintData& print_data,
                                                     mtrProbeWCSAxis axis, const giPlane& nominal,
                                                     const giPlane& actual,
                                                     const std::optional<double>& tolerance) {
  if (!accept_feature(print_data)) return;
  // The planes arrive in space already; the cycle depth plays no part.
  const auto to_cad = [this](const giPlane& plane) {
    return giPlane(giUnitVec3(output_transformation_.local_to_cad(plane.normal().vector())),
                   output_transformation_.local_to_cad(plane.point()));
  };
  auto feature = new_feature<mtrSurfaceFeature>(current_toolpath_id_, current_pattern_instance_,
                                                print_data, axis, to_cad(nominal), to_cad(actual));
  if (tolerance) feature->set_position_tolerance(*tolerance);
  results_.push_back(std::move(feature));
}

void kptResultsDataExtractor::on_corner_measurement(
    const mtrInspectionPrintData& print_data, const giPoint2& nominal, const giPoint2& actual,
    const std::optional<double>& true_position_tolerance) {
  if (!accept_feature(print_data)) return;
  // A corner is the vertical edge through the corner point at the cycle depth.
  const giUnitVec3 edge = z_axis_in_cad();
  auto feature = new_feature<mtrCornerFeature>(current_toolpath_id_, current_pattern_instance_,
                                               print_data, giInfLine3(lift(nominal), edge),
                                               giInfLine3(lift(actual), edge));
  if (true_position_tolerance) feature->set_true_position_tolerance(*true_position_tolerance);
  results_.push_back(std::move(feature));
}

void kptResultsDataExtractor::on_angle_measurement(const mtrInspectionPrintData& print_data,
                                                   const kptParsedAngle& angle) {
  if (!accept_feature(print_data)) return;
  // The angle is measured from the output X axis within the plane at the cycle depth; the
  // angles themselves are passed on as printed.
  const giPlane reference_plane(
      z_axis_in_cad(), output_transformation_.local_to_cad(giPoint3(0.0, 0.0, cycle_depth_)));
  auto feature = new_feature<mtrAngleSurfaceFeature>(
      current_toolpath_id_, current_pattern_instance_, print_data, reference_plane, x_axis_in_cad(),
      angle.nominal(), angle.actual());
  const utOptionalArg<giAngle> tolerance = angle.tolerance();
  if (tolerance) feature->set_angular_tolerance(tolerance.value());
  results_.push_back(std::move(feature));
}
