// kptQifWriter: the extraction walked section by section, written through libxml2's text writer.
//
// QIF links its layers by integer ids and counts every list in an n= attribute before the list,
// and the root carries the largest id before anything else. A million-point run cannot be held
// in memory to number it, so the writer walks the results once to count, then once per section,
// and gives every element an id computed from its place: the i-th feature's definition is
// feature-definition base + i, its nominal nominal base + i, and so on. Every walk visits the
// results and the layers of each result in the same order, so the numbers agree without a table.
#include "cncprobe/exchange/qif_writer.h"

#include <libxml/xmlwriter.h>

#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/exchange/internal/name_uuid.h"
#include "cncprobe/exchange/internal/xml_text.h"
#include "cncprobe/foundation/utc_time.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/inspection_summary.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/platform/geometry/vector3.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"
#include "cncprobe/platform/text/path.h"

#ifndef CNCPROBE_VERSION_TEXT
#define CNCPROBE_VERSION_TEXT "0"
#endif

namespace {

// ---------------------------------------------------------------------------------------------
// The XML stream.

const xmlChar* xml_chars(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

// libxml2's text writer over the caller's sink. Every call after a failure does nothing, so the
// walks need not test each element; the outcome is asked once at the end.
class XmlStream {
 public:
  explicit XmlStream(const kptQifWriter::Sink& sink) : sink_(sink) {
    xmlOutputBufferPtr buffer = xmlOutputBufferCreateIO(&XmlStream::take, nullptr, this, nullptr);
    if (buffer) writer_ = xmlNewTextWriter(buffer);  // the writer owns the buffer from here
    if (!writer_) {
      if (buffer) xmlOutputBufferClose(buffer);
      failed_ = true;
      return;
    }
    xmlTextWriterSetIndent(writer_, 1);
    xmlTextWriterSetIndentString(writer_, xml_chars("  "));
    check(xmlTextWriterStartDocument(writer_, "1.0", "UTF-8", nullptr));
  }
  ~XmlStream() {
    if (writer_) xmlFreeTextWriter(writer_);
  }
  XmlStream(const XmlStream&) = delete;
  XmlStream& operator=(const XmlStream&) = delete;

  void open(const char* name) {
    if (!failed_) check(xmlTextWriterStartElement(writer_, xml_chars(name)));
  }
  void close() {
    if (!failed_) check(xmlTextWriterEndElement(writer_));
  }
  // An attribute or a text whose bytes are already fit for XML (ex_xml_text); markup characters
  // are escaped by the writer.
  void attribute(const char* name, const std::string& value) {
    if (!failed_)
      check(xmlTextWriterWriteAttribute(writer_, xml_chars(name), xml_chars(value.c_str())));
  }
  void attribute(const char* name, std::uint64_t value) { attribute(name, std::to_string(value)); }
  void text(const std::string& value) {
    if (!failed_) check(xmlTextWriterWriteString(writer_, xml_chars(value.c_str())));
  }
  void element(const char* name, const std::string& value) {
    open(name);
    text(value);
    close();
  }
  void element(const char* name, std::uint64_t value) { element(name, std::to_string(value)); }
  // An empty element (<Measured/>).
  void empty(const char* name) {
    open(name);
    close();
  }
  // A decimal element; left out when the value is not finite. True when written.
  bool decimal(const char* name, double value) {
    std::string text;
    if (!ex_append_decimal(text, value)) return false;
    element(name, text);
    return true;
  }
  // "x y z"; left out when a coordinate is not finite. True when written.
  bool triple(const char* name, double x, double y, double z) {
    std::string text;
    if (!append_triple(text, x, y, z)) return false;
    element(name, text);
    return true;
  }
  static bool append_triple(std::string& text, double x, double y, double z) {
    const std::size_t size = text.size();
    const bool ok = ex_append_decimal(text, x) && (text += ' ', ex_append_decimal(text, y)) &&
                    (text += ' ', ex_append_decimal(text, z));
    if (!ok) text.resize(size);
    return ok;
  }

  // Ends the document and hands the rest to the sink; true when the sink took every byte.
  bool finish() {
    if (!failed_) check(xmlTextWriterEndDocument(writer_));
    if (!failed_) check(xmlTextWriterFlush(writer_));
    return !failed_ && !refused_;
  }

 private:
  void check(int written) {
    if (written < 0) failed_ = true;
  }
  // Bytes a refusing sink will not get are dropped here rather than reported to libxml2, which
  // would print an I/O error on the host's standard error; the refusal stops the walk instead.
  static int take(void* context, const char* bytes, int length) {
    auto* self = static_cast<XmlStream*>(context);
    if (!self->refused_ && length > 0 &&
        !self->sink_(std::string_view(bytes, static_cast<std::size_t>(length)))) {
      self->refused_ = true;
      self->failed_ = true;
    }
    return length;
  }

  const kptQifWriter::Sink& sink_;
  xmlTextWriterPtr writer_ = nullptr;
  bool failed_ = false;
  bool refused_ = false;
};

// ---------------------------------------------------------------------------------------------
// What each result becomes.

// The QIF feature forms results are written as. A rectangle has no form of its own: its length
// and width become two pairs of opposite parallel planes and its centre a point.
enum class Shape { kCircle, kPoint, kPlane, kOppositePlanes };

struct Feature {
  Shape shape;
  const char* suffix;  // appended to the result's name: "", " centre", " length", " width"
  const char* key;     // the feature's part in the result's identity (UUIDs)
  giPoint3 nominal_location, actual_location;
  std::optional<giUnitVec3> nominal_normal, actual_normal;
  // Circle: the diameter; opposite planes: the width across them.
  double nominal_size = 0.0, actual_size = 0.0;
};

// The QIF characteristic a checked quantity is written as.
enum class Kind { kDiameter, kLength, kWidth, kPosition, kLinearCoordinate, kAngle, kDistance };

struct Characteristic {
  Kind kind;
  std::size_t feature;  // index in the result's features
  kptFeatureCheck check;
  // A linear coordinate: the axis it is measured along ("XAXIS"...).
  const char* direction = nullptr;
  // A position whose zone lies between two planes (a wall or channel middle) rather than in a
  // cylinder.
  bool planar_zone = false;
};

struct Plan {
  std::vector<Feature> features;
  std::vector<Characteristic> characteristics;
};

const char* axis_direction(mtrProbeWCSAxis axis) {
  switch (axis) {
    case mtrProbeWCSAxisX:
      return "XAXIS";
    case mtrProbeWCSAxisY:
      return "YAXIS";
    case mtrProbeWCSAxisZ:
      return "ZAXIS";
  }
  return nullptr;
}

giUnitVec3 cross_of(const giUnitVec3& a, const giUnitVec3& b) {
  return giUnitVec3(giVector3(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
                              a.x() * b.y() - a.y() * b.x()));
}

// The characteristic kind of each checked quantity: a toleranced offset is a true position; an
// offset without tolerance can only be shown as the distance it is.
Kind kind_of(const kptFeatureCheck& check) {
  switch (check.quantity) {
    case kptQuantityDiameter:
      return Kind::kDiameter;
    case kptQuantityLength:
      return Kind::kLength;
    case kptQuantityWidth:
      return Kind::kWidth;
    case kptQuantityCentreOffset:
    case kptQuantityCornerOffset:
    case kptQuantityMiddle:
      return check.tolerance && std::isfinite(*check.tolerance) ? Kind::kPosition : Kind::kDistance;
    case kptQuantityPosition:
      return Kind::kLinearCoordinate;
    case kptQuantityAngle:
      return Kind::kAngle;
  }
  return Kind::kDistance;
}

Plan plan_of(const mtrToolpathResult& result, kptZoneConvention convention) {
  Plan plan;
  std::vector<std::size_t> feature_of_check;  // per check, in kptFeatureChecks::of's order
  const char* direction = nullptr;
  switch (result.kind()) {
    case mtrResultProbePath:
      return plan;
    case mtrResultCircle: {
      const auto& f = static_cast<const mtrCircleFeature&>(result);
      plan.features.push_back({Shape::kCircle, "", "circle", f.nominal().centre(),
                               f.actual().centre(), f.nominal().normal(), f.actual().normal(),
                               2.0 * f.nominal().radius().value(),
                               2.0 * f.actual().radius().value()});
      feature_of_check = {0, 0};
      break;
    }
    case mtrResultRectangle: {
      const auto& f = static_cast<const mtrRectangleFeature&>(result);
      const mtgRectangle3& n = f.nominal();
      const mtgRectangle3& a = f.actual();
      plan.features.push_back({Shape::kOppositePlanes, " length", "length", n.centre(), a.centre(),
                               n.length_direction(), a.length_direction(), n.length().value(),
                               a.length().value()});
      plan.features.push_back({Shape::kOppositePlanes, " width", "width", n.centre(), a.centre(),
                               cross_of(n.normal(), n.length_direction()),
                               cross_of(a.normal(), a.length_direction()), n.width().value(),
                               a.width().value()});
      plan.features.push_back(
          {Shape::kPoint, " centre", "centre", n.centre(), a.centre(), n.normal(), a.normal()});
      feature_of_check = {0, 1, 2};
      break;
    }
    case mtrResultCorner: {
      const auto& f = static_cast<const mtrCornerFeature&>(result);
      // The corner's edge direction is not a surface normal: the point carries none.
      plan.features.push_back({Shape::kPoint, "", "corner", f.nominal().point(), f.actual().point(),
                               std::nullopt, std::nullopt});
      feature_of_check = {0};
      break;
    }
    case mtrResultSurface: {
      const auto& f = static_cast<const mtrSurfaceFeature&>(result);
      plan.features.push_back({Shape::kPlane, "", "surface", f.nominal().point(),
                               f.actual().point(), f.nominal().normal(), f.actual().normal()});
      feature_of_check = {0};
      direction = axis_direction(f.axis());
      break;
    }
    case mtrResultAngleSurface: {
      // The file gives the angle and its reference plane, not the angled face: the plane feature
      // is placed on the reference plane and has no measured geometry.
      const auto& f = static_cast<const mtrAngleSurfaceFeature&>(result);
      plan.features.push_back({Shape::kPlane, "", "angle", f.reference_plane().point(),
                               giPoint3(NAN, NAN, NAN), f.reference_plane().normal(),
                               std::nullopt});
      feature_of_check = {0};
      break;
    }
    case mtrResultPerpendicularDistance: {
      const auto& f = static_cast<const mtrPerpendicularDistanceFeature&>(result);
      const mtgPerpendicularDistance& n = f.nominal();
      const mtgPerpendicularDistance& a = f.actual();
      plan.features.push_back({Shape::kOppositePlanes, "", "wall_channel", n.point(), a.point(),
                               n.direction(), a.direction(), n.distance().value(),
                               a.distance().value()});
      feature_of_check = {0, 0};
      break;
    }
  }
  const std::vector<kptFeatureCheck> checks = kptFeatureChecks::of(result, convention);
  for (std::size_t i = 0; i < checks.size() && i < feature_of_check.size(); ++i) {
    Characteristic c{kind_of(checks[i]), feature_of_check[i], checks[i]};
    if (c.kind == Kind::kLinearCoordinate) {
      c.direction = direction;
      if (!direction) c.kind = Kind::kDistance;  // no axis to measure the coordinate along
    }
    c.planar_zone = checks[i].quantity == kptQuantityMiddle;
    plan.characteristics.push_back(c);
  }
  return plan;
}

const char* element_prefix(Shape shape) {
  switch (shape) {
    case Shape::kCircle:
      return "CircleFeature";
    case Shape::kPoint:
      return "PointFeature";
    case Shape::kPlane:
      return "PlaneFeature";
    case Shape::kOppositePlanes:
      return "OppositeParallelPlanesFeature";
  }
  return "PointFeature";
}

const char* element_prefix(Kind kind) {
  switch (kind) {
    case Kind::kDiameter:
      return "DiameterCharacteristic";
    case Kind::kLength:
      return "LengthCharacteristic";
    case Kind::kWidth:
      return "WidthCharacteristic";
    case Kind::kPosition:
      return "PositionCharacteristic";
    case Kind::kLinearCoordinate:
      return "LinearCoordinateCharacteristic";
    case Kind::kAngle:
      return "AngleCharacteristic";
    case Kind::kDistance:
      return "DistanceFromCharacteristic";
  }
  return "DistanceFromCharacteristic";
}

// The value a characteristic measurement carries: the actual size or coordinate, or for a true
// position the diametral zone the offset needs (twice the offset, whatever the convention: a
// radial tolerance is written as its diametral equivalent).
std::optional<double> measured_value(const Characteristic& c) {
  switch (c.kind) {
    case Kind::kPosition:
      return 2.0 * std::fabs(c.check.deviation);
    case Kind::kDistance:
      return std::fabs(c.check.deviation);
    default:
      return c.check.actual;
  }
}

bool finite(const std::optional<double>& value) { return value && std::isfinite(*value); }

const char* status_of(kptVerdict verdict, bool has_value) {
  if (!has_value) return "NOT_ANALYZED";
  switch (verdict) {
    case kptVerdictIn:
      return "PASS";
    case kptVerdictOut:
      return "FAIL";
    default:
      return "NOT_ANALYZED";
  }
}

// ---------------------------------------------------------------------------------------------
// Names and identities.

std::string result_name(const mtrToolpathResult& result) {
  std::string name;
  if (result.kind() != mtrResultProbePath) {
    const mtrInspectionPrintData& data =
        static_cast<const mtrInspectionFeature&>(result).print_data();
    switch (data.form()) {
      case mtrInspectionPrintData::kComponentFeature:
        name = "component " + std::to_string(data.component_number()) + " feature " +
               std::to_string(data.feature_number());
        break;
      case mtrInspectionPrintData::kFeatureName:
        name = "feature " + std::to_string(data.feature_number()) + " " + data.feature_name().str();
        break;
      case mtrInspectionPrintData::kInvalid:
        break;
    }
  }
  if (name.empty())
    name = std::string(kptResultNames::kind(result.kind())) + " toolpath " +
           std::to_string(result.id());
  if (result.pattern_instance()) name += " (" + std::to_string(*result.pattern_instance()) + ")";
  return name;
}

// What names a result in every run of its program: kind, toolpath, pattern instance and the
// identity its report prints. The place in the file is left out, so a feature keeps its UUID
// when the program gains another before it.
std::string result_key(const mtrToolpathResult& result) {
  std::string key = kptResultNames::kind(result.kind());
  key += '\n' + std::to_string(result.id()) + '\n';
  if (result.pattern_instance()) key += std::to_string(*result.pattern_instance());
  if (result.kind() != mtrResultProbePath) {
    const mtrInspectionPrintData& data =
        static_cast<const mtrInspectionFeature&>(result).print_data();
    key += '\n' + std::to_string(static_cast<int>(data.form())) + '\n' +
           std::to_string(data.component_number()) + '\n' + std::to_string(data.feature_number()) +
           '\n' + data.feature_name().str();
  }
  return key;
}

std::string reference_text(const utString& text) { return text.valid() ? text.str() : ""; }

// The last part of a path written with / or \.
std::string base_name(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A relative URI reference for a file name: every byte outside the unreserved set and "/"
// percent-encoded, backslashes turned into slashes.
std::string uri_of(const std::string& file_name) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string uri;
  for (const char ch : file_name) {
    const auto byte = static_cast<unsigned char>(ch == '\\' ? '/' : ch);
    if (std::isalnum(byte) || byte == '-' || byte == '.' || byte == '_' || byte == '~' ||
        byte == '/') {
      uri += static_cast<char>(byte);
    } else {
      uri += '%';
      uri += kHex[byte >> 4];
      uri += kHex[byte & 0x0f];
    }
  }
  return uri;
}

// ---------------------------------------------------------------------------------------------
// The document.

class DocumentWriter {
 public:
  DocumentWriter(const kptResultsDataExtractor& extractor, kptResultsExtractionStatus status,
                 const kptFileReferenceExtractor& references, const kptQifDocument& document,
                 XmlStream& xml)
      : extractor_(extractor),
        status_(status),
        references_(references),
        document_(document),
        xml_(xml),
        summary_(kptInspection::summarize(extractor, document.convention)) {
    program_ = exNameUuid::of(exNameUuid::application(), "program\n" + program_identity());
    count();
  }

  void write() {
    xml_.open("QIFDocument");
    xml_.attribute("xmlns", std::string("http://qifstandards.org/xsd/qif3"));
    xml_.attribute("versionQIF", std::string("3.0.0"));
    xml_.attribute("idMax", id_max_);
    xml_.element("QPId", document_uuid("document").text());
    xml_.open("Version");
    xml_.element("TimeCreated", time_);
    xml_.close();
    write_header();
    write_standard();
    write_units();
    write_device();
    write_product();
    write_features();
    write_characteristics();
    write_results();
    xml_.close();
  }

  void set_time(std::string time) { time_ = std::move(time); }

 private:
  // Fixed ids of the elements every document has one of.
  static constexpr std::uint64_t kDeviceId = 1, kStandardId = 2, kPartId = 3,
                                 kDefinitionExternalId = 4, kDigitalModelId = 5, kResultsId = 6,
                                 kFirstCountedId = 10;

  // The program a run belongs to, as far as the file tells: its CL data, CAD model and document
  // id, else the name the machine gave its results, else the file's name.
  std::string program_identity() const {
    std::string identity = reference_text(references_.cldata_filename()) + '\n' +
                           reference_text(references_.cad_filename()) + '\n' +
                           reference_text(references_.document_id());
    if (identity.size() > 2) return identity;
    const std::string results_file = extractor_.resultsfile_name().str();
    return results_file.empty() ? "file\n" + base_name(document_.file_name)
                                : "resultsfile\n" + results_file;
  }

  exNameUuid document_uuid(const char* what) const {
    // The file's content names the document; its name only when there is no content digest.
    std::string name = std::string(what) + '\n' +
                       (document_.content_digest.empty() ? "name\n" + base_name(document_.file_name)
                                                         : document_.content_digest) +
                       '\n' + (document_.units == kptUnitsInches ? "in" : "mm") + '\n' +
                       kpt_zone_convention_name(document_.convention) + '\n' +
                       std::to_string(document_.standard) + '\n' +
                       std::to_string(document_.points) + '\n' + CNCPROBE_VERSION_TEXT;
    return exNameUuid::of(exNameUuid::application(), name);
  }

  // Whether a point gets a feature and characteristic of its own.
  bool point_written(const kptPointCheck& check) const {
    switch (document_.points) {
      case kptQifPointsAll:
        return true;
      case kptQifPointsOutside:
        return check.verdict == kptVerdictOut;
      case kptQifPointsNone:
        return false;
    }
    return false;
  }

  // A point goes into its path's measured point set when it was measured along a direction.
  static bool in_point_set(const mtrInspectionPoint& point, const kptPointCheck& check) {
    if (!point.has_measure() || !check.deviation || !std::isfinite(*check.deviation)) return false;
    const giPoint3& p = point.measured_point();
    const giUnitVec3& d = point.direction();
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()) &&
           std::isfinite(d.x()) && std::isfinite(d.y()) && std::isfinite(d.z());
  }

  // Calls fn(result) for every result.
  template <class Fn>
  void each_result(Fn&& fn) const {
    itIterator<std::shared_ptr<mtrToolpathResult>> it = extractor_.results();
    while (++it) {
      const std::shared_ptr<mtrToolpathResult> result = it();
      if (result) fn(*result);
    }
  }
  // Calls fn(point, check, number) for every point of the path that is written as a feature;
  // number counts every point of the path from 1.
  template <class Fn>
  void each_written_point(const mtrProbePath& path, Fn&& fn) const {
    if (document_.points == kptQifPointsNone) return;
    for (unsigned int i = 0, count = path.inspection_points_count(); i < count; ++i) {
      const mtrInspectionPoint& point = path.inspection_point_ref(i);
      const kptPointCheck check = kptPointChecks::of(point);
      if (point_written(check)) fn(point, check, std::size_t{i} + 1);
    }
  }

  void count() {
    each_result([&](const mtrToolpathResult& result) {
      if (result.kind() == mtrResultProbePath) {
        const auto& path = static_cast<const mtrProbePath&>(result);
        ++point_sets_;
        each_written_point(path,
                           [&](const mtrInspectionPoint& point, const kptPointCheck&, std::size_t) {
                             if (point.has_measure()) ++measured_features_;
                             ++features_;
                             ++characteristics_;
                           });
        return;
      }
      const Plan plan = plan_of(result, document_.convention);
      features_ += plan.features.size();
      measured_features_ += plan.features.size();
      characteristics_ += plan.characteristics.size();
    });
    feature_definition_base_ = kFirstCountedId;
    feature_nominal_base_ = feature_definition_base_ + features_;
    feature_item_base_ = feature_nominal_base_ + features_;
    feature_measurement_base_ = feature_item_base_ + features_;
    characteristic_definition_base_ = feature_measurement_base_ + features_;
    characteristic_nominal_base_ = characteristic_definition_base_ + characteristics_;
    characteristic_item_base_ = characteristic_nominal_base_ + characteristics_;
    characteristic_measurement_base_ = characteristic_item_base_ + characteristics_;
    point_set_base_ = characteristic_measurement_base_ + characteristics_;
    // The last counted block in use holds the largest id: every characteristic has a
    // measurement and every path a point set. Without them, the feature measurements of an
    // unmeasured point are left out, so idMax may lie above the largest id written, never below.
    id_max_ = point_set_base_ > kFirstCountedId ? point_set_base_ - 1 : kResultsId;
    if (point_sets_ > 0) id_max_ = point_set_base_ + point_sets_ - 1;
  }

  void write_header() {
    xml_.open("Header");
    xml_.open("Application");
    xml_.element("Name", std::string("cncprobe " CNCPROBE_VERSION_TEXT));
    xml_.close();
    std::string description = "On-machine probing results";
    if (!document_.file_name.empty()) description += " read from " + document_.file_name;
    description += document_.units == kptUnitsInches ? " (read in inches, written in millimetres)"
                                                     : " (read in millimetres)";
    xml_.element("Description", ex_xml_text(description));
    xml_.close();
  }

  void write_standard() {
    const bool asme = document_.standard == kptDraftingAsmeY145;
    xml_.open("StandardsDefinitions");
    xml_.attribute("n", 1);
    xml_.open("Standard");
    xml_.attribute("id", kStandardId);
    xml_.open("Organization");
    xml_.element("StandardsOrganizationEnum", std::string(asme ? "ASME" : "ISO"));
    xml_.close();
    xml_.element("Designator", std::string(asme ? "Y14.5" : "1101"));
    xml_.close();
    xml_.close();
  }

  void write_units() {
    xml_.open("FileUnits");
    xml_.open("PrimaryUnits");
    xml_.open("AngularUnit");
    xml_.element("SIUnitName", std::string("radian"));
    xml_.element("UnitName", std::string("degree"));
    xml_.open("UnitConversion");
    xml_.element("Factor", std::string("0.0174532925199433"));
    xml_.close();
    xml_.close();
    xml_.open("LinearUnit");
    xml_.element("SIUnitName", std::string("meter"));
    xml_.element("UnitName", std::string("mm"));
    xml_.open("UnitConversion");
    xml_.element("Factor", std::string("0.001"));
    xml_.close();
    xml_.close();
    xml_.close();
    xml_.close();
  }

  void write_device() {
    xml_.open("MeasurementResources");
    xml_.open("MeasurementDevices");
    xml_.attribute("n", 1);
    xml_.open("MeasurementDevice");
    xml_.attribute("id", kDeviceId);
    xml_.element("Name", std::string("CNC machine tool with spindle touch probe"));
    xml_.element("Description",
                 std::string("On-machine probing; the results file does not describe the machine"));
    xml_.close();
    xml_.close();
    xml_.close();
  }

  void write_attribute_str(const char* name, const std::string& value) {
    xml_.open("AttributeStr");
    xml_.attribute("name", std::string(name));
    xml_.attribute("value", ex_xml_text(value));
    xml_.close();
  }
  void write_attribute_int(const char* name, std::uint64_t value) {
    xml_.open("AttributeI1");
    xml_.attribute("name", std::string(name));
    xml_.attribute("value", value);
    xml_.close();
  }

  void write_product() {
    const std::string cad = reference_text(references_.cad_filename());
    const std::string document_id = reference_text(references_.document_id());
    const std::string model_version = reference_text(references_.model_version());
    const std::string document_version = reference_text(references_.document_version());
    xml_.open("Product");
    xml_.open("PartSet");
    xml_.attribute("n", 1);
    xml_.open("Part");
    xml_.attribute("id", kPartId);
    const std::size_t attributes = (document_id.empty() ? 0 : 1) + (model_version.empty() ? 0 : 1);
    if (attributes > 0) {
      xml_.open("Attributes");
      xml_.attribute("n", attributes);
      if (!document_id.empty()) write_attribute_str("cncprobe:document_id", document_id);
      if (!model_version.empty()) write_attribute_str("cncprobe:model_version", model_version);
      xml_.close();
    }
    if (!document_version.empty()) xml_.element("Version", ex_xml_text(document_version));
    if (!cad.empty()) {
      xml_.open("DefinitionExternal");
      xml_.attribute("id", kDefinitionExternalId);
      xml_.attribute("n", 1);
      xml_.open("DigitalModel");
      xml_.attribute("id", kDigitalModelId);
      xml_.element("Name", ex_xml_text(base_name(cad)));
      xml_.open("File");
      xml_.element("Name", ex_xml_text(cad));
      xml_.close();
      xml_.close();
      xml_.close();
    }
    xml_.close();
    xml_.close();
    xml_.close();
  }

  // --- Features --------------------------------------------------------------------------------

  // Walks every feature in document order: fn(index, feature, result, name, key) for the
  // features of reports, point_fn(index, point, check, path, number) for inspection points.
  template <class FeatureFn, class PointFn>
  void each_feature(FeatureFn&& feature_fn, PointFn&& point_fn) const {
    std::uint64_t index = 0;
    each_result([&](const mtrToolpathResult& result) {
      if (result.kind() == mtrResultProbePath) {
        const auto& path = static_cast<const mtrProbePath&>(result);
        each_written_point(
            path, [&](const mtrInspectionPoint& point, const kptPointCheck& check,
                      std::size_t number) { point_fn(index++, point, check, result, number); });
        return;
      }
      const Plan plan = plan_of(result, document_.convention);
      for (const Feature& feature : plan.features) feature_fn(index++, feature, result);
    });
  }

  void write_features() {
    if (features_ == 0) return;
    xml_.open("Features");

    xml_.open("FeatureDefinitions");
    xml_.attribute("n", features_);
    each_feature(
        [&](std::uint64_t i, const Feature& f, const mtrToolpathResult&) {
          xml_.open((std::string(element_prefix(f.shape)) + "Definition").c_str());
          xml_.attribute("id", feature_definition_base_ + i);
          if (f.shape == Shape::kCircle || f.shape == Shape::kOppositePlanes) {
            // Bore or boss, channel or wall: the report does not say.
            xml_.element("InternalExternal", std::string("NOT_APPLICABLE"));
            const char* size = f.shape == Shape::kCircle ? "Diameter" : "Width";
            if (!xml_.decimal(size, f.nominal_size)) xml_.element(size, std::string("0"));
          }
          if (f.shape == Shape::kOppositePlanes) {
            xml_.open("EndType");
            xml_.element("SlotEndEnum", std::string("OPEN"));
            xml_.close();
          }
          xml_.close();
        },
        [&](std::uint64_t i, const mtrInspectionPoint&, const kptPointCheck&,
            const mtrToolpathResult&, std::size_t) {
          xml_.open("PointFeatureDefinition");
          xml_.attribute("id", feature_definition_base_ + i);
          xml_.close();
        });
    xml_.close();

    xml_.open("FeatureNominals");
    xml_.attribute("n", features_);
    each_feature(
        [&](std::uint64_t i, const Feature& f, const mtrToolpathResult&) {
          xml_.open((std::string(element_prefix(f.shape)) + "Nominal").c_str());
          xml_.attribute("id", feature_nominal_base_ + i);
          xml_.element("FeatureDefinitionId", feature_definition_base_ + i);
          write_location(f.shape, f.nominal_location, f.nominal_normal, true);
          xml_.close();
        },
        [&](std::uint64_t i, const mtrInspectionPoint& point, const kptPointCheck&,
            const mtrToolpathResult&, std::size_t) {
          xml_.open("PointFeatureNominal");
          xml_.attribute("id", feature_nominal_base_ + i);
          xml_.element("FeatureDefinitionId", feature_definition_base_ + i);
          write_location(Shape::kPoint, point.nominal_point(), point.direction(), true);
          xml_.close();
        });
    xml_.close();

    xml_.open("FeatureItems");
    xml_.attribute("n", features_);
    each_feature(
        [&](std::uint64_t i, const Feature& f, const mtrToolpathResult& result) {
          write_feature_item(element_prefix(f.shape), i, result, result_name(result) + f.suffix,
                             result_key(result) + '\n' + f.key, std::nullopt);
        },
        [&](std::uint64_t i, const mtrInspectionPoint& point, const kptPointCheck&,
            const mtrToolpathResult& path, std::size_t number) {
          write_feature_item("PointFeature", i, path, point.label().str(),
                             result_key(path) + "\npoint\n" + std::to_string(number), number);
        });
    xml_.close();

    xml_.close();
  }

  // Location and normal of a nominal (required for a plane, optional elsewhere) or measured
  // feature. An opposite-planes feature has them as its centre plane. A normal that is not a
  // unit vector (a point probed along no direction) is left out.
  void write_location(Shape shape, const giPoint3& location,
                      const std::optional<giUnitVec3>& normal, bool nominal) {
    const bool unit =
        normal && std::fabs(std::hypot(normal->x(), normal->y(), normal->z()) - 1.0) < 1e-9;
    if (shape == Shape::kOppositePlanes) {
      if (!nominal && !(unit && finite_point(location))) return;
      xml_.open("CenterPlane");
      write_location_pair(location, unit ? *normal : giUnitVec3(gi_AxisZ), "Point");
      xml_.close();
      return;
    }
    const bool required = nominal && shape == Shape::kPlane;
    if (required) {
      write_location_pair(location, unit ? *normal : giUnitVec3(gi_AxisZ), "Location");
      return;
    }
    if (shape == Shape::kCircle && nominal) {
      // A circle nominal needs its centre; a centre the file did not give stays at the origin.
      if (!xml_.triple("Location", location.x(), location.y(), location.z())) {
        xml_.element("Location", std::string("0 0 0"));
      }
    } else {
      xml_.triple("Location", location.x(), location.y(), location.z());
    }
    if (unit) xml_.triple("Normal", normal->x(), normal->y(), normal->z());
  }
  void write_location_pair(const giPoint3& location, const giUnitVec3& normal,
                           const char* point_name) {
    if (!xml_.triple(point_name, location.x(), location.y(), location.z())) {
      xml_.element(point_name, std::string("0 0 0"));
    }
    if (!xml_.triple("Normal", normal.x(), normal.y(), normal.z())) {
      xml_.element("Normal", std::string("0 0 1"));
    }
  }
  static bool finite_point(const giPoint3& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
  }

  void write_feature_item(const char* prefix, std::uint64_t i, const mtrToolpathResult& result,
                          const std::string& name, const std::string& key,
                          std::optional<std::size_t> point_number) {
    xml_.open((std::string(prefix) + "Item").c_str());
    xml_.attribute("id", feature_item_base_ + i);
    xml_.open("Attributes");
    xml_.attribute("n", (result.pattern_instance() ? 2 : 1) + (point_number ? 1 : 0));
    write_attribute_int("cncprobe:toolpath_id", result.id());
    if (result.pattern_instance()) {
      write_attribute_int("cncprobe:pattern_instance", *result.pattern_instance());
    }
    if (point_number) write_attribute_int("cncprobe:point_number", *point_number);
    xml_.close();
    xml_.element("FeatureNominalId", feature_nominal_base_ + i);
    xml_.element("FeatureName", ex_xml_text(name));
    xml_.element("UUID", exNameUuid::of(program_, "feature\n" + key).text());
    xml_.open("DeterminationMode");
    xml_.open("Checked");
    xml_.open("CheckDetails");
    xml_.empty("Measured");
    xml_.close();
    xml_.close();
    xml_.close();
    xml_.close();
  }

  // --- Characteristics -------------------------------------------------------------------------

  // Walks every characteristic in document order: fn(index, characteristic, feature index,
  // result) for report checks, point_fn(index, point, check, feature index, path, number) for
  // inspection points.
  template <class CheckFn, class PointFn>
  void each_characteristic(CheckFn&& check_fn, PointFn&& point_fn) const {
    std::uint64_t index = 0;
    std::uint64_t feature = 0;
    each_result([&](const mtrToolpathResult& result) {
      if (result.kind() == mtrResultProbePath) {
        const auto& path = static_cast<const mtrProbePath&>(result);
        each_written_point(path, [&](const mtrInspectionPoint& point, const kptPointCheck& check,
                                     std::size_t number) {
          point_fn(index++, point, check, feature++, result, number);
        });
        return;
      }
      const Plan plan = plan_of(result, document_.convention);
      for (const Characteristic& c : plan.characteristics) {
        check_fn(index++, c, feature + c.feature, result);
      }
      feature += plan.features.size();
    });
  }

  void write_characteristics() {
    if (characteristics_ == 0) return;
    xml_.open("Characteristics");
    xml_.element("FormalStandardId", kStandardId);

    xml_.open("CharacteristicDefinitions");
    xml_.attribute("n", characteristics_);
    each_characteristic([&](std::uint64_t i, const Characteristic& c, std::uint64_t,
                            const mtrToolpathResult&) { write_definition(i, c); },
                        [&](std::uint64_t i, const mtrInspectionPoint& point, const kptPointCheck&,
                            std::uint64_t, const mtrToolpathResult&, std::size_t) {
                          xml_.open("PointProfileCharacteristicDefinition");
                          xml_.attribute("id", characteristic_definition_base_ + i);
                          // The point's zone: L <= d - O <= U, i.e. d between O + L and O + U along
                          // the probing direction; QIF gives the width and the outer limit.
                          if (!xml_.decimal("ToleranceValue", point.u_value() - point.l_value())) {
                            xml_.element("ToleranceValue", std::string("0"));
                          }
                          xml_.decimal("OuterDisposition", point.o_value() + point.u_value());
                          xml_.close();
                        });
    xml_.close();

    xml_.open("CharacteristicNominals");
    xml_.attribute("n", characteristics_);
    each_characteristic(
        [&](std::uint64_t i, const Characteristic& c, std::uint64_t, const mtrToolpathResult&) {
          xml_.open((std::string(element_prefix(c.kind)) + "Nominal").c_str());
          xml_.attribute("id", characteristic_nominal_base_ + i);
          xml_.element("CharacteristicDefinitionId", characteristic_definition_base_ + i);
          if (c.kind == Kind::kDistance) {
            // An offset from the nominal, whose own offset is nothing: in space for a centre or
            // corner, along the axis for a middle.
            xml_.element("TargetValue", std::string("0"));
            xml_.element("AnalysisMode",
                         std::string(c.check.quantity == kptQuantityMiddle ? "ONEDIMENSIONAL"
                                                                           : "THREEDIMENSIONAL"));
          } else if (c.kind != Kind::kPosition && c.check.nominal) {
            xml_.decimal("TargetValue", *c.check.nominal);
          }
          if (c.kind == Kind::kLinearCoordinate)
            xml_.element("Direction", std::string(c.direction));
          xml_.close();
        },
        [&](std::uint64_t i, const mtrInspectionPoint&, const kptPointCheck&, std::uint64_t,
            const mtrToolpathResult&, std::size_t) {
          xml_.open("PointProfileCharacteristicNominal");
          xml_.attribute("id", characteristic_nominal_base_ + i);
          xml_.element("CharacteristicDefinitionId", characteristic_definition_base_ + i);
          xml_.close();
        });
    xml_.close();

    xml_.open("CharacteristicItems");
    xml_.attribute("n", characteristics_);
    each_characteristic(
        [&](std::uint64_t i, const Characteristic& c, std::uint64_t feature,
            const mtrToolpathResult& result) {
          write_characteristic_item(
              element_prefix(c.kind), i, feature,
              result_name(result) + " " + kpt_quantity_label(c.check.quantity),
              result_key(result) + '\n' + kpt_quantity_name(c.check.quantity));
        },
        [&](std::uint64_t i, const mtrInspectionPoint& point, const kptPointCheck&,
            std::uint64_t feature, const mtrToolpathResult& path, std::size_t number) {
          write_characteristic_item(
              "PointProfileCharacteristic", i, feature, point.label().str() + " deviation",
              result_key(path) + "\npoint\n" + std::to_string(number) + "\ndeviation");
        });
    xml_.close();

    xml_.close();
  }

  void write_bilateral(const std::optional<double>& tolerance) {
    if (finite(tolerance)) {
      xml_.open("Tolerance");
      xml_.decimal("MaxValue", *tolerance);
      xml_.decimal("MinValue", -*tolerance);
      xml_.element("DefinedAsLimit", std::string("false"));
      xml_.close();
    } else {
      xml_.element("NonTolerance", std::string("MEASURED"));
    }
  }

  void write_definition(std::uint64_t i, const Characteristic& c) {
    xml_.open((std::string(element_prefix(c.kind)) + "Definition").c_str());
    xml_.attribute("id", characteristic_definition_base_ + i);
    switch (c.kind) {
      case Kind::kPosition: {
        // Always a diametral zone (a width for a middle): a radial reading of TOL TP is written
        // as the zone twice its size, and the results say which reading was made.
        const double tolerance =
            document_.convention == kptZoneRadial ? 2.0 * *c.check.tolerance : *c.check.tolerance;
        xml_.decimal("ToleranceValue", tolerance);
        xml_.element("MaterialCondition", std::string("REGARDLESS"));
        xml_.open("ZoneShape");
        xml_.empty(c.planar_zone ? "NonDiametricalZone" : "DiametricalZone");
        xml_.close();
        break;
      }
      case Kind::kDistance:
        write_bilateral(std::nullopt);
        break;
      default:
        write_bilateral(c.check.tolerance);
        break;
    }
    xml_.close();
  }

  void write_characteristic_item(const char* prefix, std::uint64_t i, std::uint64_t feature,
                                 const std::string& name, const std::string& key) {
    xml_.open((std::string(prefix) + "Item").c_str());
    xml_.attribute("id", characteristic_item_base_ + i);
    xml_.element("Name", ex_xml_text(name));
    xml_.open("CharacteristicDesignator");
    xml_.element("Designator", std::to_string(i + 1));
    xml_.element("UUID", exNameUuid::of(program_, "characteristic\n" + key).text());
    xml_.close();
    xml_.open("FeatureItemIds");
    xml_.attribute("n", 1);
    xml_.element("Id", feature_item_base_ + feature);
    xml_.close();
    xml_.open("MeasurementDeviceIds");
    xml_.attribute("n", 1);
    xml_.element("Id", kDeviceId);
    xml_.close();
    xml_.element("CharacteristicNominalId", characteristic_nominal_base_ + i);
    xml_.close();
  }

  // --- Results ---------------------------------------------------------------------------------

  void write_results() {
    xml_.open("Results");
    xml_.open("MeasurementResultsSet");
    xml_.attribute("n", 1);
    xml_.open("MeasurementResults");
    xml_.attribute("id", kResultsId);
    write_results_attributes();
    xml_.open("InspectionTraceability");
    const std::string results_file = extractor_.resultsfile_name().str();
    if (!results_file.empty()) xml_.element("ReportNumber", ex_xml_text(results_file));
    xml_.element("ReportPreparationDate", time_);
    if (status_ != kptExtractionSuccess) {
      xml_.open("Errors");
      xml_.attribute("n", 1);
      xml_.element("Error", ex_xml_text(std::string(kptStatusText::name(status_)) + ": " +
                                        kptStatusText::meaning(status_)));
      xml_.close();
    }
    xml_.close();
    xml_.element("ThisResultsInstanceQPId", document_uuid("results").text());
    if (!document_.file_name.empty() && document_.file_name != "-") {
      xml_.open("ExternalFileReferences");
      xml_.attribute("n", 1);
      xml_.open("ExternalFileReference");
      xml_.element("URI", ex_xml_text(uri_of(document_.file_name)));
      xml_.open("FileSpec");
      xml_.element("OtherFileSpec", std::string("on-machine probing results file"));
      xml_.close();
      xml_.element("Description", std::string("The results file these results were read from"));
      xml_.close();
      xml_.close();
    }
    if (measured_features_ > 0) {
      xml_.open("MeasuredFeatures");
      xml_.attribute("n", measured_features_);
      write_feature_measurements();
      xml_.close();
    }
    if (point_sets_ > 0) {
      xml_.open("MeasuredPointSets");
      xml_.attribute("n", point_sets_);
      write_point_sets();
      xml_.close();
    }
    if (characteristics_ > 0) {
      xml_.open("MeasuredCharacteristics");
      xml_.open("CharacteristicMeasurements");
      xml_.attribute("n", characteristics_);
      write_characteristic_measurements();
      xml_.close();
      xml_.close();
    }
    xml_.open("InspectionStatus");
    xml_.element("InspectionStatusEnum", std::string(inspection_status()));
    xml_.close();
    xml_.close();
    xml_.close();
    xml_.close();
  }

  // FAIL exactly when the summary fails the part; a run with nothing out whose file could not be
  // read whole is UNKNOWN; else PASS.
  const char* inspection_status() const {
    if (!summary_.passed()) return "FAIL";
    return status_ == kptExtractionSuccess ? "PASS" : "UNKNOWN";
  }

  void write_results_attributes() {
    std::vector<std::pair<const char*, std::string>> attributes;
    attributes.emplace_back("cncprobe:extraction_status", kptStatusText::name(status_));
    attributes.emplace_back("cncprobe:units_read", document_.units == kptUnitsInches ? "in" : "mm");
    attributes.emplace_back("cncprobe:true_position",
                            kpt_zone_convention_name(document_.convention));
    const std::string version = reference_text(references_.results_file_version_text());
    if (!version.empty()) attributes.emplace_back("cncprobe:results_file_version", version);
    const std::string settings = reference_text(references_.settings_filename());
    if (!settings.empty()) attributes.emplace_back("cncprobe:settings_file", settings);
    const std::string cldata = reference_text(references_.cldata_filename());
    if (!cldata.empty()) attributes.emplace_back("cncprobe:cldata_file", cldata);
    xml_.open("Attributes");
    xml_.attribute("n", attributes.size());
    for (const auto& [name, value] : attributes) write_attribute_str(name, value);
    xml_.close();
  }

  void write_feature_measurements() {
    each_feature(
        [&](std::uint64_t i, const Feature& f, const mtrToolpathResult&) {
          xml_.open((std::string(element_prefix(f.shape)) + "Measurement").c_str());
          xml_.attribute("id", feature_measurement_base_ + i);
          xml_.element("FeatureItemId", feature_item_base_ + i);
          write_location(f.shape, f.actual_location, f.actual_normal, false);
          if (f.shape == Shape::kCircle) xml_.decimal("Diameter", f.actual_size);
          if (f.shape == Shape::kOppositePlanes) xml_.decimal("Width", f.actual_size);
          xml_.close();
        },
        [&](std::uint64_t i, const mtrInspectionPoint& point, const kptPointCheck&,
            const mtrToolpathResult&, std::size_t) {
          if (!point.has_measure()) return;  // an unmeasured point has no measurement
          xml_.open("PointFeatureMeasurement");
          xml_.attribute("id", feature_measurement_base_ + i);
          xml_.element("FeatureItemId", feature_item_base_ + i);
          const giPoint3& p = point.measured_point();
          xml_.triple("Location", p.x(), p.y(), p.z());
          xml_.close();
        });
  }

  // Every probe path as one set: the measured points that have a deviation, their probing
  // directions, whether they are surface points, the probe radius of each (R) and d along each
  // direction. The lists are written piece by piece: a path of a million points is never one
  // string.
  void write_point_sets() {
    std::uint64_t index = 0;
    each_result([&](const mtrToolpathResult& result) {
      if (result.kind() != mtrResultProbePath) return;
      const auto& path = static_cast<const mtrProbePath&>(result);
      std::uint64_t count = 0;
      each_set_point(path, [&](const mtrInspectionPoint&, double) { ++count; });
      xml_.open("MeasuredPointSet");
      xml_.attribute("id", point_set_base_ + index++);
      xml_.attribute("count", count);
      xml_.open("Attributes");
      xml_.attribute("n", 1);
      write_attribute_int("cncprobe:toolpath_id", path.id());
      xml_.close();
      write_list(path, "Points", [](std::string& text, const mtrInspectionPoint& point, double) {
        const giPoint3& p = point.measured_point();
        XmlStream::append_triple(text, p.x(), p.y(), p.z());
      });
      write_list(path, "Normals", [](std::string& text, const mtrInspectionPoint& point, double) {
        const giUnitVec3& d = point.direction();
        XmlStream::append_triple(text, d.x(), d.y(), d.z());
      });
      // The machine reports the point where the stylus touched the surface, which is what d is
      // measured from, not the centre of its ball.
      xml_.element("Compensated", std::string("true"));
      write_list(path, "ProbeRadii",
                 [](std::string& text, const mtrInspectionPoint& point, double) {
                   if (!ex_append_decimal(text, point.r_value())) text += '0';
                 });
      xml_.element("MeasurementDeviceId", kDeviceId);
      write_list(path, "Deviations", [](std::string& text, const mtrInspectionPoint&, double d) {
        ex_append_decimal(text, d);
      });
      xml_.close();
    });
  }

  template <class Fn>
  static void each_set_point(const mtrProbePath& path, Fn&& fn) {
    for (unsigned int i = 0, count = path.inspection_points_count(); i < count; ++i) {
      const mtrInspectionPoint& point = path.inspection_point_ref(i);
      const kptPointCheck check = kptPointChecks::of(point);
      if (in_point_set(point, check)) fn(point, *check.deviation);
    }
  }

  // One list element of the set, its text handed to the writer in pieces of a few kilobytes.
  template <class Fn>
  void write_list(const mtrProbePath& path, const char* name, Fn&& append) {
    xml_.open(name);
    std::string text;
    bool first = true;
    each_set_point(path, [&](const mtrInspectionPoint& point, double d) {
      if (!first) text += ' ';
      first = false;
      append(text, point, d);
      if (text.size() >= 8192) {
        xml_.text(text);
        text.clear();
      }
    });
    xml_.text(text);
    xml_.close();
  }

  void write_characteristic_measurements() {
    each_characteristic(
        [&](std::uint64_t i, const Characteristic& c, std::uint64_t feature,
            const mtrToolpathResult&) {
          const std::optional<double> value = measured_value(c);
          // A tolerance the file printed as NaN is written as none, and judged as none.
          const kptVerdict verdict = c.kind == Kind::kDistance || !finite(c.check.tolerance)
                                         ? kptVerdictNotToleranced
                                         : c.check.verdict;
          write_characteristic_measurement(
              element_prefix(c.kind), i, feature, status_of(verdict, finite(value)),
              finite(value) ? value : std::nullopt, true, c.kind == Kind::kLinearCoordinate);
        },
        [&](std::uint64_t i, const mtrInspectionPoint& point, const kptPointCheck& check,
            std::uint64_t feature, const mtrToolpathResult&, std::size_t) {
          const bool value = finite(check.deviation);
          write_characteristic_measurement(
              "PointProfileCharacteristic", i, feature, status_of(check.verdict, value),
              value ? check.deviation : std::nullopt, point.has_measure(), false);
        });
  }

  void write_characteristic_measurement(const char* prefix, std::uint64_t i, std::uint64_t feature,
                                        const char* status, const std::optional<double>& value,
                                        bool measured, bool coordinate) {
    xml_.open((std::string(prefix) + "Measurement").c_str());
    xml_.attribute("id", characteristic_measurement_base_ + i);
    xml_.open("Status");
    xml_.element("CharacteristicStatusEnum", std::string(status));
    xml_.close();
    xml_.element("CharacteristicItemId", characteristic_item_base_ + i);
    if (measured) {
      xml_.open("FeatureMeasurementIds");
      xml_.attribute("n", 1);
      xml_.element("Id", feature_measurement_base_ + feature);
      xml_.close();
    }
    if (coordinate) {
      xml_.open("TypeOfCoordinates");
      xml_.element("CoordinateEnum", std::string("CARTESIAN_3D"));
      xml_.close();
    }
    if (value) xml_.decimal("Value", *value);
    xml_.close();
  }

  const kptResultsDataExtractor& extractor_;
  kptResultsExtractionStatus status_;
  const kptFileReferenceExtractor& references_;
  const kptQifDocument& document_;
  XmlStream& xml_;
  kptInspectionSummary summary_;
  exNameUuid program_;
  std::string time_;

  std::uint64_t features_ = 0, measured_features_ = 0, characteristics_ = 0, point_sets_ = 0;
  std::uint64_t feature_definition_base_ = 0, feature_nominal_base_ = 0, feature_item_base_ = 0,
                feature_measurement_base_ = 0, characteristic_definition_base_ = 0,
                characteristic_nominal_base_ = 0, characteristic_item_base_ = 0,
                characteristic_measurement_base_ = 0, point_set_base_ = 0, id_max_ = 0;
};

bool digits(std::string_view text, std::size_t at, std::size_t count) {
  if (at + count > text.size()) return false;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
  }
  return true;
}

}  // namespace

