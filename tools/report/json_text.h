// JsonText: the JSON document a report page embeds in <script type="application/json">, written
// as it goes. Every string is escaped for that element as it is written ("<", ">", "&" and
// U+2028/U+2029 as \u escapes, which JSON reads back to the same characters), so the document
// never has to be held whole or scanned a second time: numbers and base64 need no escaping.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/output.h"

namespace tool {

class JsonText {
 public:
  // Builds the document in memory (text()).
  JsonText() = default;
  // Hands the text to `sink` whenever a block has gathered; flush() hands the rest.
  explicit JsonText(Output& sink) : sink_(&sink) {}

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
  // `size` bytes as one base64 string (standard alphabet, with padding).
  JsonText& base64_string(const void* bytes, std::size_t size);

  const std::string& text() const noexcept { return text_; }
  std::string take() { return std::move(text_); }
  void flush();

 private:
  void before_value();
  void drain() {
    if (sink_ && text_.size() >= kBlock) flush();
  }
  static constexpr std::size_t kBlock = 64 * 1024;
  Output* sink_ = nullptr;
  std::string text_;
  std::vector<bool> first_;  // per open container: nothing written in it yet
  bool after_key_ = false;
};

// `bytes` as a quoted JSON string fit for a script element (see above), appended to `out`.
void append_script_json_string(std::string& out, std::string_view bytes);

// Standard base64 of `size` bytes written to `out`, which has room for (size + 2) / 3 * 4
// characters; returns the end of what was written.
char* encode_base64(const unsigned char* bytes, std::size_t size, char* out);

}  // namespace tool
