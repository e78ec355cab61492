// kptResultsDataExtractor: turns one results file into probe paths and feature results.
//
// The extractor drives the results-file parser over every line of a file and receives its events:
// it keeps the run (START ... END) and the toolpath context (id, pattern instance, cycle depth,
// workplanes), pairs nominal and measured points into probe paths, turns macro reports into
// features, and expresses everything in CAD coordinates and millimetres. Problems never stop a
// run; they set the extraction status, the latest one written winning.
//
//   kptResultsDataExtractor extractor;
//   kptResultsExtractionStatus status = extractor.extract_data(utString("run.res"),
//                                                              kptUnits(kptUnitsInches));
//   itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
//   while (++it) show(it());
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "cncprobe/events/results_file_parser_callback.h"
#include "cncprobe/export.h"
#include "cncprobe/extraction/output_transformation.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/geometry/point2.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/model/inspection_print_data.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "cncprobe/platform/support/iterator.h"
#include "cncprobe/platform/text/string.h"

// The outcome of an extraction: success, or the latest problem met (the end rules 5 and 1 last).
enum kptResultsExtractionStatus : std::int32_t {
  kptExtractionSuccess = 0,
  // The last START has no END after it; the results gathered stay available.
  kptExtractionMissingEnd = 1,
  // A second START discarded what the first run had gathered.
  kptExtractionMultipleStarts = 2,
  // A measured point found no open nominal point to complete and was dropped.
  kptExtractionUnmatchedMeasuredPoint = 3,
  // A nominal point followed one that was never measured; it was added all the same.
  kptExtractionUnmeasuredNominalPoint = 4,
  // No result at all, or only probe paths without a single point.
  kptExtractionNoResults = 5,
  // A workplane, point, toolpath or feature record outside START ... END was ignored.
  kptExtractionOutsideStartEnd = 6,
  // A point or feature did not fit the newest result of its toolpath instance and was dropped.
  kptExtractionResultConflict = 7,
};

// Whether a point or feature record starts a new result, continues the newest probe path or
// conflicts with the newest result.
enum kptCurrentPathStatus : std::int32_t {
  kptPathStatusNew = 0,
  kptPathStatusCurrent = 1,
  kptPathStatusConflict = 2,
};

// The kind of point record a path decision is asked for.
enum kptProbePathPointType : std::int32_t {
  kptNominalPoint = 0,
  kptMeasuredPoint = 1,
};

class kptFileExtraction;
class kptProbePathListener;
class kptResultsFileParser;

class CNCPROBE_API kptResultsDataExtractor : public kptResultsFileParserCallback {
 public:
  // An extractor holding no results; status success.
  kptResultsDataExtractor();
  // Drops the extractor's share of the results; results the host still holds live on.
  ~kptResultsDataExtractor() override;
  kptResultsDataExtractor(const kptResultsDataExtractor&) = delete;
  kptResultsDataExtractor& operator=(const kptResultsDataExtractor&) = delete;

  // Reads the named results file, printed in millimetres, and returns the extraction status.
  // Everything held before is dropped first. A file that is missing or cannot be read has no
  // lines and gives kptExtractionNoResults.
  [[nodiscard]] kptResultsExtractionStatus extract_data(const utString& file_name);
  // The same for a file printed in `units`; lengths are held in millimetres whatever the units.
  [[nodiscard]] kptResultsExtractionStatus extract_data(const utString& file_name,
                                                        const kptUnits& units);
  // Extracts from an input already read (standard input, memory); same statuses as extract_data.
  [[nodiscard]] kptResultsExtractionStatus extract_data(
      const kptInputFile& input, const kptUnits& units = kptUnits(kptUnitsMillimetres));
  // The number of threads an extraction reads a large file and recognises its lines on, the
  // caller's included: 1 (the default) starts no thread, 0 takes one per core the machine
  // reports. The results are the same whatever the number; a file of a few thousand lines is
  // read on the caller's thread alone.
  void set_threads(unsigned int threads) noexcept;
  // The number set_threads chose; at least 1.
  [[nodiscard]] unsigned int threads() const noexcept { return threads_; }
  // Tells `listener` of each probe path as it is completed during the following extractions
  // (see cncprobe/extraction/probe_path_listener.h); null tells no one. The listener must
  // outlive those extractions.
  void set_path_listener(kptProbePathListener* listener) noexcept { path_listener_ = listener; }

  // Why the last extract_data could not read its file; kptInputReadable when it was read (the
  // extraction status alone says kptExtractionNoResults for an unreadable file, as it says for an
  // empty one). A read error in the middle of a file is reported here although the lines before
  // it were extracted.
  [[nodiscard]] kptInputProblem input_problem() const noexcept { return input_problem_; }

