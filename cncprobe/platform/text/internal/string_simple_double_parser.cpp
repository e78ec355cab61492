// apStringSimpleDoubleParser: a strict lexical check, then std::from_chars (locale-independent).
#include "cncprobe/platform/text/internal/string_simple_double_parser.h"

#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace {
bool is_digit(char c) { return c >= '0' && c <= '9'; }

// True when `s` is exactly [+-]? (digits [. digits?] | . digits) ([eE] [+-]? digits)?.
bool is_simple_number(const std::string& s) {
  std::size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  std::size_t digits = 0;
  while (i < s.size() && is_digit(s[i])) ++i, ++digits;
  if (i < s.size() && s[i] == '.') {
    ++i;
    while (i < s.size() && is_digit(s[i])) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    std::size_t exponent_digits = 0;
    while (i < s.size() && is_digit(s[i])) ++i, ++exponent_digits;
    if (exponent_digits == 0) return false;
  }
  return i == s.size();
}
}  // namespace

apStringParseDoubleResult apStringSimpleDoubleParser::parse(const apString& text) const noexcept {
  const apStringParseDoubleResult failure(0, 0.0);
  if (text.invalid()) return failure;
  std::string narrow;
  try {
    narrow.reserve(text.length());
    for (wchar_t c : text.wstr()) {
      // wchar_t is signed 32-bit here, unsigned 16-bit on Windows.
      if (static_cast<std::uint32_t>(c) > 127) return failure;
      narrow.push_back(static_cast<char>(c));
    }
  } catch (...) {
    return failure;
  }
  if (!is_simple_number(narrow)) return failure;
  // from_chars takes no leading "+"; the lexical check above has already vouched for the rest.
  const char* first = narrow.data();
  const char* last = first + narrow.size();
  if (*first == '+') ++first;
  double value = 0.0;
  const std::from_chars_result r = std::from_chars(first, last, value, std::chars_format::general);
  if (r.ec != std::errc() || r.ptr != last) return failure;
  return apStringParseDoubleResult(1, value);
}
