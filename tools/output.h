// Output rules of the cncprobe tool: buffered writing, round-trip numbers, valid UTF-8 text.
//
// Everything the tool prints goes through here: numbers read back to the same double, and text is
// made valid UTF-8 whatever bytes a results file held.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace tool {

// A buffered writer to one C stream. Writing fails loudly: a stream that refuses bytes (a full
// disk, a closed pipe) throws std::system_error, which main turns into one error line.
// Opens a file named in UTF-8 for writing bytes (on Windows by its wide name); null on failure.
std::FILE* open_for_writing(const std::string& utf8_name);

// The path of a file named in UTF-8, for the standard library's file functions.
std::filesystem::path utf8_path(const std::string& utf8_name);

class Output {
 public:
  explicit Output(std::FILE* stream) : stream_(stream) { buffer_.reserve(kFlushAt + 1024); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  void write(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= kFlushAt) flush();
  }
  void write(char c) {
    buffer_.push_back(c);
    if (buffer_.size() >= kFlushAt) flush();
  }
  // Hands everything buffered to the stream and flushes it; throws std::system_error on failure.
  void flush();

 private:
  static constexpr std::size_t kFlushAt = 64 * 1024;
  std::FILE* stream_;
  std::string buffer_;
};

// Room for any number format_json_number or format_fixed writes.
inline constexpr std::size_t kNumberBufferSize = 400;

// The shortest decimal text that reads back to exactly `value` (for example 0.1, 25.4254, 1e+300,
// -0); "null" for a NaN or an infinity, which JSON cannot carry.
std::string_view format_json_number(double value, char (&buffer)[kNumberBufferSize]);

// `value` with `decimals` digits after the point (25.0120), locale-independent; "nan", "inf" or
// "-inf" for values that are not finite. With `plus_sign`, positive values get a leading "+".
std::string format_fixed(double value, int decimals, bool plus_sign = false);

// Appends `bytes` to `out` with every byte that is not part of well-formed UTF-8 (a stray
// continuation byte, a cut sequence, an overlong form, a surrogate, a code point beyond
// U+10FFFF) replaced by U+FFFD, one replacement per such byte.
void append_valid_utf8(std::string& out, std::string_view bytes);

// `bytes` made fit for one line of a terminal: valid UTF-8 as above, and every control character
// (line ends, tabs, escapes) shown as "?", so an error line stays one line.
std::string printable_text(std::string_view bytes);

// The number of characters (code points) of valid UTF-8 text, which is how wide a table cell
// shows in a terminal for the text this tool prints.
std::size_t display_width(std::string_view utf8);

}  // namespace tool
