// cncprobe._cncprobe: the library seen from Python. The pure-Python package around it
// (python/cncprobe) shapes what this module hands out into enums, dataclasses and DataFrames;
// everything that reads files or judges a measurement stays in the library.
//
// The points of an extraction are copied into numpy arrays in one pass, without a Python object
// per point, and both the extraction and that copy run without the GIL, so threads extract files
// side by side.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "cncprobe/exchange/qif_writer.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/inspection/control_chart.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/inspection/verdict.h"
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

namespace py = pybind11;

namespace {

// ---------------------------------------------------------------------------------------------
// Strings. Text from a results file is UTF-8 as far as the machine wrote it; a byte that is not
// part of valid UTF-8 becomes U+FFFD, as in the tool's JSON, so the two always agree.

py::str text(std::string_view bytes) {
  PyObject* object =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "replace");
  if (!object) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(object);
}

py::object text_or_none(const utString& value) {
  if (value.invalid()) return py::none();
  return text(value.view());
}

py::object number_or_none(const std::optional<double>& value) {
  if (!value) return py::none();
  return py::float_(*value);
}

// A file name as the library wants it: the bytes of the name (os.fsencode on the Python side).
utString file_name(const py::bytes& name) { return utString(std::string_view(name)); }

kptUnits units_of(const std::string& units) {
  if (units == "mm") return kptUnits(kptUnitsMillimetres);
  if (units == "in") return kptUnits(kptUnitsInches);
  throw py::value_error("units must be \"mm\" or \"in\", not \"" + units + "\"");
}

// ---------------------------------------------------------------------------------------------
// Unreadable input: the library says why, the matching OSError says it in Python.

// The errno-like code of a problem and nothing when the input was read.
std::optional<int> errno_of(kptInputProblem problem) {
  switch (problem) {
    case kptInputReadable:
      return std::nullopt;
    case kptInputMissing:
      return ENOENT;
    case kptInputDirectory:
      return EISDIR;
    case kptInputNotRegularFile:
      return ENODEV;
    case kptInputPermissionDenied:
      return EACCES;
    case kptInputReadError:
      return EIO;
  }
  return EIO;
}

// Raises the OSError subclass Python itself picks for the errno (FileNotFoundError,
// IsADirectoryError, PermissionError, else OSError), with the given words and the file name.
[[noreturn]] void raise_os_error(int code, const char* words, const py::object& name) {
  py::object error = py::module_::import("builtins").attr("OSError")(code, words, name);
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
  throw py::error_already_set();
}

// Raises for an input the library could not read; returns when it was read.
void raise_input_problem(kptInputProblem problem, const py::object& name) {
  if (const std::optional<int> code = errno_of(problem)) {
    raise_os_error(*code, kpt_input_problem_text(problem), name);
  }
}

// ---------------------------------------------------------------------------------------------
// The result model in plain Python values (dicts, tuples), shaped like the tool's JSON.

py::tuple xyz(double x, double y, double z) { return py::make_tuple(x, y, z); }
py::tuple xyz(const giPoint3& p) { return xyz(p.x(), p.y(), p.z()); }
py::tuple xyz(const giUnitVec3& v) { return xyz(v.x(), v.y(), v.z()); }

const char* kind_name(const mtrToolpathResult& result) {
  return kptResultNames::kind(result.kind());
}

py::object axis_name(mtrProbeWCSAxis axis) {
  const char* name = kptResultNames::axis(axis);
  return name ? py::object(py::str(name)) : py::object(py::none());
}

py::object print_data(const mtrInspectionPrintData& data) {
  py::dict d;
  switch (data.form()) {
    case mtrInspectionPrintData::kComponentFeature:
      d["component"] = data.component_number();
      d["feature"] = data.feature_number();
      return d;
    case mtrInspectionPrintData::kFeatureName:
      d["feature"] = data.feature_number();
      d["name"] = text(data.feature_name().view());
      return d;
    case mtrInspectionPrintData::kInvalid:
      break;
  }
  return py::none();
}

py::dict plane(const giPlane& p) {
  py::dict d;
  d["point"] = xyz(p.point());
  d["normal"] = xyz(p.normal());
  return d;
}

