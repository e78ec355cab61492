// Output rules of the cncprobe tool: buffered writing, round-trip numbers, valid UTF-8 text.
//
// Everything the tool prints goes through here: numbers read back to the same double, and text is
// made valid UTF-8 whatever bytes a results file held.
#pragma once

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace tool {

// Opens a file named in UTF-8 for writing bytes (on Windows by its wide name); null on failure.
std::FILE* open_for_writing(const std::string& utf8_name);

// The path of a file named in UTF-8, for the standard library's file functions.
std::filesystem::path utf8_path(const std::string& utf8_name);

// A buffered writer to one C stream. Writing fails loudly: a stream that refuses bytes (a full
// disk, a closed pipe) throws std::system_error, which main turns into one error line.
//
// A run of a million points is printed in a few hundred megabytes, so bytes are gathered in one
// block that is handed to the stream when full, and numbers are formatted straight into it:
//
//   char* first = out.room_for(kJsonNumberRoom);
//   out.commit(write_json_number(value, first));
class Output {
 public:
  explicit Output(std::FILE* stream);
  // Writes into `memory`, appended to as blocks fill and at flush(): how a document is made on
  // one thread while another writes the documents before it.
  explicit Output(std::string& memory);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  void write(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(end_ - next_)) return write_long(text);
    std::memcpy(next_, text.data(), text.size());
    next_ += text.size();
  }
  void write(char c) {
    if (next_ == end_) make_room(1);
    *next_++ = c;
  }
  // `count` blanks.
  void write_blanks(std::size_t count) {
    if (count > static_cast<std::size_t>(end_ - next_)) return write_many_blanks(count);
    std::memset(next_, ' ', count);
    next_ += count;
  }
  // Room for at least `size` more bytes (at most kBlockSize), to format into directly; what was
  // written there counts once commit(end) is called with the end of it.
  char* room_for(std::size_t size) {
    if (size > static_cast<std::size_t>(end_ - next_)) make_room(size);
    return next_;
  }
  void commit(char* end) { next_ = end; }

  // Hands everything buffered to the stream and flushes it; throws std::system_error on failure.
  void flush();

  // The largest room room_for can give.
  static constexpr std::size_t kBlockSize = 64 * 1024;

 private:
  void write_long(std::string_view text);
  void write_many_blanks(std::size_t count);
  void make_room(std::size_t size);
  // Hands the buffered bytes to the stream without flushing it.
  void hand_over();

  std::FILE* stream_;
  std::string* memory_ = nullptr;
  std::unique_ptr<char[]> buffer_;
  char* next_;
  char* end_;
};

// Room for any number format_json_number or format_fixed writes.
inline constexpr std::size_t kNumberBufferSize = 400;
// Room for any number write_json_number writes.
inline constexpr std::size_t kJsonNumberRoom = 32;

// The shortest decimal text that reads back to exactly `value` (for example 0.1, 25.4254, 1e+300,
// -0); "null" for a NaN or an infinity, which JSON cannot carry.
std::string_view format_json_number(double value, char (&buffer)[kNumberBufferSize]);
// The same text written at `first`, which has kJsonNumberRoom bytes of room; returns its end.
char* write_json_number(double value, char* first);

// `value` with `decimals` digits after the point (25.0120), locale-independent; "nan", "inf" or
// "-inf" for values that are not finite. With `plus_sign`, positive values get a leading "+".
std::string format_fixed(double value, int decimals, bool plus_sign = false);
// The same text written at `first`, which has kNumberBufferSize bytes of room; returns its end.
char* write_fixed(double value, int decimals, bool plus_sign, char* first);

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
