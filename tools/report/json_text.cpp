#include "tools/report/json_text.h"

#include <cmath>

#include "tools/json_writer.h"
#include "tools/output.h"

namespace tool {

void JsonText::before_value() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (!first_.empty()) {
    if (!first_.back()) text_ += ',';
    first_.back() = false;
  }
}

JsonText& JsonText::begin_object() {
  before_value();
  text_ += '{';
  first_.push_back(true);
  return *this;
}
JsonText& JsonText::end_object() {
  text_ += '}';
  first_.pop_back();
  return *this;
}
JsonText& JsonText::begin_array() {
  before_value();
  text_ += '[';
  first_.push_back(true);
  return *this;
}
JsonText& JsonText::end_array() {
  text_ += ']';
  first_.pop_back();
  return *this;
}
JsonText& JsonText::key(std::string_view name) {
  before_value();
  text_ += json_quoted(name);
  text_ += ':';
  after_key_ = true;
  return *this;
}
JsonText& JsonText::null() {
  before_value();
  text_ += "null";
  return *this;
}
JsonText& JsonText::boolean(bool value) {
  before_value();
  text_ += value ? "true" : "false";
  return *this;
}
JsonText& JsonText::number(double value) {
  before_value();
  if (std::isinf(value)) {
    text_ += value > 0 ? "1e999" : "-1e999";
  } else {
    char buffer[kNumberBufferSize];
    text_ += format_json_number(value, buffer);
  }
  return *this;
}
JsonText& JsonText::number(const std::optional<double>& value) {
  return value ? number(*value) : null();
}
JsonText& JsonText::integer(std::int64_t value) {
  before_value();
  text_ += std::to_string(value);
  return *this;
}
JsonText& JsonText::string(std::string_view bytes) {
  before_value();
  text_ += json_quoted(bytes);
  return *this;
}
JsonText& JsonText::string_or_null(const std::optional<std::string>& value) {
  return value ? string(*value) : null();
}
JsonText& JsonText::raw_string(std::string_view ascii) {
  before_value();
  text_ += '"';
  text_ += ascii;
  text_ += '"';
  return *this;
}

}  // namespace tool