// The fields of a feature after kind, toolpath_id, pattern_instance and print_data.
void feature_fields(const mtrToolpathResult& result, py::dict& d) {
  if (const auto* f = dynamic_cast<const mtrCircleFeature*>(&result)) {
    const auto circle = [](const giCircle3& c) {
      py::dict e;
      e["centre"] = xyz(c.centre());
      e["normal"] = xyz(c.normal());
      e["radius"] = c.radius().value();
      return e;
    };
    d["nominal"] = circle(f->nominal());
    d["actual"] = circle(f->actual());
    d["diameter_tolerance"] = number_or_none(f->diameter_tolerance());
    d["true_position_tolerance"] = number_or_none(f->true_position_tolerance());
  } else if (const auto* r = dynamic_cast<const mtrRectangleFeature*>(&result)) {
    const auto rectangle = [](const mtgRectangle3& q) {
      py::dict e;
      e["centre"] = xyz(q.centre());
      e["normal"] = xyz(q.normal());
      e["length_direction"] = xyz(q.length_direction());
      e["length"] = q.length().value();
      e["width"] = q.width().value();
      return e;
    };
    d["nominal"] = rectangle(r->nominal());
    d["actual"] = rectangle(r->actual());
    d["length_tolerance"] = number_or_none(r->length_tolerance());
    d["width_tolerance"] = number_or_none(r->width_tolerance());
    d["position_tolerance"] = number_or_none(r->position_tolerance());
  } else if (const auto* c = dynamic_cast<const mtrCornerFeature*>(&result)) {
    const auto line = [](const giInfLine3& l) {
      py::dict e;
      e["point"] = xyz(l.point());
      e["direction"] = xyz(l.direction());
      return e;
    };
    d["nominal"] = line(c->nominal());
    d["actual"] = line(c->actual());
    d["true_position_tolerance"] = number_or_none(c->true_position_tolerance());
  } else if (const auto* s = dynamic_cast<const mtrSurfaceFeature*>(&result)) {
    d["axis"] = axis_name(s->axis());
    d["nominal"] = plane(s->nominal());
    d["actual"] = plane(s->actual());
    d["position_tolerance"] = number_or_none(s->position_tolerance());
  } else if (const auto* a = dynamic_cast<const mtrAngleSurfaceFeature*>(&result)) {
    d["reference_plane"] = plane(a->reference_plane());
    d["reference_direction"] = xyz(a->reference_direction());
    d["nominal"] = a->nominal().degrees();
    d["actual"] = a->actual().degrees();
    d["angular_tolerance"] = a->angular_tolerance()
                                 ? py::object(py::float_(a->angular_tolerance()->degrees()))
                                 : py::object(py::none());
  } else if (const auto* w = dynamic_cast<const mtrPerpendicularDistanceFeature*>(&result)) {
    const auto distance = [](const mtgPerpendicularDistance& q) {
      py::dict e;
      e["point"] = xyz(q.point());
      e["normal"] = xyz(q.normal());
      e["direction"] = xyz(q.direction());
      e["distance"] = q.distance().value();
      return e;
    };
    d["axis"] = axis_name(w->axis());
    d["nominal"] = distance(w->nominal());
    d["actual"] = distance(w->actual());
    d["distance_tolerance"] = number_or_none(w->distance_tolerance());
    d["position_tolerance"] = number_or_none(w->position_tolerance());
  }
}

// ---------------------------------------------------------------------------------------------
// One extraction, kept alive as long as Python holds it (the points, labels and checks are read
// from it on demand).

class Extraction {
 public:
  Extraction(const py::bytes& name, const std::string& units)
      : extractor_(std::make_unique<kptResultsDataExtractor>()),
        name_(name),
        units_(units_of(units).type()) {
    const utString file = file_name(name);
    const kptUnits read_in = units_of(units);
    py::gil_scoped_release unlocked;
    read(file, read_in);
  }
  // Reads the file on the calling thread, touching no Python object (for a thread of a batch,
  // which runs without the GIL).
  Extraction(const utString& file, const kptUnits& units)
      : extractor_(std::make_unique<kptResultsDataExtractor>()) {
    read(file, units);
  }

  int status() const { return status_; }
  kptInputProblem input_problem() const { return problem_; }
  py::str results_file() const { return text(extractor_->resultsfile_name().view()); }
  std::size_t point_count() const { return points_; }

  // The run as a QIF 3.0 results document, handed to `write` (a callable taking bytes) piece by
  // piece. The file is read again for its header references and its digest. False when `time`
  // is not an XML date and time (nothing written); an exception `write` raises goes on.
  bool write_qif(const py::object& write, const std::string& shown_name, int convention,
                 int standard, int points, const std::string& time) const {
    kptQifDocument document;
    document.file_name = shown_name;
    document.units = units_;
    document.convention = static_cast<kptZoneConvention>(convention);
    document.standard = static_cast<kptDraftingStandard>(standard);
    document.points = static_cast<kptQifPoints>(points);
    document.time = time;
    if (!time.empty() && !kptQifWriter::valid_time(time)) return false;
    kptFileReferenceExtractor references;
    {
      py::gil_scoped_release unlocked;
      document.content_digest = kptQifWriter::digest_of_file(utString(std::string_view(name_)));
      (void)references.extract(apPath(name_));
    }
    std::optional<py::error_already_set> raised;
    kptQifWriter::write(*extractor_, status_, references, document, [&](std::string_view bytes) {
      try {
        write(py::bytes(bytes.data(), bytes.size()));
        return true;
      } catch (py::error_already_set& e) {
        raised = std::move(e);
        return false;
      }
    });
    if (raised) throw *raised;
    return true;
  }

  // Every result in the order of creation: a dict per result, shaped like the tool's JSON
  // (probe paths carry their position in the point arrays instead of their points).
  py::list results() const {
    py::list list;
    std::size_t path_index = 0;
    std::size_t start = 0;
    for (const auto& result : results_) {
      py::dict d;
      d["kind"] = kind_name(*result);
      d["toolpath_id"] = result->id();
      d["pattern_instance"] = result->pattern_instance()
                                  ? py::object(py::int_(*result->pattern_instance()))
                                  : py::object(py::none());
      if (const auto* path = dynamic_cast<const mtrProbePath*>(result.get())) {
        const std::size_t count = path->inspection_points_count();
        d["path_index"] = path_index++;
        d["start"] = start;
        d["count"] = count;
        start += count;
      } else if (const auto* feature = dynamic_cast<const mtrInspectionFeature*>(result.get())) {
        d["print_data"] = print_data(feature->print_data());
        feature_fields(*result, d);
      }
      list.append(std::move(d));
    }
    return list;
  }

