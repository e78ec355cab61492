// Buffered output, number formatting and UTF-8 repair for the cncprobe tool.
#include "tools/output.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <exception>
#include <system_error>

#include "cncprobe/platform/text/valid_utf8.h"

namespace tool {

Output::~Output() {
  // main flushes explicitly on the normal path. Left here only when a failure unwinds, whatever
  // is buffered is dropped so that half a document is not followed by more of it.
  if (!buffer_.empty() && std::uncaught_exceptions() == 0) {
    std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
    std::fflush(stream_);
  }
}

void Output::flush() {
  if (!buffer_.empty()) {
    const std::size_t written = std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
    const bool complete = written == buffer_.size();
    buffer_.clear();
    if (!complete)
      throw std::system_error(errno, std::generic_category(), "cannot write the output");
  }
  if (std::fflush(stream_) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write the output");
  }
}

std::string_view format_json_number(double value, char (&buffer)[kNumberBufferSize]) {
  if (!std::isfinite(value)) return "null";
  // Shortest round-trip form; it may be fixed (25.4254) or scientific (1e+300), both valid JSON.
  const std::to_chars_result r = std::to_chars(buffer, buffer + kNumberBufferSize, value);
  return std::string_view(buffer, static_cast<std::size_t>(r.ptr - buffer));
}

std::string format_fixed(double value, int decimals, bool plus_sign) {
  char buffer[kNumberBufferSize];
  char* first = buffer;
  if (plus_sign && value > 0.0) *first++ = '+';
  std::to_chars_result r =
      std::to_chars(first, buffer + kNumberBufferSize, value, std::chars_format::fixed, decimals);
  if (r.ec != std::errc()) {
    // Only absurd magnitudes need more room than the buffer has: fall back to the short form.
    r = std::to_chars(first, buffer + kNumberBufferSize, value);
  }
  return std::string(buffer, r.ptr);
}

void append_valid_utf8(std::string& out, std::string_view bytes) {
  ut_append_valid_utf8(out, bytes);
}

std::string printable_text(std::string_view bytes) {
  std::string valid;
  append_valid_utf8(valid, bytes);
  for (char& c : valid) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7F) c = '?';
  }
  return valid;
}

std::size_t display_width(std::string_view utf8) {
  std::size_t width = 0;
  for (const char c : utf8) {
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
      ++width;  // count all but continuation bytes
  }
  return width;
}

std::filesystem::path utf8_path(const std::string& utf8_name) {
  return std::filesystem::path(
      std::u8string_view(reinterpret_cast<const char8_t*>(utf8_name.data()), utf8_name.size()));
}

std::FILE* open_for_writing(const std::string& utf8_name) {
#if defined(_WIN32)
  try {
    return _wfopen(utf8_path(utf8_name).c_str(), L"wb");
  } catch (...) {  // a name that is not UTF-8
    return nullptr;
  }
#else
  return std::fopen(utf8_name.c_str(), "wb");
#endif
}

}  // namespace tool
