// RunRecord: a results file read, hashed, extracted and judged, ready for any back end. Nothing
// here judges a value: deviations, verdicts and limits are the inspection rules'.
#include "store/run_record.h"

#include <cmath>
#include <filesystem>
#include <future>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/utc_time.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/inspection/trend_series.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/surface_feature.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "store/internal/content_hash.h"
#include "store/internal/utf8_path.h"

namespace store {

namespace {

std::optional<std::string> reference(const utString& text) {
  if (text.invalid()) return std::nullopt;
  return std::string(text.view());
}

template <class Fn>
void for_each_result(const kptResultsDataExtractor& extractor, Fn&& fn) {
  itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
  std::int32_t index = 0;
  while (++it) {
    const std::shared_ptr<mtrToolpathResult> result = it();
    if (result) fn(index, *result);
    ++index;
  }
}

// The last part of a path of either system, without its extension.
std::string base_name(std::string_view path) {
  const std::size_t slash = path.find_last_of("/\\");
  if (slash != std::string_view::npos) path.remove_prefix(slash + 1);
  const std::size_t dot = path.find_last_of('.');
  if (dot != std::string_view::npos && dot > 0) path = path.substr(0, dot);
  return std::string(path);
}

}  // namespace

std::string stored_path(const std::string& path) {
  if (path == "-") return path;
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path_of(path), error);
  return error ? path : utf8_of(absolute.lexically_normal());
}

std::string content_sha256(std::string_view bytes) { return sha256_hex(bytes); }

RunRecord::RunRecord() = default;
RunRecord::~RunRecord() = default;
RunRecord::RunRecord(RunRecord&&) noexcept = default;
RunRecord& RunRecord::operator=(RunRecord&&) noexcept = default;

RunRecord RunRecord::from_file(const std::string& path, const RecordOptions& options) {
  const kptInputFile input = path == "-" ? kptInputFile::read(std::cin)
                                         : kptInputFile::read(utString(std::string_view(path)));
  return from_input(path, input, options);
}

RunRecord RunRecord::from_input(const std::string& path, const kptInputFile& input,
                                const RecordOptions& options, std::string sha256,
                                kptProbePathListener* listener) {
  RunRecord record;
  record.path = stored_path(path);
  record.file_time =
      path == "-" ? std::nullopt : kptUtcTime::of_file(utString(std::string_view(path)));
  record.ingest_time = kptUtcTime::now();
  record.units = options.units == kptUnitsInches ? "in" : "mm";
  record.input_problem = input.problem();
  if (!input.ok()) {
    record.sha256 = sha256.empty() ? sha256_hex(input.bytes()) : std::move(sha256);
    record.status_name = "unreadable";
    record.status_code = -1;
    record.program =
        options.program.empty() ? program_of(path, record.references) : options.program;
    return record;
  }

  // The header references are looked for in every line until all are found, so a large file
  // without some of them is read through twice: that scan, and the hash when it is still to be
  // made, run on a thread of their own while this one extracts. All of them only read the bytes.
  kptFileReferenceExtractor refs;
  record.sha256 = std::move(sha256);
  auto beside = [&record, &refs, &input] {
    if (record.sha256.empty()) record.sha256 = sha256_hex(input.bytes());
    return refs.extract(input) == apStatus(1);
  };
  std::future<bool> scanned;
  if (input.bytes().size() >= kConcurrentBytes) {
    try {
      scanned = std::async(std::launch::async, beside);
    } catch (const std::system_error&) {
      // No thread to be had: the work is done after the extraction, on this one.
    }
  }
  auto extractor = std::make_shared<kptResultsDataExtractor>();
  extractor->set_path_listener(listener);
  const kptResultsExtractionStatus status = extractor->extract_data(input, kptUnits(options.units));
  if (scanned.valid() ? scanned.get() : beside()) {
    record.references = {reference(refs.results_file_version_text()),
                         reference(refs.settings_filename()),
                         reference(refs.cad_filename()),
                         reference(refs.cldata_filename()),
                         reference(refs.document_id()),
                         reference(refs.document_version()),
                         reference(refs.model_version())};
  }
  record.program = options.program.empty() ? program_of(path, record.references) : options.program;
  record.status_code = status;
  record.status_name = kptStatusText::name(status);
  const utString results_file = extractor->resultsfile_name();
  if (!results_file.empty()) record.results_file = std::string(results_file.view());

  const kptInspectionSummary summary = kptInspection::summarize(*extractor, options.convention);
  // A file with no results has nothing to pass: no verdict rather than a PASS of nothing.
  if (status != kptExtractionNoResults) record.verdict = summary.passed() ? "pass" : "fail";
  record.checks_in = static_cast<std::int64_t>(summary.checks_in);
  record.checks_out = static_cast<std::int64_t>(summary.checks_out);
  record.checks_not_toleranced = static_cast<std::int64_t>(summary.checks_not_toleranced);
  record.points_within = static_cast<std::int64_t>(summary.points_within);
  record.points_outside = static_cast<std::int64_t>(summary.points_outside);
  record.points_unmeasured = static_cast<std::int64_t>(summary.points_unmeasured);
  record.results = extractor->number_of_results();
  record.probe_paths = extractor->measured_paths_count();
  record.features = record.results - record.probe_paths;

  for_each_result(*extractor, [&](std::int32_t index, const mtrToolpathResult& result) {
    if (const auto* path_result = dynamic_cast<const mtrProbePath*>(&result)) {
      record.points += path_result->inspection_points_count();
      return;
    }
    const auto* feature = dynamic_cast<const mtrInspectionFeature*>(&result);
    if (feature == nullptr) return;
    const mtrInspectionPrintData& print = feature->print_data();
    for (const kptFeatureCheck& check : kptFeatureChecks::of(result, options.convention)) {
      CheckRow row;
      row.result = index;
      row.kind = kptResultNames::kind(result.kind());
      row.toolpath = static_cast<std::int32_t>(result.id());
      row.instance =
          result.pattern_instance() ? static_cast<std::int32_t>(*result.pattern_instance()) : -1;
      if (print.form() == mtrInspectionPrintData::kComponentFeature) {
        row.component = static_cast<std::int32_t>(print.component_number());
        row.feature = static_cast<std::int32_t>(print.feature_number());
      } else if (print.form() == mtrInspectionPrintData::kFeatureName) {
        row.feature = static_cast<std::int32_t>(print.feature_number());
        row.name = std::string(print.feature_name().view());
      }
      row.quantity = kpt_quantity_name(check.quantity);
      row.nominal = check.nominal;
      row.actual = check.actual;
      row.deviation = check.deviation;
      row.tolerance = check.tolerance;
      row.true_position = check.true_position;
      row.tolerance_used = check.tolerance_used;
      const kptCheckLimits limits = kptFeatureChecks::limits(check, options.convention);
      row.lower_limit = limits.lower;
      row.upper_limit = limits.upper;
      row.verdict = kpt_verdict_name(check.verdict);
      row.compared = check.compared;
      row.compared_limit = check.compared_limit;
      row.series = kptTrendSeriesSet::feature_key(result, row.quantity);
      record.checks.push_back(std::move(row));
    }
  });
  extractor->set_path_listener(nullptr);
  record.extractor_ = std::move(extractor);
  return record;
}

