// Buffered output, number formatting and UTF-8 repair for the cncprobe tool.
#include "tools/output.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <system_error>

#include "cncprobe/platform/text/valid_utf8.h"

namespace tool {

Output::Output(std::FILE* stream)
    : stream_(stream),
      buffer_(new char[kBlockSize]),
      next_(buffer_.get()),
      end_(buffer_.get() + kBlockSize) {}

Output::Output(std::string& memory) : Output(static_cast<std::FILE*>(nullptr)) {
  memory_ = &memory;
}

Output::~Output() {
  if (memory_ != nullptr) return;
  // main flushes explicitly on the normal path. Left here only when a failure unwinds, whatever
  // is buffered is dropped so that half a document is not followed by more of it.
  if (next_ != buffer_.get() && std::uncaught_exceptions() == 0) {
    std::fwrite(buffer_.get(), 1, static_cast<std::size_t>(next_ - buffer_.get()), stream_);
    std::fflush(stream_);
  }
}

void Output::hand_over() {
  const auto size = static_cast<std::size_t>(next_ - buffer_.get());
  if (size == 0) return;
  if (memory_ != nullptr) {
    memory_->append(buffer_.get(), size);
    next_ = buffer_.get();
    return;
  }
  const std::size_t written = std::fwrite(buffer_.get(), 1, size, stream_);
  next_ = buffer_.get();
  if (written != size)
    throw std::system_error(errno, std::generic_category(), "cannot write the output");
}

void Output::make_room(std::size_t size) {
  hand_over();
  if (size > kBlockSize) throw std::length_error("Output::room_for asks for more than a block");
}

void Output::write_long(std::string_view text) {
  hand_over();
  if (text.size() <= kBlockSize) {
    std::memcpy(next_, text.data(), text.size());
    next_ += text.size();
  } else if (memory_ != nullptr) {
    memory_->append(text);
  } else if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size()) {
    throw std::system_error(errno, std::generic_category(), "cannot write the output");
  }
}

void Output::write_many_blanks(std::size_t count) {
  while (count > 0) {
    hand_over();
    const std::size_t part = std::min(count, kBlockSize);
    std::memset(next_, ' ', part);
    next_ += part;
    count -= part;
  }
}

void Output::flush() {
  hand_over();
  if (memory_ != nullptr) return;
  if (std::fflush(stream_) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot write the output");
  }
}

namespace {

constexpr double kPowersOfTen[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                                   1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};

// Writes `digits` at `first` with a decimal point before its last `decimals` digits (at least
// one digit before the point); returns the end.
char* write_decimal(std::uint64_t digits, int decimals, char* first) {
  char reversed[24];
  int count = 0;
  for (int i = 0; i < decimals; ++i, digits /= 10)
    reversed[count++] = static_cast<char>('0' + digits % 10);
  if (decimals > 0) reversed[count++] = '.';
  do {
    reversed[count++] = static_cast<char>('0' + digits % 10);
    digits /= 10;
  } while (digits != 0);
  while (count > 0) *first++ = reversed[--count];
  return first;
}

// The shortest form of a value with at most six decimals between 0.01 and 10000 (in size), the
// way nearly every coordinate, direction and deviation looks, found without the general search;
// null for any other value. In that range the fixed form is always the shorter one, and at most
// one whole number of millionths reads back to the value (a double there is finer than 2e-12).
// That count of millionths, without its trailing zeros, is then the general shortest form: the
// value has no shorter decimal, since every shorter one is a different count of millionths.
char* write_short_decimal(double value, char* first) {
  const double size = std::fabs(value);
  if (!(size >= 0.01 && size < 1e4)) return nullptr;
  const double millionths = std::nearbyint(size * 1e6);
  // Both the whole number and the power of ten are exact, so the division rounds once, as
  // reading the decimal text back does. Values of full precision, such as a point turned into
  // CAD coordinates, are turned away here.
  if (millionths / 1e6 != size) return nullptr;
  auto digits = static_cast<std::uint64_t>(millionths);
  int decimals = 6;
  while (decimals > 0 && digits % 10 == 0) {
    digits /= 10;
    --decimals;
  }
  if (value < 0) *first++ = '-';
  return write_decimal(digits, decimals, first);
}

// `value` rounded to `decimals` digits from one multiplication by a power of ten, when that
// product is sure to round the way the exact binary value does; null otherwise. The product is
// off by at most half a unit in its last place, so only a fraction that close to one half (an
// exact tie included, which rounds to even) leaves the direction in doubt.
char* write_quick_fixed(double value, int decimals, bool plus_sign, char* first) {
  if (decimals < 0 || decimals > 16) return nullptr;
  const double scaled = std::fabs(value) * kPowersOfTen[decimals];
  if (!(scaled < 0x1p52)) return nullptr;  // whole numbers stay exact below 2^52; NaN fails too
  const double whole = std::floor(scaled);
  const double fraction = scaled - whole;  // exact
  if (std::fabs(fraction - 0.5) <= (scaled + 1.0) * 0x1p-52) return nullptr;
  const auto digits = static_cast<std::uint64_t>(whole) + (fraction > 0.5 ? 1 : 0);
  if (std::signbit(value)) {
    *first++ = '-';
  } else if (plus_sign && value > 0.0) {
    *first++ = '+';
  }
  return write_decimal(digits, decimals, first);
}

}  // namespace

char* write_json_number(double value, char* first) {
  if (!std::isfinite(value)) {
    std::memcpy(first, "null", 4);
    return first + 4;
  }
  if (char* end = write_short_decimal(value, first)) return end;
  // Shortest round-trip form; it may be fixed (25.4254) or scientific (1e+300), both valid JSON.
  return std::to_chars(first, first + kJsonNumberRoom, value).ptr;
}

std::string_view format_json_number(double value, char (&buffer)[kNumberBufferSize]) {
  const char* end = write_json_number(value, buffer);
  return std::string_view(buffer, static_cast<std::size_t>(end - buffer));
}

char* write_fixed(double value, int decimals, bool plus_sign, char* first) {
  if (char* end = write_quick_fixed(value, decimals, plus_sign, first)) return end;
  char* const last = first + kNumberBufferSize;
  if (plus_sign && value > 0.0) *first++ = '+';
  std::to_chars_result r = std::to_chars(first, last, value, std::chars_format::fixed, decimals);
  if (r.ec != std::errc()) {
    // Only absurd magnitudes need more room than the buffer has: fall back to the short form.
    r = std::to_chars(first, last, value);
  }
  return r.ptr;
}

std::string format_fixed(double value, int decimals, bool plus_sign) {
  char buffer[kNumberBufferSize];
  return std::string(buffer, write_fixed(value, decimals, plus_sign, buffer));
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