  // The numbers of every point, one array per column, filled in one pass without the GIL.
  py::dict points() const {
    const auto n = static_cast<py::ssize_t>(points_);
    py::array_t<std::int32_t> path(n), toolpath(n), instance(n);
    const std::vector<py::ssize_t> n3{n, 3};
    py::array_t<double> nominal(n3), direction(n3);
    py::array_t<double> o(n), u(n), l(n), r(n);
    py::array_t<double> measured(n3);
    py::array_t<double> deviation(n);
    py::array_t<std::int8_t> verdict(n);
    {
      std::int32_t* path_p = path.mutable_data();
      std::int32_t* toolpath_p = toolpath.mutable_data();
      std::int32_t* instance_p = instance.mutable_data();
      double* nominal_p = nominal.mutable_data();
      double* direction_p = direction.mutable_data();
      double* o_p = o.mutable_data();
      double* u_p = u.mutable_data();
      double* l_p = l.mutable_data();
      double* measured_p = measured.mutable_data();
      double* r_p = r.mutable_data();
      double* deviation_p = deviation.mutable_data();
      std::int8_t* verdict_p = verdict.mutable_data();
      py::gil_scoped_release unlocked;
      constexpr double nan = std::numeric_limits<double>::quiet_NaN();
      std::size_t i = 0;
      std::int32_t path_index = 0;
      for (const mtrProbePath* p : paths_) {
        const auto id = static_cast<std::int32_t>(p->id());
        const std::int32_t inst =
            p->pattern_instance() ? static_cast<std::int32_t>(*p->pattern_instance()) : -1;
        itIterator<std::shared_ptr<mtrInspectionPoint>> it = p->inspection_points();
        while (++it) {
          const mtrInspectionPoint& point = *it();
          path_p[i] = path_index;
          toolpath_p[i] = id;
          instance_p[i] = inst;
          const giPoint3& nom = point.nominal_point();
          const giUnitVec3& dir = point.direction();
          nominal_p[3 * i] = nom.x();
          nominal_p[3 * i + 1] = nom.y();
          nominal_p[3 * i + 2] = nom.z();
          direction_p[3 * i] = dir.x();
          direction_p[3 * i + 1] = dir.y();
          direction_p[3 * i + 2] = dir.z();
          o_p[i] = point.o_value();
          u_p[i] = point.u_value();
          l_p[i] = point.l_value();
          if (point.has_measure()) {
            const giPoint3& m = point.measured_point();
            measured_p[3 * i] = m.x();
            measured_p[3 * i + 1] = m.y();
            measured_p[3 * i + 2] = m.z();
            r_p[i] = point.r_value();
          } else {
            measured_p[3 * i] = measured_p[3 * i + 1] = measured_p[3 * i + 2] = nan;
            r_p[i] = nan;
          }
          const kptPointCheck check = kptPointChecks::of(point);
          deviation_p[i] = check.deviation ? *check.deviation : nan;
          verdict_p[i] = static_cast<std::int8_t>(check.verdict);
          ++i;
        }
        ++path_index;
      }
    }
    py::dict d;
    d["path"] = path;
    d["toolpath"] = toolpath;
    d["instance"] = instance;
    d["nominal"] = nominal;
    d["direction"] = direction;
    d["o"] = o;
    d["u"] = u;
    d["l"] = l;
    d["measured"] = measured;
    d["r"] = r;
    d["deviation"] = deviation;
    d["verdict"] = verdict;
    return d;
  }

  // The label of every point, as a numpy array of str objects (labels may hold any text).
  py::array labels() const {
    py::array out(py::dtype("O"), std::vector<py::ssize_t>{static_cast<py::ssize_t>(points_)});
    auto** slots = static_cast<PyObject**>(out.mutable_data());
    std::size_t i = 0;
    for (const mtrProbePath* p : paths_) {
      itIterator<std::shared_ptr<mtrInspectionPoint>> it = p->inspection_points();
      while (++it) {
        py::str label = text(it()->label().view());
        Py_XDECREF(slots[i]);  // numpy fills a new object array with None
        slots[i++] = label.release().ptr();
      }
    }
    return out;
  }

