// kptResultsFileCursor: the non-empty lines of a results file and a position among them.
//
// The file is read once, when the cursor is built; copies share that list of lines and each
// keeps its own position, so a report parser can look ahead on a copy and hand the copy back
// only when the report was read.
//
//   const utString file_name("probing.res");
//   kptResultsFileCursor cursor(file_name);  // parentheses: braces would make a one-line cursor
//   while (++cursor) parser.parse_next_object(cursor);
#pragma once

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/text/string.h"
#include "cncprobe/platform/text/string_list.h"

class CNCPROBE_API kptResultsFileCursor {
 public:
  // The lines of the named file, standing before the first line. A NUL, a line feed or a
  // carriage return ends a line; empty lines and lines that are neither UTF-8 nor text of the
  // current C locale's encoding are dropped; a last line without a line end is kept. A file that
  // cannot be opened or read (missing, a directory, no permission) gives no lines.
  explicit kptResultsFileCursor(const utString& file_name);
  // The lines of an input already read, by the same rules. An input that could not be read holds
  // no bytes, or those read before a read error, and gives those lines.
  explicit kptResultsFileCursor(const kptInputFile& input);
  // The lines of the rest of an opened file, by the same rules; read in blocks, so the file is
  // never held whole beside its lines. The stream is at its end afterwards, and its problem()
  // says whether a read failed.
  explicit kptResultsFileCursor(kptInputStream& stream);
  // The given lines in order, without the empty ones, standing before the first line.
  kptResultsFileCursor(std::initializer_list<utString> lines);

  // Copies share the list of lines and take over the position; they cost two pointers.
  kptResultsFileCursor(const kptResultsFileCursor& other) = default;
  kptResultsFileCursor& operator=(const kptResultsFileCursor& other) = default;
  ~kptResultsFileCursor() = default;

  // Steps to the next line: from the undefined position to the first line, from the last line to
  // the undefined position. True when the cursor now stands on a line.
  bool operator++() noexcept;
  // The line at the current position; an invalid string on the undefined position.
  const utString& operator()() const noexcept { return position_(); }
  // True on the undefined position, which is both before the first and after the last line.
  [[nodiscard]] bool undefined() const noexcept { return position_.undefined(); }

  // True when both share one list of lines and stand on the same position of it. Cursors built
  // separately are never equal, even over the same file.
  [[nodiscard]] bool operator==(const kptResultsFileCursor& other) const noexcept {
    return lines_ == other.lines_ && position_ == other.position_;
  }
  [[nodiscard]] bool operator!=(const kptResultsFileCursor& other) const noexcept {
    return !(*this == other);
  }

  // Number of lines kept.
  [[nodiscard]] std::size_t line_count() const noexcept { return lines_->size(); }
  // Position of the current line among the kept lines, counted from 1; 0 when undefined.
  [[nodiscard]] std::size_t line_number() const noexcept {
    return undefined() ? 0 : position_.index() + 1;
  }

 protected:
  // A cursor over a new, empty list, standing on its undefined position.
  kptResultsFileCursor();

  // Appends the lines of the named file to the list (see the file-name constructor).
  void read_file(const utString& file_name);
  // Appends the lines of the rest of an opened file.
  void read_stream(kptInputStream& stream);

  // Reads one line from `stream`: the bytes up to the next NUL, line feed or carriage return (which
  // is consumed) or to the end of the stream. Returns the empty string when the line fails the
  // encoding test; otherwise the bytes exactly as read, possibly none.
  static utString read_line(std::ifstream& stream);

 private:
  std::shared_ptr<utStringcoSList> lines_;
  utStringcoSListBcoIterator position_;
};
