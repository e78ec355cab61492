// kptControlLimitsFile: saved control limits as JSON.
#include "cncprobe/inspection/control_limits_file.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

constexpr const char* kKind = "cncprobe-control-limits";

nlohmann::json optional_text(const std::optional<std::string>& text) {
  return text ? nlohmann::json(*text) : nlohmann::json(nullptr);
}

nlohmann::json number(double value) {
  return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json(nullptr);
}

// A text field: absent when missing or null; `wrong` set when it is something else.
std::optional<std::string> read_text(const nlohmann::json& object, const char* name, bool& wrong) {
  const auto it = object.find(name);
  if (it == object.end() || it->is_null()) return std::nullopt;
  if (!it->is_string()) {
    wrong = true;
    return std::nullopt;
  }
  return it->get<std::string>();
}

std::optional<double> read_number(const nlohmann::json& object, const char* name) {
  const auto it = object.find(name);
  if (it == object.end() || !it->is_number()) return std::nullopt;
  return it->get<double>();
}

}  // namespace

bool kptTrendProgram::same_as(const kptTrendProgram& other) const {
  return cldata_filename == other.cldata_filename && cad_filename == other.cad_filename;
}

std::string kptTrendProgram::describe() const {
  if (!cldata_filename && !cad_filename) return "no references";
  std::string text;
  if (cldata_filename) text = "CL data " + *cldata_filename;
  if (cad_filename) text += (text.empty() ? "CAD " : ", CAD ") + *cad_filename;
  return text;
}

const kptControlLimits* kptControlLimitsFile::find(std::string_view key) const {
  for (const kptSavedSeries& s : series) {
    if (s.key == key) return &s.limits;
  }
  return nullptr;
}

std::string kptControlLimitsFile::to_json() const {
  nlohmann::ordered_json doc;
  doc["kind"] = kKind;
  doc["version"] = kVersion;
  doc["program"] = {{"cldata_filename", optional_text(program.cldata_filename)},
                    {"cad_filename", optional_text(program.cad_filename)}};
  doc["baseline_runs"] = baseline_runs;
  doc["runs"] = runs;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const kptSavedSeries& s : series) {
    const kptControlLimits& l = s.limits;
    nlohmann::ordered_json entry;
    entry["key"] = s.key;
    entry["item"] = s.item;
    entry["quantity"] = s.quantity;
    entry["state"] = kpt_control_state_name(l.state);
    entry["n"] = l.n;
    entry["centre"] = number(l.centre);
    entry["moving_range"] = number(l.moving_range);
    // The lines the saved numbers give, for a person reading the file; reading takes the
    // centre and the moving range only.
    const bool set = l.usable();
    entry["sigma"] = set ? number(l.sigma) : nlohmann::json(nullptr);
    entry["lower"] = set ? number(l.lower) : nlohmann::json(nullptr);
    entry["upper"] = set ? number(l.upper) : nlohmann::json(nullptr);
    entry["moving_range_upper"] = set ? number(l.moving_range_upper) : nlohmann::json(nullptr);
    list.push_back(std::move(entry));
  }
  doc["series"] = std::move(list);
  // Invalid UTF-8 in a file name read from a results file is replaced, never refused.
  return doc.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string kptControlLimitsFile::parse(std::string_view text, kptControlLimitsFile& file) {
  const nlohmann::json doc = nlohmann::json::parse(text, nullptr, false);
  if (doc.is_discarded()) return "not a JSON document";
  if (!doc.is_object()) return "not a control limits file";
  // A kind that is not a text (an object, a number) is refused like another kind, never thrown.
  bool kind_wrong = false;
  if (read_text(doc, "kind", kind_wrong) != kKind) return "not a control limits file";
  const std::optional<double> version = read_number(doc, "version");
  if (!version) return "the version is missing";
  if (*version > kVersion) {
    return *version < 1e9 ? "a control limits file of a newer version (" +
                                std::to_string(static_cast<long long>(*version)) + ")"
                          : std::string("a control limits file of a newer version");
  }
  kptControlLimitsFile read;
  bool wrong = false;
  const auto program = doc.find("program");
  if (program == doc.end() || !program->is_object()) return "the program is missing";
  read.program.cldata_filename = read_text(*program, "cldata_filename", wrong);
  read.program.cad_filename = read_text(*program, "cad_filename", wrong);
  if (wrong) return "a program reference is not a text";
  const std::optional<double> baseline_runs = read_number(doc, "baseline_runs");
  // Counts beyond any real number of runs are refused before they are converted.
  if (!baseline_runs || !(*baseline_runs >= 0) || *baseline_runs > 1e15) {
    return "the baseline's runs are missing";
  }
  read.baseline_runs = static_cast<std::size_t>(*baseline_runs);
  if (const auto runs = doc.find("runs"); runs != doc.end() && runs->is_array()) {
    for (const auto& run : *runs) {
      if (run.is_string()) read.runs.push_back(run.get<std::string>());
    }
  }
  const auto series = doc.find("series");
  if (series == doc.end() || !series->is_array()) return "the series are missing";
  for (const auto& entry : *series) {
    if (!entry.is_object()) return "a series is not an object";
    kptSavedSeries s;
    const std::optional<std::string> key = read_text(entry, "key", wrong);
    if (!key) return "a series has no key";
    s.key = *key;
    s.item = read_text(entry, "item", wrong).value_or("");
    s.quantity = read_text(entry, "quantity", wrong).value_or("");
    const std::optional<double> n = read_number(entry, "n");
    if (!n || !(*n >= 0) || *n > 1e15) return "series " + s.key + " has no number of values";
    const std::size_t count = static_cast<std::size_t>(*n);
    const std::optional<double> centre = read_number(entry, "centre");
    const std::optional<double> range = read_number(entry, "moving_range");
    // A series saved without limits stays without them: its baseline had too few values or no
    // spread.
    s.limits = kptControlChart::frozen(count, centre.value_or(0.0), range.value_or(0.0));
    read.series.push_back(std::move(s));
  }
  if (wrong) return "a series' item or quantity is not a text";
  file = std::move(read);
  return {};
}
