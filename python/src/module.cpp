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

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cncprobe/exchange/qif_writer.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
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
    {
      py::gil_scoped_release unlocked;
      status_ = extractor_->extract_data(file, read_in);
      collect();
    }
    problem_ = extractor_->input_problem();
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
        deviation, tolerance, true_position, verdict, tolerance_used, lower_limit, upper_limit;
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
    return d;
  }

 private:
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
  {
    py::gil_scoped_release unlocked;
    error = kptInspectionSettingsReader::read(path, settings);
  }
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
  d["code"] = static_cast<int>(error.code());
  d["message"] = text(error.message().utf8());
  d["settings"] = s;
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
  m.def("references", &references, py::arg("name"), py::arg("shown_name"));
  m.def("read_settings", &read_settings, py::arg("name"), py::arg("units") = "mm");
}
