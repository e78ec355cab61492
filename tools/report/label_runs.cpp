#include "tools/report/label_runs.h"

#include <cstdint>

namespace tool {

namespace {

// Up to 15 digits: every count and its successors stay exact in a JavaScript number.
constexpr std::size_t kMaxDigits = 15;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

void LabelRuns::add(std::string_view label) {
  std::size_t digits = 0;
  while (digits < label.size() && digits < kMaxDigits &&
         is_digit(label[label.size() - 1 - digits])) {
    ++digits;
  }
  const std::size_t at = label.size() - digits;
  // A leading zero or a longer digit run is not a count the page would write back the same.
  const bool counted =
      digits > 0 && (at == 0 || !is_digit(label[at - 1])) && (digits == 1 || label[at] != '0');
  if (!counted) {
    if (runs_.empty() || !runs_.back().whole) {
      runs_.emplace_back();
      runs_.back().whole.emplace();
    }
    runs_.back().whole->emplace_back(label);
    ++runs_.back().count;
    return;
  }
  long long number = 0;
  for (std::size_t k = at; k < label.size(); ++k) number = number * 10 + (label[k] - '0');
  const std::string_view prefix = label.substr(0, at);
  if (!runs_.empty()) {
    Run& last = runs_.back();
    if (!last.whole && last.first + static_cast<long long>(last.count) == number &&
        last.prefix == prefix) {
      ++last.count;
      return;
    }
  }
  runs_.push_back({std::string(prefix), number, 1, std::nullopt});
}

void LabelRuns::write(JsonText& json) const {
  json.begin_array();
  for (const Run& run : runs_) {
    json.begin_object();
    if (run.whole) {
      json.key("l").begin_array();
      for (const std::string& label : *run.whole) json.string(label);
      json.end_array();
    } else {
      json.key("p").string(run.prefix);
      json.key("n").integer(run.first);
      json.key("c").integer(static_cast<std::int64_t>(run.count));
    }
    json.end_object();
  }
  json.end_array();
}

}  // namespace tool
