// QifChecker: one walk indexes every element by id, then each rule reads what it needs.
#include "tests/qif_checker.h"

#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

namespace qifcheck {

namespace {

// A value within this of its limit counts as at the limit, as the inspection rules allow.
constexpr double kSlack = 1e-9;

std::string name_of(xmlNodePtr node) { return reinterpret_cast<const char*>(node->name); }

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::vector<xmlNodePtr> children(xmlNodePtr node) {
  std::vector<xmlNodePtr> out;
  for (xmlNodePtr c = node ? node->children : nullptr; c; c = c->next) {
    if (c->type == XML_ELEMENT_NODE) out.push_back(c);
  }
  return out;
}

xmlNodePtr child(xmlNodePtr node, const std::string& name) {
  for (xmlNodePtr c : children(node)) {
    if (name_of(c) == name) return c;
  }
  return nullptr;
}

std::string text_of(xmlNodePtr node) {
  if (!node) return "";
  xmlChar* content = xmlNodeGetContent(node);
  std::string text = content ? reinterpret_cast<const char*>(content) : "";
  xmlFree(content);
  return text;
}

std::optional<std::string> attribute(xmlNodePtr node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  if (!value) return std::nullopt;
  std::string text = reinterpret_cast<const char*>(value);
  xmlFree(value);
  return text;
}

std::vector<std::string> tokens(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> out;
  for (std::string t; in >> t;) out.push_back(t);
  return out;
}

double number(const std::string& text) {
  double value = NAN;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

std::vector<double> numbers(xmlNodePtr node) {
  std::vector<double> out;
  for (const std::string& t : tokens(text_of(node))) out.push_back(number(t));
  return out;
}

// The kind a reference element must lead to: the element's own name without "Id"/"Ids".
struct Reference {
  const char* element;  // the referring element, or the list holding <Id> children
  const char* target;   // the suffix of the element it must lead to
};
constexpr Reference kReferences[] = {
    {"FeatureDefinitionId", "FeatureDefinition"},
    {"FeatureNominalId", "FeatureNominal"},
    {"FeatureItemId", "FeatureItem"},
    {"FeatureItemIds", "FeatureItem"},
    {"FeatureMeasurementIds", "FeatureMeasurement"},
    {"CharacteristicDefinitionId", "CharacteristicDefinition"},
    {"CharacteristicNominalId", "CharacteristicNominal"},
    {"CharacteristicItemId", "CharacteristicItem"},
    {"MeasurementDeviceIds", "MeasurementDevice"},
    {"MeasurementDeviceId", "MeasurementDevice"},
    {"FormalStandardId", "Standard"},
};

// Elements whose text is one XML decimal, and lists of doubles written as decimals.
const std::set<std::string> kDecimals = {"Value",    "TargetValue", "ToleranceValue",
                                         "MaxValue", "MinValue",    "OuterDisposition",
                                         "Diameter", "Width"};
const std::set<std::string> kDecimalLists = {"Location", "Normal",     "Point",     "Points",
                                             "Normals",  "Deviations", "ProbeRadii"};

class Checker {
 public:
  Checker(xmlDocPtr document, const nlohmann::json& json, Points points)
      : json_(json), points_(points) {
    root_ = xmlDocGetRootElement(document);
    if (!root_) {
      problem("no root element");
      return;
    }
    index(root_);
  }

  std::vector<std::string> run() {
    if (!root_) return problems_;
    check_ids();
    check_counts();
    check_references();
    check_numbers();
    check_statuses();
    if (!json_.is_null()) compare_with_json();
    return problems_;
  }

 private:
  void problem(const std::string& text) { problems_.push_back(text); }

  void index(xmlNodePtr node) {
    all_.push_back(node);
    if (const auto id = attribute(node, "id")) {
      const auto value = static_cast<unsigned long>(number(*id));
      if (!by_id_.emplace(value, node).second) problem("id " + *id + " is used twice");
      max_id_ = std::max(max_id_, value);
    }
    for (xmlNodePtr c : children(node)) index(c);
  }

  xmlNodePtr target(const std::string& id_text) const {
    const auto it = by_id_.find(static_cast<unsigned long>(number(id_text)));
    return it == by_id_.end() ? nullptr : it->second;
  }

  // The element an <XId> child of `node` leads to; null (with a problem) when it leads nowhere.
  xmlNodePtr follow(xmlNodePtr node, const char* reference) {
    xmlNodePtr ref = child(node, reference);
    if (!ref) return nullptr;
    return target(text_of(ref));
  }

  void check_ids() {
    const auto id_max = attribute(root_, "idMax");
    if (!id_max || static_cast<unsigned long>(number(*id_max)) != max_id_) {
      problem("idMax " + id_max.value_or("(none)") + " is not the largest id " +
              std::to_string(max_id_));
    }
  }

  void check_counts() {
    for (xmlNodePtr node : all_) {
      if (const auto n = attribute(node, "n")) {
        if (static_cast<std::size_t>(number(*n)) != children(node).size()) {
          problem(name_of(node) + " n=" + *n + " holds " + std::to_string(children(node).size()));
        }
      }
      if (name_of(node) == "MeasuredPointSet") {
        const auto count = static_cast<std::size_t>(number(attribute(node, "count").value_or("0")));
        const std::pair<const char*, std::size_t> lists[] = {
            {"Points", 3}, {"Normals", 3}, {"ProbeRadii", 1}, {"Deviations", 1}};
        for (const auto& [list, per_point] : lists) {
          xmlNodePtr element = child(node, list);
          if (element && tokens(text_of(element)).size() != count * per_point) {
            problem(std::string("MeasuredPointSet count=") + std::to_string(count) + " but " +
                    list + " holds " + std::to_string(tokens(text_of(element)).size()));
          }
        }
      }
    }
  }

  void check_references() {
    for (xmlNodePtr node : all_) {
      const std::string name = name_of(node);
      for (const Reference& reference : kReferences) {
        if (name != reference.element) continue;
        std::vector<xmlNodePtr> ids;
        if (ends_with(name, "Ids")) {
          ids = children(node);
        } else {
          ids = {node};
        }
        for (xmlNodePtr id : ids) {
          xmlNodePtr to = target(text_of(id));
          if (!to || !ends_with(name_of(to), reference.target)) {
            problem(name + " " + text_of(id) + " does not lead to a " + reference.target);
          }
        }
      }
    }
    // Each layer leads to the layer above it of the same kind, and a characteristic measurement
    // names the measurement of the feature its item names.
    for (xmlNodePtr node : all_) {
      const std::string name = name_of(node);
      for (const char* layer : {"Nominal", "Item", "Measurement"}) {
        if (!ends_with(name, layer)) continue;
        const std::string kind = name.substr(0, name.size() - std::string(layer).size());
        if (!ends_with(kind, "Feature") && !ends_with(kind, "Characteristic")) continue;
        const bool feature = ends_with(kind, "Feature");
        const std::string up = std::string(layer) == "Nominal" ? "Definition"
                               : std::string(layer) == "Item"  ? "Nominal"
                                                               : "Item";
        xmlNodePtr above =
            follow(node, ((feature ? "Feature" : "Characteristic") + up + "Id").c_str());
        if (!above || name_of(above) != kind + up) {
          problem(name + " " + attribute(node, "id").value_or("?") + " does not lead to a " + kind +
                  up);
        }
      }
      if (ends_with(name, "CharacteristicMeasurement")) {
        xmlNodePtr item = follow(node, "CharacteristicItemId");
        xmlNodePtr measurements = child(node, "FeatureMeasurementIds");
        if (!item || !measurements) continue;
        const std::string feature_item = text_of(child(child(item, "FeatureItemIds"), "Id"));
        for (xmlNodePtr id : children(measurements)) {
          xmlNodePtr measurement = target(text_of(id));
          if (!measurement || text_of(child(measurement, "FeatureItemId")) != feature_item) {
            problem(name + " " + attribute(node, "id").value_or("?") +
                    " names the measurement of another feature");
          }
        }
      }
    }
  }

  void check_numbers() {
    static const std::regex kDecimal(R"(-?[0-9]+(\.[0-9]+)?)");
    for (xmlNodePtr node : all_) {
      const std::string name = name_of(node);
      if (!children(node).empty()) continue;
      if (kDecimals.count(name) || kDecimalLists.count(name)) {
        for (const std::string& t : tokens(text_of(node))) {
          if (!std::regex_match(t, kDecimal)) problem(name + " holds " + t + ", not a decimal");
        }
      }
      if (name == "Normal" || name == "Normals") {
        const std::vector<double> v = numbers(node);
        for (std::size_t i = 0; i + 2 < v.size(); i += 3) {
          if (std::fabs(std::hypot(v[i], v[i + 1], v[i + 2]) - 1.0) > 1e-9) {
            problem(name + " holds a vector that is not a unit vector");
            break;
          }
        }
      }
    }
  }

  // The status each characteristic measurement's value and tolerance give.
  std::string expected_status(xmlNodePtr measurement) {
    xmlNodePtr value = child(measurement, "Value");
    xmlNodePtr item = follow(measurement, "CharacteristicItemId");
    xmlNodePtr nominal = item ? follow(item, "CharacteristicNominalId") : nullptr;
    xmlNodePtr definition = nominal ? follow(nominal, "CharacteristicDefinitionId") : nullptr;
    if (!definition) return "?";
    if (!value) return "NOT_ANALYZED";
    const double v = number(text_of(value));
    bool pass = false;
    if (xmlNodePtr tolerance = child(definition, "Tolerance")) {
      const double deviation = v - number(text_of(child(nominal, "TargetValue")));
      pass = deviation <= number(text_of(child(tolerance, "MaxValue"))) + kSlack &&
             deviation >= number(text_of(child(tolerance, "MinValue"))) - kSlack;
    } else if (child(definition, "NonTolerance")) {
      return "NOT_ANALYZED";
    } else if (xmlNodePtr outer = child(definition, "OuterDisposition")) {
      const double upper = number(text_of(outer));
      const double lower = upper - number(text_of(child(definition, "ToleranceValue")));
      pass = v <= upper + kSlack && v >= lower - kSlack;
    } else if (xmlNodePtr zone = child(definition, "ToleranceValue")) {
      pass = v <= number(text_of(zone)) + kSlack;
    }
    return pass ? "PASS" : "FAIL";
  }

  void check_statuses() {
    bool any_fail = false, any_unjudged_toleranced = false;
    for (xmlNodePtr node : all_) {
      if (!ends_with(name_of(node), "CharacteristicMeasurement")) continue;
      measurements_.push_back(node);
      const std::string status = text_of(child(child(node, "Status"), "CharacteristicStatusEnum"));
      const std::string expected = expected_status(node);
      if (status != expected) {
        problem(name_of(node) + " " + attribute(node, "id").value_or("?") + " says " + status +
                " where its value and tolerance give " + expected);
      }
      any_fail = any_fail || status == "FAIL";
      // A toleranced value the machine printed as NaN cannot be judged, yet fails the part.
      any_unjudged_toleranced =
          any_unjudged_toleranced || (status == "NOT_ANALYZED" && !child(node, "Value"));
    }
    xmlNodePtr results = nullptr;
    for (xmlNodePtr node : all_) {
      if (name_of(node) == "InspectionStatusEnum") results = node;
    }
    const std::string overall = text_of(results);
    if (any_fail && overall != "FAIL") problem("InspectionStatus " + overall + " beside a FAIL");
    if (overall == "FAIL" && !any_fail && !any_unjudged_toleranced) {
      problem("InspectionStatus FAIL without a failed characteristic");
    }
    if (!json_.is_null()) {
      const bool passed = json_["summary"]["passed"].get<bool>();
      if ((overall == "FAIL") == passed) {
        problem("InspectionStatus " + overall +
                " where the summary says passed=" + (passed ? "true" : "false"));
      }
    }
  }

  // --- The same values as the JSON document ------------------------------------------------

  static std::string status_of(const std::string& verdict, bool has_value) {
    if (!has_value) return "NOT_ANALYZED";
    if (verdict == "in") return "PASS";
    if (verdict == "out") return "FAIL";
    return "NOT_ANALYZED";
  }

  void compare_value(xmlNodePtr measurement, const std::optional<double>& expected,
                     const std::string& what) {
    xmlNodePtr value = child(measurement, "Value");
    if (!expected) {
      if (value) problem(what + ": a value where the JSON has none");
      return;
    }
    if (!value || number(text_of(value)) != *expected) {
      problem(what + ": value " + (value ? text_of(value) : "(none)") + " where the JSON has " +
              std::to_string(*expected));
    }
  }

  static std::optional<double> json_number(const nlohmann::json& value) {
    if (!value.is_number()) return std::nullopt;
    return value.get<double>();
  }

  void compare_with_json() {
    std::size_t next = 0;
    const auto take = [&](const std::string& what) -> xmlNodePtr {
      if (next >= measurements_.size()) {
        problem(what + ": no characteristic measurement left");
        return nullptr;
      }
      return measurements_[next++];
    };
    std::vector<xmlNodePtr> point_sets;
    for (xmlNodePtr node : all_) {
      if (name_of(node) == "MeasuredPointSet") point_sets.push_back(node);
    }
    std::size_t path_index = 0;
    for (const nlohmann::json& result : json_["results"]) {
      const std::string kind = result["kind"].get<std::string>();
      if (kind == "probe_path") {
        compare_point_set(path_index < point_sets.size() ? point_sets[path_index] : nullptr,
                          result);
        ++path_index;
        std::size_t number_in_path = 0;
        for (const nlohmann::json& point : result["points"]) {
          ++number_in_path;
          const std::string verdict = point["verdict"].get<std::string>();
          if (points_ == Points::kNone || (points_ == Points::kOutside && verdict != "out")) {
            continue;
          }
          const std::string what = "point " + point["label"].get<std::string>();
          xmlNodePtr m = take(what);
          if (!m) return;
          const std::optional<double> deviation = json_number(point["deviation"]);
          compare_status(m, status_of(verdict, deviation.has_value()), what);
          compare_value(m, deviation, what);
          compare_point_location(m, point, what);
        }
        continue;
      }
      for (const nlohmann::json& check : result["checks"]) {
        const std::string quantity = check["quantity"].get<std::string>();
        const std::string what = kind + " " + quantity;
        xmlNodePtr m = take(what);
        if (!m) return;
        std::optional<double> expected;
        const bool offset =
            quantity == "centre_offset" || quantity == "corner_offset" || quantity == "middle";
        if (offset) {
          if (const auto d = json_number(check["deviation"])) {
            expected = (check["tolerance"].is_number() ? 2.0 : 1.0) * std::fabs(*d);
          }
        } else {
          expected = json_number(check["actual"]);
        }
        compare_status(m, status_of(check["verdict"].get<std::string>(), expected.has_value()),
                       what);
        compare_value(m, expected, what);
      }
    }
    if (next != measurements_.size()) {
      problem(std::to_string(measurements_.size() - next) +
              " characteristic measurement(s) the JSON does not have");
    }
    if (path_index != point_sets.size()) problem("point sets and probe paths differ in number");
  }

  void compare_status(xmlNodePtr measurement, const std::string& expected,
                      const std::string& what) {
    const std::string status =
        text_of(child(child(measurement, "Status"), "CharacteristicStatusEnum"));
    if (status != expected) problem(what + ": " + status + " where the JSON gives " + expected);
  }

  void compare_point_location(xmlNodePtr measurement, const nlohmann::json& point,
                              const std::string& what) {
    xmlNodePtr ids = child(measurement, "FeatureMeasurementIds");
    if (point["measured"].is_null()) {
      if (ids) problem(what + ": a measurement for an unmeasured point");
      return;
    }
    xmlNodePtr feature = ids ? target(text_of(child(ids, "Id"))) : nullptr;
    const std::vector<double> location = numbers(child(feature, "Location"));
    const std::vector<double> expected = point["measured"].get<std::vector<double>>();
    if (location != expected) problem(what + ": measured location differs from the JSON");
  }

  void compare_point_set(xmlNodePtr set, const nlohmann::json& path) {
    if (!set) {
      problem("a probe path without a point set");
      return;
    }
    std::vector<double> points, deviations;
    for (const nlohmann::json& point : path["points"]) {
      if (point["deviation"].is_null() || point["measured"].is_null()) continue;
      for (const nlohmann::json& c : point["measured"]) points.push_back(c.get<double>());
      deviations.push_back(point["deviation"].get<double>());
    }
    if (numbers(child(set, "Points")) != points) problem("point set points differ from the JSON");
    if (numbers(child(set, "Deviations")) != deviations) {
      problem("point set deviations differ from the JSON");
    }
  }

  const nlohmann::json& json_;
  Points points_;
  xmlNodePtr root_ = nullptr;
  std::vector<xmlNodePtr> all_;
  std::vector<xmlNodePtr> measurements_;
  std::map<unsigned long, xmlNodePtr> by_id_;
  unsigned long max_id_ = 0;
  std::vector<std::string> problems_;
};

}  // namespace

std::vector<std::string> check_qif(xmlDocPtr document, const nlohmann::json& json, Points points) {
  return Checker(document, json, points).run();
}

}  // namespace qifcheck