  // One row per feature quantity, as columns: the library's checks of every feature.
  py::dict feature_checks(int convention) const {
    py::list result, kind, toolpath, instance, component, feature, name, quantity, nominal, actual,
        deviation, tolerance, true_position, verdict, tolerance_used, lower_limit, upper_limit,
        compared, compared_limit;
    std::size_t index = 0;
    for (const auto& r : results_) {
      const auto* f = dynamic_cast<const mtrInspectionFeature*>(r.get());
      if (f) {
        const mtrInspectionPrintData& data = f->print_data();
        for (const kptFeatureCheck& check :
             kptFeatureChecks::of(*r, static_cast<kptZoneConvention>(convention))) {
          result.append(index);
          kind.append(kind_name(*r));
          toolpath.append(r->id());
          instance.append(r->pattern_instance() ? static_cast<long long>(*r->pattern_instance())
                                                : -1LL);
          const bool numbered = data.form() == mtrInspectionPrintData::kComponentFeature;
          const bool named = data.form() == mtrInspectionPrintData::kFeatureName;
          component.append(numbered ? static_cast<long long>(data.component_number()) : -1LL);
          feature.append(numbered || named ? static_cast<long long>(data.feature_number()) : -1LL);
          name.append(named ? py::object(text(data.feature_name().view()))
                            : py::object(py::none()));
          quantity.append(static_cast<int>(check.quantity));
          nominal.append(check.nominal ? *check.nominal : std::nan(""));
          actual.append(check.actual ? *check.actual : std::nan(""));
          deviation.append(check.deviation);
          tolerance.append(check.tolerance ? *check.tolerance : std::nan(""));
          true_position.append(check.true_position);
          verdict.append(static_cast<int>(check.verdict));
          tolerance_used.append(check.tolerance_used ? *check.tolerance_used : std::nan(""));
          const kptCheckLimits limits =
              kptFeatureChecks::limits(check, static_cast<kptZoneConvention>(convention));
          lower_limit.append(limits.lower ? *limits.lower : std::nan(""));
          upper_limit.append(limits.upper ? *limits.upper : std::nan(""));
          compared.append(check.compared ? *check.compared : std::nan(""));
          compared_limit.append(check.compared_limit ? *check.compared_limit : std::nan(""));
        }
      }
      ++index;
    }
    py::dict d;
    d["result"] = result;
    d["kind"] = kind;
    d["toolpath"] = toolpath;
    d["instance"] = instance;
    d["component"] = component;
    d["feature"] = feature;
    d["name"] = name;
    d["quantity"] = quantity;
    d["nominal"] = nominal;
    d["actual"] = actual;
    d["deviation"] = deviation;
    d["tolerance"] = tolerance;
    d["true_position"] = true_position;
    d["verdict"] = verdict;
    d["tolerance_used"] = tolerance_used;
    d["lower_limit"] = lower_limit;
    d["upper_limit"] = upper_limit;
    d["compared"] = compared;
    d["compared_limit"] = compared_limit;
    return d;
  }

 private:
  void read(const utString& file, const kptUnits& units) {
    status_ = extractor_->extract_data(file, units);
    collect();
    problem_ = extractor_->input_problem();
  }

  // The results and probe paths, held once so that the passes above need no iterator copies.
  void collect() {
    itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor_->results();
    while (++it) {
      std::shared_ptr<mtrToolpathResult> result = it();
      if (!result) continue;
      if (const auto* path = dynamic_cast<const mtrProbePath*>(result.get())) {
        paths_.push_back(path);
        points_ += path->inspection_points_count();
      }
      results_.push_back(std::move(result));
    }
  }

  std::unique_ptr<kptResultsDataExtractor> extractor_;
  std::string name_;  // the file's name in bytes, read again by an export
  kptUnitsType units_ = kptUnitsMillimetres;
  kptResultsExtractionStatus status_ = kptExtractionSuccess;
  std::vector<std::shared_ptr<mtrToolpathResult>> results_;
  std::vector<const mtrProbePath*> paths_;
  std::size_t points_ = 0;
  kptInputProblem problem_ = kptInputReadable;
};

std::unique_ptr<Extraction> extract(const py::bytes& name, const py::object& shown_name,
                                    const std::string& units) {
  auto extraction = std::make_unique<Extraction>(name, units);
  raise_input_problem(extraction->input_problem(), shown_name);
  return extraction;
}

// ---------------------------------------------------------------------------------------------
// Many files per call. The files are split into runs of consecutive files, one run per thread,
// so that putting the runs' outcomes one after another keeps the order of the files.

// The threads a batch runs on: `asked`, or the machine's cores when 0; never more than the files.
std::size_t thread_count(std::size_t asked, std::size_t files) {
  const std::size_t threads = asked > 0 ? asked : std::thread::hardware_concurrency();
  return std::max<std::size_t>(1, std::min(threads, files));
}

