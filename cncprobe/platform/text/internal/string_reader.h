// apStringReader and apStringReaderUTF8: reading a text stream line by line as wide strings.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
//
//   std::ifstream in(name);
//   apStringReaderUTF8 reader;
//   for (;;) {
//     int error = 0;
//     apString line = reader.read_line(in, error);
//     if (error != 0) break;   // end of the stream, or a line that is no text
//     use(line);
//   }
//
// A line ends at a line feed, a carriage return followed by a line feed, or a lone carriage
// return, so files written with any of the usual line ends read alike; the line end is not part
// of the line. A last line that stops at the end of the stream without a line end is still a
// line. Lines are limited in length so that a file without line ends, or binary data, cannot make
// a reader hold the whole file in memory.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

// A line reader over an input stream; derived readers decide how bytes become text.
class CNCPROBE_API apStringReader {
 public:
  // The default length limit of one line, in bytes without its line end: far beyond any line a
  // machine or a person writes, small enough that a reader never holds much of a binary file.
  static constexpr std::size_t kDefaultMaxLineBytes = std::size_t{1} << 20;

  explicit apStringReader(std::size_t max_line_bytes = kDefaultMaxLineBytes) noexcept
      : max_line_bytes_(max_line_bytes) {}
  virtual ~apStringReader() = default;

  // The next line of `stream` as text, without its line end. `error` is set non-zero, and an
  // invalid apString returned, when no line could be read (the stream was at its end or failed)
  // or the line could not be decoded or was longer than max_line_bytes(); on success `error` is
  // left as the caller set it (to 0). After an over-long line the stream stands inside it.
  [[nodiscard]] virtual apString read_line(std::istream& stream, int& error) = 0;

  std::size_t max_line_bytes() const noexcept { return max_line_bytes_; }

 protected:
  apStringReader(const apStringReader&) = default;
  apStringReader& operator=(const apStringReader&) = default;

  enum class RawLine { kLine, kNoLine, kTooLong };
  // Reads the bytes of the next line into `bytes` (without its line end). Sets the stream's
  // end-of-file flag when the end is reached and its fail flag when nothing was left to read.
  RawLine read_raw_line(std::istream& stream, std::string& bytes) const;

 private:
  std::size_t max_line_bytes_;
};

// Reads lines encoded as UTF-8. A UTF-8 byte-order mark at the start of the stream is skipped
// (the start being position 0 of a stream that can tell its position, otherwise the first line
// this reader reads). A line that is not valid UTF-8 sets the error.
class CNCPROBE_API apStringReaderUTF8 : public apStringReader {
 public:
  explicit apStringReaderUTF8(std::size_t max_line_bytes = kDefaultMaxLineBytes) noexcept
      : apStringReader(max_line_bytes) {}

  [[nodiscard]] apString read_line(std::istream& stream, int& error) override;

  // The bytes of the next line as read_line reads it (the mark skipped, without its line end),
  // not yet decoded, so a reader that wants only some lines decodes only those; the same errors
  // as read_line but the decoding one. The view is good until the next call.
  [[nodiscard]] std::string_view read_line_bytes(std::istream& stream, int& error);

 private:
  bool first_line_ = true;
  std::string bytes_;  // the bytes of the line being read; its room is kept from line to line
};
