// The C interface to an extraction: a run's probe paths, points, features, checks and verdict.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "cncprobe/capi/internal/c_boundary.h"
#include "cncprobe/capi/internal/c_qif.h"
#include "cncprobe/cncprobe_c.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

using namespace capi_internal;

// Hosts copy these structs field for field from other languages: a change of size is a change
// of the interface.
static_assert(sizeof(cncprobe_summary) == 80);
static_assert(sizeof(cncprobe_path) == 96);
static_assert(sizeof(cncprobe_point) == 144);
static_assert(sizeof(cncprobe_feature) == 96);
static_assert(sizeof(cncprobe_check) == 72);

namespace {

constexpr double kAbsent = std::numeric_limits<double>::quiet_NaN();

double or_absent(const std::optional<double>& value) { return value ? *value : kAbsent; }

void put(double (&out)[3], const giPoint3& p) {
  out[0] = p.x();
  out[1] = p.y();
  out[2] = p.z();
}

void put(double (&out)[3], const giUnitVec3& v) {
  out[0] = v.x();
  out[1] = v.y();
  out[2] = v.z();
}

struct PathEntry {
  const mtrProbePath* path;
  std::size_t result_index;
  std::size_t first_point;
};

struct FeatureEntry {
  const mtrInspectionFeature* feature;
  std::size_t result_index;
  std::vector<kptFeatureCheck> checks;
};

}  // namespace

// One extraction and everything a host asks of it, worked out once: the paths with where their
// points start, the features with their checks, and the run's verdict.
struct cncprobe_extraction {
  kptResultsDataExtractor extractor;
  kptResultsExtractionStatus status = kptExtractionSuccess;
  kptZoneConvention convention = kptZoneDiametral;
  kptUnitsType units = kptUnitsMillimetres;
  QifSource source;  // what an export names and identifies the run by
  std::vector<PathEntry> paths;
  std::vector<FeatureEntry> features;
  std::size_t point_count = 0;
  kptInspectionSummary summary;

  void index() {
    std::size_t result_index = 0;
    itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
    while (++it) {
      const mtrToolpathResult* result = it().get();
      if (const auto* path = dynamic_cast<const mtrProbePath*>(result)) {
        paths.push_back({path, result_index, point_count});
        point_count += path->inspection_points_count();
      } else if (const auto* feature = dynamic_cast<const mtrInspectionFeature*>(result)) {
        features.push_back({feature, result_index, kptFeatureChecks::of(*feature, convention)});
      }
      ++result_index;
    }
    summary = kptInspection::summarize(extractor, convention);
  }

  // The path holding run point `point` (which must be below point_count).
  std::size_t path_of_point(std::size_t point) const {
    const auto after = std::upper_bound(
        paths.begin(), paths.end(), point,
        [](std::size_t p, const PathEntry& entry) { return p < entry.first_point; });
    return static_cast<std::size_t>(after - paths.begin()) - 1;
  }
};