// Runs fn(thread, first, last) on `threads` threads, each over its run [first, last) of
// [0, count); the first exception a thread met is thrown again here.
template <class Fn>
void on_threads(std::size_t count, std::size_t threads, const Fn& fn) {
  if (threads == 1) {
    fn(std::size_t{0}, std::size_t{0}, count);
    return;
  }
  std::vector<std::exception_ptr> failures(threads);
  std::vector<std::thread> pool;
  pool.reserve(threads);
  for (std::size_t t = 0; t < threads; ++t) {
    pool.emplace_back([&, t] {
      try {
        fn(t, count * t / threads, count * (t + 1) / threads);
      } catch (...) {
        failures[t] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : pool) thread.join();
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

std::vector<utString> file_names(const std::vector<py::bytes>& names) {
  std::vector<utString> files;
  files.reserve(names.size());
  for (const py::bytes& name : names) files.push_back(file_name(name));
  return files;
}

// Every file read on its own extractor, kept alive with its Extraction; the Python side turns an
// unreadable file (input_errno not None) into its OSError.
std::vector<std::unique_ptr<Extraction>> extract_many(const std::vector<py::bytes>& names,
                                                      const std::string& units,
                                                      std::size_t threads) {
  const std::vector<utString> files = file_names(names);
  const kptUnits read_in = units_of(units);
  std::vector<std::unique_ptr<Extraction>> extractions(files.size());
  {
    py::gil_scoped_release unlocked;
    on_threads(files.size(), thread_count(threads, files.size()),
               [&](std::size_t, std::size_t first, std::size_t last) {
                 for (std::size_t i = first; i < last; ++i) {
                   extractions[i] = std::make_unique<Extraction>(files[i], read_in);
                 }
               });
  }
  return extractions;
}

// A numpy array that takes over a vector's memory: the columns gathered without the GIL become
// arrays without a copy.
template <class T>
py::array_t<T> to_numpy(std::vector<T>&& values, std::vector<py::ssize_t> shape = {}) {
  if (shape.empty()) shape.push_back(static_cast<py::ssize_t>(values.size()));
  auto* owned = new std::vector<T>(std::move(values));
  py::capsule owner(owned, [](void* p) { delete static_cast<std::vector<T>*>(p); });
  return py::array_t<T>(shape, owned->data(), owner);
}

// Texts gathered as bytes without the GIL, made str objects (or None) at the end.
struct TextColumn {
  std::string bytes;
  std::vector<std::size_t> ends;
  std::vector<bool> missing;

  void add(std::string_view text) {
    bytes.append(text);
    ends.push_back(bytes.size());
    missing.push_back(false);
  }
  void add_none() {
    ends.push_back(bytes.size());
    missing.push_back(true);
  }
  void append(const TextColumn& other) {
    const std::size_t base = bytes.size();
    bytes.append(other.bytes);
    for (const std::size_t end : other.ends) ends.push_back(base + end);
    missing.insert(missing.end(), other.missing.begin(), other.missing.end());
  }
  // An object array of str (None where missing); equal texts in a row share one str.
  py::array to_numpy() const {
    py::array out(py::dtype("O"), std::vector<py::ssize_t>{static_cast<py::ssize_t>(ends.size())});
    auto** slots = static_cast<PyObject**>(out.mutable_data());
    std::size_t start = 0;
    std::string_view previous;
    py::object previous_text;
    for (std::size_t i = 0; i < ends.size(); ++i) {
      const std::string_view bytes_i(bytes.data() + start, ends[i] - start);
      start = ends[i];
      py::object value = py::none();
      if (!missing[i]) {
        if (!previous_text || bytes_i != previous) {
          previous_text = text(bytes_i);
          previous = bytes_i;
        }
        value = previous_text;
      }
      Py_XDECREF(slots[i]);  // numpy fills a new object array with None
      slots[i] = value.release().ptr();
    }
    return out;
  }
};

// The points and feature checks of many files, one row each, with the index of its file: the
// columns of Extraction.points(), labels() and feature_checks(), gathered without the GIL.
struct FrameColumns {
  // Points.
  std::vector<std::int32_t> point_file, path, toolpath, instance;
  std::vector<double> nominal, direction, o, u, l, measured, r, deviation;
  std::vector<std::int8_t> verdict;
  TextColumn label;
  // Feature checks.
  std::vector<std::int32_t> check_file, result, check_toolpath, check_instance, component, feature;
  std::vector<const char*> kind;
  TextColumn name;
  std::vector<std::int8_t> quantity, check_verdict;
  std::vector<double> check_nominal, actual, check_deviation, tolerance, tolerance_used,
      lower_limit, upper_limit, compared, compared_limit;
  std::vector<bool> true_position;

  void add_file(std::int32_t file, const kptResultsDataExtractor& extractor,
                kptZoneConvention convention, bool labels) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const auto or_nan = [](const std::optional<double>& v) { return v ? *v : nan; };
    itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor.results();
    std::int32_t index = 0;
    std::int32_t path_index = 0;
    while (++it) {
      const std::shared_ptr<mtrToolpathResult> held = it();
      if (!held) continue;
      const mtrToolpathResult& item = *held;
      const std::int32_t inst =
          item.pattern_instance() ? static_cast<std::int32_t>(*item.pattern_instance()) : -1;
      if (const auto* p = dynamic_cast<const mtrProbePath*>(&item)) {
        itIterator<std::shared_ptr<mtrInspectionPoint>> points = p->inspection_points();
        while (++points) {
          const mtrInspectionPoint& point = *points();
          point_file.push_back(file);
          path.push_back(path_index);
          toolpath.push_back(static_cast<std::int32_t>(p->id()));
          instance.push_back(inst);
          const giPoint3& nom = point.nominal_point();
          const giUnitVec3& dir = point.direction();
          nominal.insert(nominal.end(), {nom.x(), nom.y(), nom.z()});
          direction.insert(direction.end(), {dir.x(), dir.y(), dir.z()});
          o.push_back(point.o_value());
          u.push_back(point.u_value());
          l.push_back(point.l_value());
          if (point.has_measure()) {
            const giPoint3& m = point.measured_point();
            measured.insert(measured.end(), {m.x(), m.y(), m.z()});
            r.push_back(point.r_value());
          } else {
            measured.insert(measured.end(), {nan, nan, nan});
            r.push_back(nan);
          }
          const kptPointCheck check = kptPointChecks::of(point);
          deviation.push_back(or_nan(check.deviation));
          verdict.push_back(static_cast<std::int8_t>(check.verdict));
          if (labels) label.add(point.label().view());
        }
        ++path_index;
      } else if (const auto* f = dynamic_cast<const mtrInspectionFeature*>(&item)) {
        const mtrInspectionPrintData& data = f->print_data();
        const bool numbered = data.form() == mtrInspectionPrintData::kComponentFeature;
        const bool named = data.form() == mtrInspectionPrintData::kFeatureName;
        for (const kptFeatureCheck& check : kptFeatureChecks::of(item, convention)) {
          check_file.push_back(file);
          result.push_back(index);
          kind.push_back(kind_name(item));
          check_toolpath.push_back(static_cast<std::int32_t>(item.id()));
          check_instance.push_back(inst);
          component.push_back(numbered ? static_cast<std::int32_t>(data.component_number()) : -1);
          feature.push_back(numbered || named ? static_cast<std::int32_t>(data.feature_number())
                                              : -1);
          if (named) {
            name.add(data.feature_name().view());
          } else {
            name.add_none();
          }
          quantity.push_back(static_cast<std::int8_t>(check.quantity));
          check_nominal.push_back(or_nan(check.nominal));
          actual.push_back(or_nan(check.actual));
          check_deviation.push_back(check.deviation);
          tolerance.push_back(or_nan(check.tolerance));
          true_position.push_back(check.true_position);
          check_verdict.push_back(static_cast<std::int8_t>(check.verdict));
          tolerance_used.push_back(or_nan(check.tolerance_used));
          const kptCheckLimits limits = kptFeatureChecks::limits(check, convention);
          lower_limit.push_back(or_nan(limits.lower));
          upper_limit.push_back(or_nan(limits.upper));
          compared.push_back(or_nan(check.compared));
          compared_limit.push_back(or_nan(check.compared_limit));
        }
      }
      ++index;
    }
  }

  void append(FrameColumns&& other) {
    const auto join = [](auto& to, auto& from) { to.insert(to.end(), from.begin(), from.end()); };
    join(point_file, other.point_file), join(path, other.path), join(toolpath, other.toolpath);
    join(instance, other.instance), join(nominal, other.nominal);
    join(direction, other.direction), join(o, other.o), join(u, other.u), join(l, other.l);
    join(measured, other.measured), join(r, other.r), join(deviation, other.deviation);
    join(verdict, other.verdict);
    label.append(other.label);
    join(check_file, other.check_file), join(result, other.result);
    join(check_toolpath, other.check_toolpath), join(check_instance, other.check_instance);
    join(component, other.component), join(feature, other.feature), join(kind, other.kind);
    name.append(other.name);
    join(quantity, other.quantity), join(check_verdict, other.check_verdict);
    join(check_nominal, other.check_nominal), join(actual, other.actual);
    join(check_deviation, other.check_deviation), join(tolerance, other.tolerance);
    join(tolerance_used, other.tolerance_used), join(lower_limit, other.lower_limit);
    join(upper_limit, other.upper_limit), join(true_position, other.true_position);
    join(compared, other.compared), join(compared_limit, other.compared_limit);
    other = FrameColumns();
  }
};

// The points and checks of many files in one set of columns, the status of every file, and
// (index, errno, words) of every file that could not be read, which adds no rows.
py::dict read_frames(const std::vector<py::bytes>& names, const std::string& units,
                     std::size_t threads, int convention, bool labels) {
  const std::vector<utString> files = file_names(names);
  const kptUnits read_in = units_of(units);
  const auto zone = static_cast<kptZoneConvention>(convention);
  std::vector<std::int32_t> statuses(files.size());
  std::vector<kptInputProblem> problems(files.size(), kptInputReadable);
  std::vector<FrameColumns> parts;
  {
    py::gil_scoped_release unlocked;
    parts.resize(thread_count(threads, files.size()));  // one per thread
    on_threads(files.size(), parts.size(),
               [&](std::size_t part, std::size_t first, std::size_t last) {
                 kptResultsDataExtractor extractor;  // used again for every file of the run
                 for (std::size_t i = first; i < last; ++i) {
                   statuses[i] = extractor.extract_data(files[i], read_in);
                   problems[i] = extractor.input_problem();
                   if (problems[i] != kptInputReadable) continue;
                   parts[part].add_file(static_cast<std::int32_t>(i), extractor, zone, labels);
                 }
               });
    for (std::size_t p = 1; p < parts.size(); ++p) parts.front().append(std::move(parts[p]));
  }
  FrameColumns& c = parts.front();
  const auto n3 = [](const std::vector<double>& v) {
    return std::vector<py::ssize_t>{static_cast<py::ssize_t>(v.size() / 3), 3};
  };
  py::dict points;
  points["file"] = to_numpy(std::move(c.point_file));
  points["path"] = to_numpy(std::move(c.path));
  points["toolpath"] = to_numpy(std::move(c.toolpath));
  points["instance"] = to_numpy(std::move(c.instance));
  points["nominal"] = to_numpy(std::move(c.nominal), n3(c.nominal));
  points["direction"] = to_numpy(std::move(c.direction), n3(c.direction));
  points["o"] = to_numpy(std::move(c.o));
  points["u"] = to_numpy(std::move(c.u));
  points["l"] = to_numpy(std::move(c.l));
  points["measured"] = to_numpy(std::move(c.measured), n3(c.measured));
  points["r"] = to_numpy(std::move(c.r));
  points["deviation"] = to_numpy(std::move(c.deviation));
  points["verdict"] = to_numpy(std::move(c.verdict));
  py::dict checks;
  checks["file"] = to_numpy(std::move(c.check_file));
  checks["result"] = to_numpy(std::move(c.result));
  py::list kinds;
  for (const char* kind : c.kind) kinds.append(kind);
  checks["kind"] = kinds;
  checks["toolpath"] = to_numpy(std::move(c.check_toolpath));
  checks["instance"] = to_numpy(std::move(c.check_instance));
  checks["component"] = to_numpy(std::move(c.component));
  checks["feature"] = to_numpy(std::move(c.feature));
  checks["name"] = c.name.to_numpy();
  checks["quantity"] = to_numpy(std::move(c.quantity));
  checks["nominal"] = to_numpy(std::move(c.check_nominal));
  checks["actual"] = to_numpy(std::move(c.actual));
  checks["deviation"] = to_numpy(std::move(c.check_deviation));
  checks["tolerance"] = to_numpy(std::move(c.tolerance));
  py::array_t<bool> true_position(static_cast<py::ssize_t>(c.true_position.size()));
  std::copy(c.true_position.begin(), c.true_position.end(), true_position.mutable_data());
  checks["true_position"] = true_position;
  checks["verdict"] = to_numpy(std::move(c.check_verdict));
  checks["tolerance_used"] = to_numpy(std::move(c.tolerance_used));
  checks["lower_limit"] = to_numpy(std::move(c.lower_limit));
  checks["upper_limit"] = to_numpy(std::move(c.upper_limit));
  checks["compared"] = to_numpy(std::move(c.compared));
  checks["compared_limit"] = to_numpy(std::move(c.compared_limit));
  py::dict d;
  d["points"] = points;
  if (labels) d["labels"] = c.label.to_numpy();
  d["checks"] = checks;
  d["status"] = to_numpy(std::move(statuses));
  py::list unreadable;
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (const std::optional<int> code = errno_of(problems[i])) {
      unreadable.append(py::make_tuple(i, *code, kpt_input_problem_text(problems[i])));
    }
  }
  d["unreadable"] = unreadable;
  return d;
}

// ---------------------------------------------------------------------------------------------
// Header references and inspection settings.

py::dict references(const py::bytes& name, const py::object& shown_name) {
  const apPath path{std::string(std::string_view(name))};
  kptFileReferenceExtractor refs;
  apStatus status(0);
  {
    py::gil_scoped_release unlocked;
    status = refs.extract(path);
  }
  if (!status.ok()) {
    raise_input_problem(refs.input_problem(), shown_name);
    raise_os_error(EIO, "cannot be opened", shown_name);  // refused without a reason
  }
  const kptResultsFileVersion version = refs.results_file_version();
  py::dict d;
  d["status"] = status.value();
  py::dict v;
  v["text"] = text_or_none(refs.results_file_version_text());
  v["major"] = version.major_number();
  v["minor"] = version.minor_number();
  v["build"] = version.build_number();
  v["unversioned"] = version.unversioned();
  d["results_file_version"] = v;
  d["settings_filename"] = text_or_none(refs.settings_filename());
  d["cad_filename"] = text_or_none(refs.cad_filename());
  d["cldata_filename"] = text_or_none(refs.cldata_filename());
  d["document_id"] = text_or_none(refs.document_id());
  d["document_version"] = text_or_none(refs.document_version());
  d["model_version"] = text_or_none(refs.model_version());
  return d;
}

py::dict read_settings(const py::bytes& name, const std::string& units) {
  const apPath path{std::string(std::string_view(name))};
  kptInspectionSettings settings;
  settings.set_input_units(units_of(units));
  kptInspectionSettingsError error;
  kptInputProblem problem = kptInputReadable;
  {
    py::gil_scoped_release unlocked;
    // Opened first the way every reader of the library opens its input: the XML reader opens the
    // file by its name and would wait on a FIFO for a writer, and could not say why a file is
    // unreadable.
    problem = kptInputStream::open(utString(std::string_view(name))).problem();
    if (problem == kptInputReadable) error = kptInspectionSettingsReader::read(path, settings);
  }
  // The file opened a moment ago; the reader refusing its path means it went away since.
  if (problem == kptInputReadable && error == kptSettingsInvalidPath) problem = kptInputReadError;
  py::dict s;
  s["version"] = settings.version();
  s["input_units"] = settings.input_units().type() == kptUnitsInches ? "in" : "mm";
  s["proximity_criteria_mm"] = settings.proximity_criteria_mm();
  s["confetti_diameter_mm"] = settings.confetti_diameter_mm();
  s["linear_precision"] = settings.linear_precision();
  s["angular_precision"] = settings.angular_precision();
  s["unitless_precision"] = settings.unitless_precision();
  s["surface_point_label"] = text(settings.surface_point_label().view());
  py::dict d;
  d["code"] = static_cast<int>(problem == kptInputReadable ? error.code() : kptSettingsInvalidPath);
  d["message"] = text(problem == kptInputReadable ? error.message().utf8()
                                                  : std::string(kpt_input_problem_text(problem)));
  d["settings"] = s;
  // Why the file could not be read (an errno and its words); None when it was read.
  const std::optional<int> code = errno_of(problem);
  d["input_errno"] = code ? py::object(py::int_(*code)) : py::none();
  d["input_problem"] = kpt_input_problem_text(problem);
  return d;
}

// The control chart of one series (NaN for a run without a value), computed by the library so
// the Python numbers are the tool's: limits from the first `baseline` runs (all when 0), the
// indices against the tolerance limits (NaN for none), the violations from `first_judged` on.
py::dict control_chart(const std::vector<double>& values, double lower, double upper,
                       std::size_t baseline, std::uint32_t rules, std::size_t first_judged) {
  const std::size_t count = baseline == 0 || baseline > values.size() ? values.size() : baseline;
  kptCheckLimits tolerance;
  if (!std::isnan(lower)) tolerance.lower = lower;
  if (!std::isnan(upper)) tolerance.upper = upper;
  const kptControlLimits limits =
      kptControlChart::baseline(std::span<const double>(values.data(), count));
  const kptSeriesStatistics st =
      kptControlChart::analyse(values, tolerance, limits, rules, first_judged);
  const auto value = [](const std::optional<double>& v) {
    return v ? py::object(py::float_(*v)) : py::object(py::none());
  };
  const auto when_set = [&limits](double v) {
    return limits.usable() ? py::object(py::float_(v)) : py::object(py::none());
  };
  py::dict d;
  d["n"] = st.n;
  d["mean"] = value(st.mean);
  d["s"] = value(st.standard_deviation);
  d["min"] = value(st.min);
  d["max"] = value(st.max);
  d["state"] = kpt_control_state_name(limits.state);
  d["baseline_n"] = limits.n;
  d["centre"] = when_set(limits.centre);
  d["moving_range"] = when_set(limits.moving_range);
  d["sigma_within"] = when_set(limits.sigma);
  d["lcl"] = when_set(limits.lower);
  d["ucl"] = when_set(limits.upper);
  d["mr_ucl"] = when_set(limits.moving_range_upper);
  d["cp"] = value(st.cp);
  d["cpk"] = value(st.cpk);
  d["cpk_low"] = value(st.cpk_low);
  d["cpk_high"] = value(st.cpk_high);
  d["pp"] = value(st.pp);
  d["ppk"] = value(st.ppk);
  d["one_sided"] = st.one_sided;
  d["capability_preliminary"] = st.capability_preliminary;
  d["performance_preliminary"] = st.performance_preliminary;
  py::list violations;
  for (const kptRuleViolation& v : st.violations) {
    violations.append(
        py::make_tuple(v.run, v.rule, v.moving_range ? "moving_range" : "individuals", v.value));
  }
  d["violations"] = violations;
  return d;
}

}  // namespace

PYBIND11_MODULE(_cncprobe, m) {
  m.doc() = "The cncprobe library's extraction, references and settings readers (internal).";

  py::list statuses;
  for (int code = kptExtractionSuccess; code <= kptExtractionResultConflict; ++code) {
    statuses.append(
        py::make_tuple(code, kptStatusText::name(static_cast<kptResultsExtractionStatus>(code))));
  }
  m.attr("STATUSES") = statuses;
  py::list verdicts;
  for (int v = kptVerdictNotToleranced; v <= kptVerdictUnmeasured; ++v) {
    verdicts.append(py::make_tuple(v, kpt_verdict_name(static_cast<kptVerdict>(v))));
  }
  m.attr("VERDICTS") = verdicts;
  py::list quantities;
  for (int q = kptQuantityDiameter; q <= kptQuantityAngle; ++q) {
    quantities.append(py::make_tuple(q, kpt_quantity_name(static_cast<kptQuantity>(q))));
  }
  m.attr("QUANTITIES") = quantities;

  py::class_<Extraction>(m, "Extraction")
      .def_property_readonly("status", &Extraction::status)
      .def_property_readonly("results_file", &Extraction::results_file)
      .def_property_readonly("point_count", &Extraction::point_count)
      .def_property_readonly("input_errno",
                             [](const Extraction& e) { return errno_of(e.input_problem()); })
      .def_property_readonly(
          "input_problem",
          [](const Extraction& e) { return kpt_input_problem_text(e.input_problem()); })
      .def("results", &Extraction::results)
      .def("points", &Extraction::points)
      .def("labels", &Extraction::labels)
      .def("write_qif", &Extraction::write_qif, py::arg("write"), py::arg("shown_name"),
           py::arg("convention"), py::arg("standard"), py::arg("points"), py::arg("time"))
      .def("feature_checks", &Extraction::feature_checks, py::arg("convention") = 0);
  m.def(
      "valid_qif_time", [](const std::string& text) { return kptQifWriter::valid_time(text); },
      py::arg("text"));
  m.def("extract", &extract, py::arg("name"), py::arg("shown_name"), py::arg("units") = "mm");
  m.def("extract_many", &extract_many, py::arg("names"), py::arg("units") = "mm",
        py::arg("threads") = 0);
  m.def("read_frames", &read_frames, py::arg("names"), py::arg("units") = "mm",
        py::arg("threads") = 0, py::arg("convention") = 0, py::arg("labels") = true);
  m.def("references", &references, py::arg("name"), py::arg("shown_name"));
  m.def("read_settings", &read_settings, py::arg("name"), py::arg("units") = "mm");
  m.def("control_chart", &control_chart, py::arg("values"), py::arg("lower"), py::arg("upper"),
        py::arg("baseline"), py::arg("rules"), py::arg("first_judged"));
  m.def("parse_rules", [](const std::string& text) -> std::optional<std::uint32_t> {
    return kptControlChart::parse_rules(text);
  });
}
