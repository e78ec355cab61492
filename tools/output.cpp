// Buffered output, number formatting and UTF-8 repair for the cncprobe tool.
#include "tools/output.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
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

namespace {

// The shortest form of a value with at most six decimals between 0.01 and 10000 (in size), the
// way nearly every coordinate, direction and deviation looks, found without the general search;
// empty for any other value. In that range the fixed form is always the shorter one, and at most
// one whole number of millionths or coarser reads back to the value (a double there is finer
// than 2e-12), so the first count of decimals at which the rounded scaled value reads back
// exactly gives the same digits as the general shortest form.
std::string_view short_decimal_form(double value, char (&buffer)[kNumberBufferSize]) {
  static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
  const double size = std::fabs(value);
  if (!(size >= 0.01 && size < 1e4)) return {};
  // A value with fewer decimals also reads back from its millionths: one test turns away the
  // values of full precision, such as a point turned into CAD coordinates.
  if (std::nearbyint(size * 1e6) / 1e6 != size) return {};
  for (int decimals = 0; decimals <= 6; ++decimals) {
    const double scaled = std::nearbyint(size * kPowersOfTen[decimals]);
    // Both the whole number and the power of ten are exact, so the division rounds once, as
    // reading the decimal text back does.
    if (scaled / kPowersOfTen[decimals] != size) continue;
    auto digits = static_cast<std::uint64_t>(scaled);
    char reversed[24];
    int count = 0;
    for (int i = 0; i < decimals; ++i, digits /= 10)
      reversed[count++] = static_cast<char>('0' + digits % 10);
    if (decimals > 0) reversed[count++] = '.';
    do {
      reversed[count++] = static_cast<char>('0' + digits % 10);
      digits /= 10;
    } while (digits != 0);
    char* out = buffer;
    if (value < 0) *out++ = '-';
    while (count > 0) *out++ = reversed[--count];
    return std::string_view(buffer, static_cast<std::size_t>(out - buffer));
  }
  return {};
}

}  // namespace

std::string_view format_json_number(double value, char (&buffer)[kNumberBufferSize]) {
  if (!std::isfinite(value)) return "null";
  const std::string_view quick = short_decimal_form(value, buffer);
  if (!quick.empty()) return quick;
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