namespace {

// Runs an extraction whose input `extract` reads, and refuses an input that could not be read.
template <class Extract>
cncprobe_error make_extraction(std::int32_t units, std::int32_t true_position,
                               cncprobe_extraction** out, Extract&& extract) noexcept {
  if (!known_units(units) || !known_convention(true_position)) return refuse(out);
  return hand_out(out, [&](std::unique_ptr<cncprobe_extraction>& run) {
    run = std::make_unique<cncprobe_extraction>();
    run->convention = static_cast<kptZoneConvention>(true_position);
    run->units = static_cast<kptUnitsType>(units);
    run->status = extract(run->extractor, kptUnits(static_cast<kptUnitsType>(units)));
    const cncprobe_error error = input_error(run->extractor.input_problem());
    if (error == CNCPROBE_OK) run->index();
    return error;
  });
}

std::int32_t path_verdict(const kptPathSummary& s) {
  if (s.outside > 0) return CNCPROBE_VERDICT_OUT;
  if (s.within > 0) return CNCPROBE_VERDICT_IN;
  if (s.points > 0 && s.measured == 0) return CNCPROBE_VERDICT_UNMEASURED;
  return CNCPROBE_VERDICT_NOT_TOLERANCED;
}

std::int32_t feature_verdict(const std::vector<kptFeatureCheck>& checks) {
  std::int32_t verdict = CNCPROBE_VERDICT_NOT_TOLERANCED;
  for (const kptFeatureCheck& check : checks) {
    if (check.verdict == kptVerdictOut) return CNCPROBE_VERDICT_OUT;
    if (check.verdict == kptVerdictIn) verdict = CNCPROBE_VERDICT_IN;
  }
  return verdict;
}

void put_point(const mtrInspectionPoint& point, std::uint32_t path_index, cncprobe_point& out) {
  put(out.nominal, point.nominal_point());
  put(out.direction, point.direction());
  if (point.has_measure()) {
    put(out.measured, point.measured_point());
    out.r = point.r_value();
  } else {
    out.measured[0] = out.measured[1] = out.measured[2] = kAbsent;
    out.r = kAbsent;
  }
  out.o = point.o_value();
  out.u = point.u_value();
  out.l = point.l_value();
  const kptPointCheck check = kptPointChecks::of(point);
  const kptCheckLimits limits = kptPointChecks::limits(point);
  out.deviation = or_absent(check.deviation);
  out.lower_limit = or_absent(limits.lower);
  out.upper_limit = or_absent(limits.upper);
  out.limit_used = or_absent(check.limit_used);
  out.path_index = path_index;
  out.verdict = check.verdict;
}

// Where a feature is, for a host that marks it on the part: see cncprobe_feature.
void put_position(const mtrInspectionFeature& feature, cncprobe_feature& out) {
  const auto both = [&](const giPoint3& nominal, const giPoint3& actual) {
    put(out.nominal_position, nominal);
    put(out.actual_position, actual);
  };
  switch (feature.kind()) {
    case mtrResultCircle: {
      const auto& f = static_cast<const mtrCircleFeature&>(feature);
      both(f.nominal().centre(), f.actual().centre());
      return;
    }
    case mtrResultRectangle: {
      const auto& f = static_cast<const mtrRectangleFeature&>(feature);
      both(f.nominal().centre(), f.actual().centre());
      return;
    }
    case mtrResultCorner: {
      const auto& f = static_cast<const mtrCornerFeature&>(feature);
      both(f.nominal().point(), f.actual().point());
      return;
    }
    case mtrResultSurface: {
      const auto& f = static_cast<const mtrSurfaceFeature&>(feature);
      both(f.nominal().point(), f.actual().point());
      out.axis = f.axis();
      return;
    }
    case mtrResultAngleSurface: {
      const auto& f = static_cast<const mtrAngleSurfaceFeature&>(feature);
      both(f.reference_plane().point(), f.reference_plane().point());
      return;
    }
    case mtrResultPerpendicularDistance: {
      const auto& f = static_cast<const mtrPerpendicularDistanceFeature&>(feature);
      both(f.nominal().point(), f.actual().point());
      out.axis = f.axis();
      return;
    }
    case mtrResultProbePath:
      break;
  }
  for (int i = 0; i < 3; ++i) out.nominal_position[i] = out.actual_position[i] = kAbsent;
}

}  // namespace