void RunRecord::for_each_point(const std::function<void(const PointRow&)>& fn) const {
  std::int32_t path_index = 0;
  std::int64_t first_index = 0;
  for_each_path([&](const mtrProbePath& probe_path) {
    for_each_point_of(probe_path, path_index++, first_index, fn);
    first_index += probe_path.inspection_points_count();
  });
}

void RunRecord::for_each_path(const std::function<void(const mtrProbePath&)>& fn) const {
  if (!extractor_) return;
  itIterator<std::shared_ptr<mtrProbePath>> paths = extractor_->measured_paths();
  while (++paths) {
    if (const std::shared_ptr<mtrProbePath> probe_path = paths()) fn(*probe_path);
  }
}

void for_each_point_of(const mtrProbePath& path, std::int32_t path_index, std::int64_t first_index,
                       const std::function<void(const PointRow&)>& fn) {
  PointRow row;
  row.index = first_index;
  row.path = path_index;
  row.toolpath = static_cast<std::int32_t>(path.id());
  row.instance = path.pattern_instance() ? static_cast<std::int32_t>(*path.pattern_instance()) : -1;
  for (unsigned int i = 0, count = path.inspection_points_count(); i < count; ++i) {
    const mtrInspectionPoint& point = path.inspection_point_ref(i);
    const utString label = point.label();  // made on demand; lives through fn(row)
    row.label = label.view();
    const giPoint3& n = point.nominal_point();
    const giUnitVec3& d = point.direction();
    row.nominal[0] = n.x(), row.nominal[1] = n.y(), row.nominal[2] = n.z();
    row.direction[0] = d.x(), row.direction[1] = d.y(), row.direction[2] = d.z();
    row.o = point.o_value();
    row.u = point.u_value();
    row.l = point.l_value();
    if (point.has_measure()) {
      const giPoint3& m = point.measured_point();
      row.measured[0] = m.x(), row.measured[1] = m.y(), row.measured[2] = m.z();
      row.r = point.r_value();
    } else {
      row.measured[0] = row.measured[1] = row.measured[2] = row.r = std::nan("");
    }
    const kptPointCheck check = kptPointChecks::of(point);
    row.deviation = check.deviation;
    const kptCheckLimits limits = kptPointChecks::limits(point);
    row.lower_limit = limits.lower;
    row.upper_limit = limits.upper;
    row.verdict = kpt_verdict_name(check.verdict);
    fn(row);
    ++row.index;
  }
}

std::string program_of(const std::string& path, const RunReferences& references) {
  for (const std::optional<std::string>* named :
       {&references.cldata_filename, &references.cad_filename}) {
    if (*named && !(*named)->empty()) {
      std::string name = base_name(**named);
      if (!name.empty()) return name;
    }
  }
  if (path == "-") return "-";
  std::string folder = stored_path(path);
  const std::size_t slash = folder.find_last_of("/\\");
  if (slash == std::string::npos) return "-";
  folder.erase(slash);
  const std::size_t parent = folder.find_last_of("/\\");
  std::string name = parent == std::string::npos ? folder : folder.substr(parent + 1);
  return name.empty() ? "-" : name;
}

}  // namespace store