  // An undefined iterator over the probe paths, in the order they were created. It refers to the
  // extractor's list and must not be used after the next extraction or START record.
  [[nodiscard]] itIterator<std::shared_ptr<mtrProbePath>> measured_paths() const;
  // The number of probe paths.
  [[nodiscard]] unsigned int measured_paths_count() const noexcept;
  // An undefined iterator over every result, probe paths and features in the order they were
  // created; valid as long as the one of measured_paths().
  [[nodiscard]] itIterator<std::shared_ptr<mtrToolpathResult>> results() const;
  // The number of results, probe paths and features together.
  [[nodiscard]] unsigned int number_of_results() const noexcept;
  // A copy of the text of the last RESULTSFILE record; empty when there was none.
  [[nodiscard]] utString resultsfile_name() const;
  // The status of the last extraction, as it returned it; while a host's own parser delivers
  // events, the latest problem recorded so far (the end rules are applied only by an extraction).
  [[nodiscard]] kptResultsExtractionStatus status() const noexcept { return status_; }

  // Hands the last extraction over to an outcome that carries `file_name`: its status, input
  // problem, RESULTSFILE name and results (see cncprobe/extraction/file_extraction.h). The
  // extractor keeps its status but no results; iterators taken before are then empty.
  [[nodiscard]] kptFileExtraction take_extraction(const utString& file_name);

 protected:
  // Runs an extraction over the lines after the cursor's position (from the first line when it
  // stands on no line), printed in `units`; the caller's cursor does not move.
  kptResultsExtractionStatus extract_data_from_cursor(kptResultsFileCursor cursor,
                                                      const kptUnits& units);

 private:
  // The extraction itself, from the cursor's position; with `release_passed_lines` the lines the
  // cursor has passed are given back as it goes (for a cursor no one else holds a copy of).
  kptResultsExtractionStatus extract_lines(kptResultsFileCursor& cursor, const kptUnits& units,
                                           bool release_passed_lines);

  // Machine records.
  void on_start() override;
  void on_end() override;
  void on_workplane(const giWorkplane3& workplane) override;
  void on_cad_workplane(const giWorkplane3& workplane) override;
  void on_nominal_point(const giPoint3& point, const giVector3& direction, double o, double u,
                        double l) override;
  void on_measured_point(const giPoint3& point, double r) override;
  void on_toolpath_instance(unsigned int id, std::optional<unsigned int> instance) override;
  void on_cycle_depth(double depth) override;
  void on_results_file(const utString& name) override;
  // Macro reports.
  void on_circle_measurement(const mtrInspectionPrintData& print_data, const giCircle2& nominal,
                             const giCircle2& actual,
                             const std::optional<double>& diameter_tolerance,
                             const std::optional<double>& true_position_tolerance) override;
  void on_rectangle_measurement(const mtrInspectionPrintData& print_data,
                                const kptParsedDimension& x_width,
                                const kptParsedDimension& y_width,
                                const kptParsedPosition& x_position,
                                const kptParsedPosition& y_position) override;
  void on_x_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                     const kptParsedDimension& width,
                                     const kptParsedPosition& x_position,
                                     double y_nominal) override;
  void on_y_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                     const kptParsedDimension& width, double x_nominal,
                                     const kptParsedPosition& y_position) override;
  void on_surface_measurement(const mtrInspectionPrintData& print_data, mtrProbeWCSAxis axis,
                              const giPlane& nominal, const giPlane& actual,
                              const std::optional<double>& tolerance) override;
  void on_corner_measurement(const mtrInspectionPrintData& print_data, const giPoint2& nominal,
                             const giPoint2& actual,
                             const std::optional<double>& true_position_tolerance) override;
  void on_angle_measurement(const mtrInspectionPrintData& print_data,
                            const kptParsedAngle& angle) override;

  void clear();
  void clear_results();
  void add_measured_path(unsigned int id);
  kptCurrentPathStatus get_probe_path_status(kptProbePathPointType type) const;
  kptCurrentPathStatus get_feature_status(const mtrInspectionPrintData& print_data) const;
  unsigned int number_of_points() const noexcept;
  void handle_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                       mtrProbeWCSAxis axis, const kptParsedDimension& width,
                                       const giPoint2& nominal, const giPoint2& actual,
                                       const std::optional<double>& position_tolerance);

  // The run and conflict checks every feature report passes first; false when it is dropped.
  bool accept_feature(const mtrInspectionPrintData& print_data);
  // The output workplane's axes and a report point at the cycle depth, in CAD coordinates.
  giUnitVec3 z_axis_in_cad() const noexcept;
  giUnitVec3 x_axis_in_cad() const noexcept;
  giPoint3 lift(const giPoint2& point) const noexcept;

  std::vector<std::shared_ptr<mtrToolpathResult>> results_;
  std::vector<std::shared_ptr<mtrProbePath>> measured_paths_;
  utString results_file_name_;
  unsigned int current_toolpath_id_ = 0;
  double cycle_depth_ = 0.0;
  std::optional<unsigned int> current_pattern_instance_;
  kptOutputTransformation output_transformation_;
  bool inside_run_ = false;
  unsigned int start_count_ = 0;
  kptResultsExtractionStatus status_ = kptExtractionSuccess;
  kptInputProblem input_problem_ = kptInputReadable;
  // "Path <id> (<instance>): Inspection Point " of the newest probe path, built once per path and
  // shared by its points, whose labels it begins.
  utString label_prefix_;
  // The parser of the last extraction and the units it reads, kept for the next one.
  std::unique_ptr<kptResultsFileParser> parser_;
  kptUnits parser_units_;
  unsigned int threads_ = 1;
  kptProbePathListener* path_listener_ = nullptr;
};