extern "C" {

cncprobe_error cncprobe_extract_file(const char* path, int32_t units, int32_t true_position,
                                     cncprobe_extraction** extraction) {
  if (path == nullptr) return refuse(extraction);
  const cncprobe_error error =
      make_extraction(units, true_position, extraction,
                      [&](kptResultsDataExtractor& extractor, const kptUnits& read_in) {
                        return extractor.extract_data(utString(std::string_view(path)), read_in);
                      });
  if (error == CNCPROBE_OK) (*extraction)->source = QifSource::of_file(path);
  return error;
}

cncprobe_error cncprobe_extract_memory(const void* bytes, size_t size, int32_t units,
                                       int32_t true_position, cncprobe_extraction** extraction) {
  if (bytes == nullptr && size > 0) return refuse(extraction);
  QifSource source;
  const cncprobe_error error =
      make_extraction(units, true_position, extraction,
                      [&](kptResultsDataExtractor& extractor, const kptUnits& read_in) {
                        const kptInputFile input = memory_input(bytes, size);
                        source = QifSource::of_bytes(input);
                        return extractor.extract_data(input, read_in);
                      });
  if (error == CNCPROBE_OK) (*extraction)->source = std::move(source);
  return error;
}

cncprobe_error cncprobe_extract_files(const char* const* paths, size_t count, int32_t units,
                                      int32_t true_position, uint32_t threads,
                                      cncprobe_extraction** extractions, cncprobe_error* errors) {
  if (count == 0) return CNCPROBE_OK;
  if (paths == nullptr || extractions == nullptr || errors == nullptr) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  for (size_t i = 0; i < count; ++i) extractions[i] = nullptr;
  if (!known_units(units) || !known_convention(true_position)) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  for (size_t i = 0; i < count; ++i) {
    if (paths[i] == nullptr) return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  // Building a parser costs little next to a small file now that the patterns are compiled once
  // per process, so each file gets a run of its own and the threads share nothing but the count.
  std::atomic<size_t> next{0};
  const auto work = [&] {
    for (size_t i = next++; i < count; i = next++) {
      errors[i] = cncprobe_extract_file(paths[i], units, true_position, &extractions[i]);
    }
  };
  const size_t wanted = std::min<size_t>(
      count, threads != 0 ? threads : std::max(1u, std::thread::hardware_concurrency()));
  std::vector<std::thread> workers;
  try {
    while (workers.size() + 1 < wanted) workers.emplace_back(work);
  } catch (...) {
    // No more threads to be had: those started and the caller's read the rest.
  }
  work();
  for (std::thread& worker : workers) worker.join();
  return CNCPROBE_OK;
}

void cncprobe_extraction_free(cncprobe_extraction** extraction) { free_handle(extraction); }

cncprobe_error cncprobe_extraction_status(const cncprobe_extraction* extraction, int32_t* status) {
  return get(extraction, status, [](const cncprobe_extraction& run, int32_t& out) {
    out = run.status;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_results_file(const cncprobe_extraction* extraction, char* buffer,
                                                size_t capacity, size_t* needed) {
  std::string name;
  return get_text(extraction, buffer, capacity, needed,
                  [&](const cncprobe_extraction& run, std::string_view& text) {
                    name = run.extractor.resultsfile_name().str();
                    text = name;
                    return CNCPROBE_OK;
                  });
}

cncprobe_error cncprobe_extraction_summary(const cncprobe_extraction* extraction,
                                           cncprobe_summary* summary) {
  return get(extraction, summary, [](const cncprobe_extraction& run, cncprobe_summary& out) {
    const kptInspectionSummary& s = run.summary;
    out = cncprobe_summary{};
    out.checks_in = s.checks_in;
    out.checks_out = s.checks_out;
    out.checks_not_toleranced = s.checks_not_toleranced;
    out.points_within = s.points_within;
    out.points_outside = s.points_outside;
    out.points_unmeasured = s.points_unmeasured;
    out.worst_check_feature = out.worst_check = out.worst_point = -1;
    if (s.worst_check) {
      for (std::size_t f = 0; f < run.features.size(); ++f) {
        if (run.features[f].result_index != s.worst_check->result_index) continue;
        const std::vector<kptFeatureCheck>& checks = run.features[f].checks;
        for (std::size_t c = 0; c < checks.size(); ++c) {
          if (checks[c].quantity != s.worst_check->check.quantity) continue;
          out.worst_check_feature = static_cast<int64_t>(f);
          out.worst_check = static_cast<int64_t>(c);
        }
      }
    }
    if (s.worst_point) {
      for (const PathEntry& entry : run.paths) {
        if (entry.result_index != s.worst_point->result_index) continue;
        out.worst_point = static_cast<int64_t>(entry.first_point + s.worst_point->point_index);
      }
    }
    out.passed = s.passed() ? 1 : 0;
    out.true_position = s.convention;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_path_count(const cncprobe_extraction* extraction,
                                              size_t* count) {
  return get(extraction, count, [](const cncprobe_extraction& run, size_t& out) {
    out = run.paths.size();
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_path(const cncprobe_extraction* extraction, size_t path_index,
                                        cncprobe_path* path) {
  return get(extraction, path, [&](const cncprobe_extraction& run, cncprobe_path& out) {
    if (path_index >= run.paths.size()) return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
    const PathEntry& entry = run.paths[path_index];
    const kptPathSummary s = kptPointChecks::summary(*entry.path);
    out = cncprobe_path{};
    out.smallest_deviation = or_absent(s.smallest_deviation);
    out.largest_deviation = or_absent(s.largest_deviation);
    out.worst_deviation = or_absent(s.worst_deviation);
    out.result_index = entry.result_index;
    out.first_point = entry.first_point;
    out.point_count = s.points;
    out.measured = s.measured;
    out.within = s.within;
    out.outside = s.outside;
    out.unmeasured = s.unmeasured;
    out.toolpath_id = entry.path->id();
    out.has_pattern_instance = entry.path->pattern_instance() ? 1 : 0;
    out.pattern_instance = entry.path->pattern_instance().value_or(0);
    out.verdict = path_verdict(s);
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_point_count(const cncprobe_extraction* extraction,
                                               size_t* count) {
  return get(extraction, count, [](const cncprobe_extraction& run, size_t& out) {
    out = run.point_count;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_points(const cncprobe_extraction* extraction, size_t first,
                                          size_t count, cncprobe_point* points) {
  if (extraction == nullptr || (points == nullptr && count > 0)) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  return guarded([&] {
    const cncprobe_extraction& run = *extraction;
    if (first > run.point_count || count > run.point_count - first) {
      return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
    }
    if (count == 0) return CNCPROBE_OK;
    std::size_t p = run.path_of_point(first);
    std::size_t in_path = first - run.paths[p].first_point;
    for (std::size_t i = 0; i < count; ++i) {
      while (in_path >= run.paths[p].path->inspection_points_count()) {
        ++p;  // paths without points are passed over
        in_path = 0;
      }
      const std::shared_ptr<mtrInspectionPoint> point =
          run.paths[p].path->inspection_point(static_cast<unsigned int>(in_path++));
      put_point(*point, static_cast<std::uint32_t>(p), points[i]);
    }
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_point_label(const cncprobe_extraction* extraction,
                                               size_t point_index, char* buffer, size_t capacity,
                                               size_t* needed) {
  // Labels are made when asked for: the text lives here until it has been copied out.
  utString label;
  return get_text(
      extraction, buffer, capacity, needed,
      [&](const cncprobe_extraction& run, std::string_view& text) {
        if (point_index >= run.point_count) return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
        const PathEntry& entry = run.paths[run.path_of_point(point_index)];
        label =
            entry.path->inspection_point(static_cast<unsigned int>(point_index - entry.first_point))
                ->label();
        text = label.view();
        return CNCPROBE_OK;
      });
}

cncprobe_error cncprobe_extraction_feature_count(const cncprobe_extraction* extraction,
                                                 size_t* count) {
  return get(extraction, count, [](const cncprobe_extraction& run, size_t& out) {
    out = run.features.size();
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_feature(const cncprobe_extraction* extraction,
                                           size_t feature_index, cncprobe_feature* feature) {
  return get(extraction, feature, [&](const cncprobe_extraction& run, cncprobe_feature& out) {
    if (feature_index >= run.features.size()) return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
    const FeatureEntry& entry = run.features[feature_index];
    const mtrInspectionFeature& f = *entry.feature;
    const mtrInspectionPrintData& identity = f.print_data();
    out = cncprobe_feature{};
    out.axis = -1;
    put_position(f, out);
    out.result_index = entry.result_index;
    out.toolpath_id = f.id();
    out.has_pattern_instance = f.pattern_instance() ? 1 : 0;
    out.pattern_instance = f.pattern_instance().value_or(0);
    out.kind = f.kind();
    out.identity = identity.form();
    out.component_number = identity.component_number();
    out.feature_number = identity.feature_number();
    out.check_count = static_cast<uint32_t>(entry.checks.size());
    out.verdict = feature_verdict(entry.checks);
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_extraction_feature_name(const cncprobe_extraction* extraction,
                                                size_t feature_index, char* buffer, size_t capacity,
                                                size_t* needed) {
  return get_text(extraction, buffer, capacity, needed,
                  [&](const cncprobe_extraction& run, std::string_view& text) {
                    if (feature_index >= run.features.size()) {
                      return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
                    }
                    text = run.features[feature_index].feature->print_data().feature_name().view();
                    return CNCPROBE_OK;
                  });
}

cncprobe_error cncprobe_extraction_check(const cncprobe_extraction* extraction,
                                         size_t feature_index, size_t check_index,
                                         cncprobe_check* check) {
  return get(extraction, check, [&](const cncprobe_extraction& run, cncprobe_check& out) {
    if (feature_index >= run.features.size() ||
        check_index >= run.features[feature_index].checks.size()) {
      return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
    }
    const kptFeatureCheck& c = run.features[feature_index].checks[check_index];
    const kptCheckLimits limits = kptFeatureChecks::limits(c, run.convention);
    out = cncprobe_check{};
    out.nominal = or_absent(c.nominal);
    out.actual = or_absent(c.actual);
    out.deviation = c.deviation;
    out.tolerance = or_absent(c.tolerance);
    out.tolerance_used = or_absent(c.tolerance_used);
    out.lower_limit = or_absent(limits.lower);
    out.upper_limit = or_absent(limits.upper);
    out.quantity = c.quantity;
    out.true_position = c.true_position ? 1 : 0;
    out.verdict = c.verdict;
    return CNCPROBE_OK;
  });
}

}  // extern "C"

cncprobe_error cncprobe_write_qif(const cncprobe_extraction* extraction, const char* path,
                                  const cncprobe_qif_options* options) {
  if (extraction == nullptr) return CNCPROBE_ERROR_INVALID_ARGUMENT;
  return write_qif(extraction->extractor, extraction->status, extraction->convention,
                   extraction->units, extraction->source, path, options);
}
