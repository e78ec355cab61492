// kptResultsFileCursor: reading a results file into its list of lines, and stepping through it.
#include "cncprobe/foundation/results_file_cursor.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cncprobe/platform/text/wide_string.h"

namespace {
// The longest line a utString holds; a longer run of bytes is cut into lines of this length.
constexpr std::size_t kMaxLineLength = std::numeric_limits<std::uint32_t>::max() - 1;
// The file is read in chunks of this size; lines are cut out of each chunk in place.
constexpr std::size_t kChunkSize = std::size_t{1} << 20;

constexpr bool is_line_end(char c) noexcept { return c == '\0' || c == '\n' || c == '\r'; }

// The first NUL, LF or CR in [p, end), or end. Eight bytes at a time: a word without any byte
// below 0x0E holds no line end, which is the common case inside a line.
const char* find_line_end(const char* p, const char* end) noexcept {
  constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
  constexpr std::uint64_t kHighs = 0x8080808080808080ULL;
  while (end - p >= 8) {
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    if (((word - kOnes * 0x0E) & ~word & kHighs) != 0) break;
    p += 8;
  }
  while (p != end && !is_line_end(*p)) ++p;
  return p;
}

// A line that is not UTF-8 survives when it is text in the current C locale's multibyte encoding
// (a machine configured for a legacy code page); anything else is noise and is dropped.
bool readable_in_c_locale(const utString& line) {
  return std::mbstowcs(nullptr, line.c_str(), 2147483647) != static_cast<std::size_t>(-1);
}

// Cuts the bytes of a file, fed chunk by chunk, into the non-empty lines that pass the encoding
// test, appending them to a list. A line cut by a chunk boundary waits in `partial_`.
class LineSplitter {
 public:
  explicit LineSplitter(utStringcoSList& lines) : lines_(lines) {}

  void feed(const char* p, const char* end) {
    while (p != end) {
      const char* line_end = find_line_end(p, end);
      if (line_end == end) {
        hold(std::string_view(p, static_cast<std::size_t>(end - p)));
        return;
      }
      const std::string_view piece(p, static_cast<std::size_t>(line_end - p));
      if (partial_.empty()) {
        keep(piece);
      } else {
        hold(piece);
        keep(partial_);
        partial_.clear();
      }
      p = line_end + 1;
    }
  }

  // The last line of the file, which has no line end behind it.
  void finish() {
    keep(partial_);
    partial_.clear();
  }

 private:
  void hold(std::string_view piece) {
    while (partial_.size() + piece.size() > kMaxLineLength) {
      const std::size_t room = kMaxLineLength - partial_.size();
      partial_.append(piece.substr(0, room));
      piece.remove_prefix(room);
      keep(partial_);
      partial_.clear();
    }
    partial_.append(piece);
  }

  void keep(std::string_view bytes) {
    if (bytes.empty()) return;
    // Valid UTF-8, and plain ASCII above all, is the common case: test it without decoding.
    if (apString::is_valid_utf8(bytes) ||
        readable_in_c_locale(utString(bytes.data(), bytes.size()))) {
      lines_.insert_last(arena_.make(bytes.data(), bytes.size()));
    }
  }

  utStringcoSList& lines_;
  std::string partial_;
  // The lines of a file are made together and released together: a few hundred share one
  // allocation.
  utStringArena arena_;
};
}  // namespace

kptResultsFileCursor::kptResultsFileCursor()
    : lines_(std::make_shared<utStringcoSList>()), position_(lines_.get()) {}

kptResultsFileCursor::kptResultsFileCursor(const utString& file_name) : kptResultsFileCursor() {
  read_file(file_name);
}

kptResultsFileCursor::kptResultsFileCursor(const kptInputFile& input) : kptResultsFileCursor() {
  const std::string_view bytes = input.bytes();
  LineSplitter splitter(*lines_);
  splitter.feed(bytes.data(), bytes.data() + bytes.size());
  splitter.finish();
}

kptResultsFileCursor::kptResultsFileCursor(kptInputStream& stream) : kptResultsFileCursor() {
  read_stream(stream);
}

kptResultsFileCursor::kptResultsFileCursor(std::initializer_list<utString> lines)
    : kptResultsFileCursor() {
  for (const utString& line : lines) {
    if (line.length() != 0) lines_->insert_last(line);
  }
}

bool kptResultsFileCursor::operator++() noexcept { return ++position_; }

void kptResultsFileCursor::read_file(const utString& file_name) {
  // A file that cannot be opened or is no regular file gives no lines, as a missing file does.
  kptInputStream stream = kptInputStream::open(file_name);
  read_stream(stream);
}

void kptResultsFileCursor::read_stream(kptInputStream& stream) {
  if (stream.problem() != kptInputReadable) return;
  // A small file needs no large buffer; a large one is read a chunk at a time.
  const std::size_t chunk_size = std::clamp<std::size_t>(stream.size_hint() + 1, 4096, kChunkSize);
  const std::unique_ptr<char[]> chunk(new char[chunk_size]);
  LineSplitter splitter(*lines_);
  // The end of the file or a read error ends the reading; the lines read so far, the last one
  // included, are kept.
  for (;;) {
    const std::size_t got = stream.read_some(chunk.get(), chunk_size);
    if (got == 0) break;
    splitter.feed(chunk.get(), chunk.get() + got);
  }
  splitter.finish();
}

utString kptResultsFileCursor::read_line(std::ifstream& stream) {
  std::string bytes;
  while (bytes.size() < kMaxLineLength) {
    const std::ifstream::int_type c = stream.get();
    if (c == std::ifstream::traits_type::eof()) break;
    const char byte = std::ifstream::traits_type::to_char_type(c);
    if (is_line_end(byte)) break;
    bytes.push_back(byte);
  }
  utString line(bytes.data(), bytes.size());
  if (apString::is_valid_utf8(bytes) || readable_in_c_locale(line)) return line;
  return utString("");
}