kptQifOutcome kptQifWriter::write(const kptResultsDataExtractor& extractor,
                                  kptResultsExtractionStatus status,
                                  const kptFileReferenceExtractor& references,
                                  const kptQifDocument& document, const Sink& sink) {
  if (!document.time.empty() && !valid_time(document.time)) return kptQifBadTime;
  XmlStream xml(sink);
  DocumentWriter writer(extractor, status, references, document, xml);
  writer.set_time(document.time.empty() ? kptUtcTime::now() : document.time);
  writer.write();
  return xml.finish() ? kptQifWritten : kptQifOutputRefused;
}

kptQifOutcome kptQifWriter::write_file(const kptResultsDataExtractor& extractor,
                                       kptResultsExtractionStatus status,
                                       const kptFileReferenceExtractor& references,
                                       const kptQifDocument& document, const utString& path) {
  if (!document.time.empty() && !valid_time(document.time)) return kptQifBadTime;
  if (path.invalid() || path.view().find('\0') != std::string_view::npos) {
    return kptQifOutputRefused;
  }
  // By its wide name on Windows, so a UTF-8 name of any script can be written.
  std::ofstream file(apPath(path.str()).filesystem_path(), std::ios::binary | std::ios::trunc);
  if (!file) return kptQifOutputRefused;
  const kptQifOutcome outcome =
      write(extractor, status, references, document, [&](std::string_view bytes) {
        return static_cast<bool>(
            file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())));
      });
  file.close();
  return outcome == kptQifWritten && file.fail() ? kptQifOutputRefused : outcome;
}

