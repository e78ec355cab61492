// JsonText: a JSON document built in memory, for the data a report page embeds (the page needs
// the whole document at once to escape it for a script element).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

class JsonText {
 public:
  JsonText& begin_object();
  JsonText& end_object();
  JsonText& begin_array();
  JsonText& end_array();
  JsonText& key(std::string_view name);
  JsonText& null();
  JsonText& boolean(bool value);
  // A number that reads back to the same double; +infinity as 1e999, which every JSON reader
  // takes as the largest value (JavaScript's JSON.parse gives Infinity); NaN as null.
  JsonText& number(double value);
  JsonText& number(const std::optional<double>& value);
  JsonText& integer(std::int64_t value);
  // Any bytes as a string: escaped, invalid UTF-8 replaced by U+FFFD.
  JsonText& string(std::string_view bytes);
  // A string, or null when absent.
  JsonText& string_or_null(const std::optional<std::string>& value);
  // Text already quoted and escaped (a base64 block needs neither).
  JsonText& raw_string(std::string_view ascii);

  const std::string& text() const noexcept { return text_; }
  std::string take() { return std::move(text_); }

 private:
  void before_value();
  std::string text_;
  std::vector<bool> first_;  // per open container: nothing written in it yet
  bool after_key_ = false;
};

}  // namespace tool
