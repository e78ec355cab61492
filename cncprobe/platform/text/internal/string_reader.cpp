// apStringReader: byte-level line splitting; apStringReaderUTF8: UTF-8 decoding of the lines.
#include "cncprobe/platform/text/internal/string_reader.h"

#include <istream>
#include <streambuf>
#include <string_view>

namespace {
using Traits = std::char_traits<char>;
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr std::size_t kByteOrderMarkLength = sizeof kByteOrderMark - 1;
}  // namespace

apStringReader::RawLine apStringReader::read_raw_line(std::istream& stream,
                                                      std::string& bytes) const {
  const std::istream::sentry ready(stream, true);  // true: blanks are data, not skipped
  if (!ready) return RawLine::kNoLine;             // the sentry has set the fail flag
  std::streambuf* buffer = stream.rdbuf();
  // Bytes gather in a small run and go to `bytes` a run at a time, not one by one.
  char run[256];
  std::size_t held = 0;
  const std::size_t room = max_line_bytes() > bytes.size() ? max_line_bytes() - bytes.size() : 0;
  std::size_t taken = 0;
  for (;;) {
    const Traits::int_type next = buffer->sbumpc();
    if (Traits::eq_int_type(next, Traits::eof())) {
      bytes.append(run, held);
      if (bytes.empty()) {
        stream.setstate(std::ios_base::eofbit | std::ios_base::failbit);
        return RawLine::kNoLine;
      }
      // A last line without a line end is still a line.
      stream.setstate(std::ios_base::eofbit);
      return RawLine::kLine;
    }
    const char byte = Traits::to_char_type(next);
    if (byte == '\n' || byte == '\r') {
      bytes.append(run, held);
      if (byte == '\r' && Traits::eq_int_type(buffer->sgetc(), Traits::to_int_type('\n'))) {
        buffer->sbumpc();
      }
      return RawLine::kLine;
    }
    if (taken++ == room) {
      bytes.append(run, held);
      return RawLine::kTooLong;
    }
    run[held++] = byte;
    if (held == sizeof run) {
      bytes.append(run, held);
      held = 0;
    }
  }
}

apString apStringReaderUTF8::read_line(std::istream& stream, int& error) {
  const std::string_view bytes = read_line_bytes(stream, error);
  if (bytes.data() == nullptr) return apString();
  int bad = 0;
  apString line(apStringFromUTF8, bytes, bad);
  if (bad != 0) {
    error = bad;
    return apString();
  }
  return line;
}

std::string_view apStringReaderUTF8::read_line_bytes(std::istream& stream, int& error) {
  std::string& bytes = bytes_;
  bytes.clear();
  bool at_start = first_line_;
  first_line_ = false;
  std::streambuf* buffer = stream.good() ? stream.rdbuf() : nullptr;
  // The stream is asked where it stands only when the next byte could open a mark: asking a file
  // stream costs a system call, which every line of a long file would pay otherwise.
  const bool mark_ahead =
      buffer && Traits::eq_int_type(buffer->sgetc(), Traits::to_int_type(kByteOrderMark[0]));
  if (mark_ahead) {
    const std::streampos position = buffer->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    if (position != std::streampos(-1)) at_start = position == std::streampos(0);
  }
  if (at_start && mark_ahead) {
    // Skip the byte-order mark; a partial one is no mark and its bytes stay in the line.
    std::size_t matched = 0;
    while (matched < kByteOrderMarkLength &&
           Traits::eq_int_type(buffer->sgetc(), Traits::to_int_type(kByteOrderMark[matched]))) {
      buffer->sbumpc();
      ++matched;
    }
    if (matched < kByteOrderMarkLength) bytes.assign(kByteOrderMark, matched);
  }

  if (read_raw_line(stream, bytes) != RawLine::kLine) {
    error = 1;
    return {};
  }
  // Never a null view for a line, even an empty one: null means no line.
  return bytes.empty() ? std::string_view("", 0) : std::string_view(bytes);
}