std::string kptQifWriter::digest_of_bytes(std::string_view bytes) {
  exContentDigest digest;
  digest.add(bytes);
  return digest.hex();
}

std::string kptQifWriter::digest_of_file(const utString& file_name) {
  kptInputStream stream = kptInputStream::open(file_name);
  if (stream.problem() != kptInputReadable) return "";
  exContentDigest digest;
  std::array<char, 65536> block{};
  while (const std::size_t size = stream.read_some(block.data(), block.size())) {
    digest.add(std::string_view(block.data(), size));
  }
  return stream.problem() == kptInputReadable ? digest.hex() : "";
}

bool kptQifWriter::valid_time(std::string_view t) noexcept {
  // YYYY-MM-DDThh:mm:ss
  if (!(digits(t, 0, 4) && t.size() >= 19 && t[4] == '-' && digits(t, 5, 2) && t[7] == '-' &&
        digits(t, 8, 2) && t[10] == 'T' && digits(t, 11, 2) && t[13] == ':' && digits(t, 14, 2) &&
        t[16] == ':' && digits(t, 17, 2))) {
    return false;
  }
  const auto number = [&](std::size_t at) { return (t[at] - '0') * 10 + (t[at + 1] - '0'); };
  if (number(5) < 1 || number(5) > 12 || number(8) < 1 || number(8) > 31 || number(11) > 23 ||
      number(14) > 59 || number(17) > 59) {
    return false;
  }
  std::size_t at = 19;
  if (at < t.size() && t[at] == '.') {
    ++at;
    const std::size_t start = at;
    while (at < t.size() && t[at] >= '0' && t[at] <= '9') ++at;
    if (at == start) return false;
  }
  if (at == t.size()) return true;
  if (t[at] == 'Z') return at + 1 == t.size();
  if (t[at] != '+' && t[at] != '-') return false;
  return at + 6 == t.size() && digits(t, at + 1, 2) && t[at + 3] == ':' && digits(t, at + 4, 2) &&
         number(at + 1) <= 14 && number(at + 4) <= 59;
}

const char* kpt_qif_outcome_text(kptQifOutcome outcome) noexcept {
  switch (outcome) {
    case kptQifWritten:
      return "written";
    case kptQifOutputRefused:
      return "output refused";
    case kptQifBadTime:
      return "bad time";
  }
  return "unknown";
}
