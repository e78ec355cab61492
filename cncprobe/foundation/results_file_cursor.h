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

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <string_view>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/text/string.h"

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
  // The lines of the rest of an opened file, by the same rules; the file is read into one block
  // and its lines are cut out of it in place, so it is held once. The stream is at its end
  // afterwards, and its problem() says whether a read failed.
  explicit kptResultsFileCursor(kptInputStream& stream);
  // The same lines, with a large file read and cut into its lines on up to `threads` threads
  // (the caller's among them); 1 starts none.
  kptResultsFileCursor(kptInputStream& stream, unsigned int threads);
  // The given lines in order, without the empty ones, standing before the first line.
  kptResultsFileCursor(std::initializer_list<utString> lines);

  // Copies share the list of lines and take over the position (and the current line already
  // made, which they share); they cost a few words.
  kptResultsFileCursor(const kptResultsFileCursor& other) = default;
  kptResultsFileCursor& operator=(const kptResultsFileCursor& other) = default;
  ~kptResultsFileCursor() = default;

  // Steps to the next line: from the undefined position to the first line, from the last line to
  // the undefined position. True when the cursor now stands on a line.
  bool operator++() noexcept;
  // The line at the current position; an invalid string on the undefined position. The string is
  // made from the file's bytes when first asked for on a position and is held by this cursor: a
  // reference to it is good until the cursor moves or is assigned to.
  const utString& operator()() const noexcept {
    return line_index_ == index_ ? line_ : make_line();
  }
  // True on the undefined position, which is both before the first and after the last line.
  [[nodiscard]] bool undefined() const noexcept { return index_ == kNone; }

  // True when both share one list of lines and stand on the same position of it. Cursors built
  // separately are never equal, even over the same file.
  [[nodiscard]] bool operator==(const kptResultsFileCursor& other) const noexcept {
    return lines_ == other.lines_ && index_ == other.index_;
  }
  [[nodiscard]] bool operator!=(const kptResultsFileCursor& other) const noexcept {
    return !(*this == other);
  }

  // Gives the memory of the lines before the current one back to the system, in whole pages, once
  // enough of them have been passed to be worth a call; those lines read as invalid strings from
  // then on, through this cursor and every copy of it. For a reader that only ever steps forward
  // and keeps no copy behind itself, such as an extraction over a file it opened: its memory then
  // holds about the rest of the file and what was read from it, not the whole file besides.
  // Nothing happens on the undefined position.
  void release_passed_lines() noexcept;

  // Moves to the line numbered `line_number` (from 1, as line_number() counts); true when there is
  // such a line, otherwise the cursor is left on the undefined position.
  bool step_to(std::size_t line_number) noexcept;

  // Number of lines kept.
  [[nodiscard]] std::size_t line_count() const noexcept { return lines_->count(); }
  // Position of the current line among the kept lines, counted from 1; 0 when undefined.
  [[nodiscard]] std::size_t line_number() const noexcept { return undefined() ? 0 : index_ + 1; }

 protected:
  // Parts of a file cut into lines side by side are this large at least: below that a thread
  // costs more than it saves.
  static constexpr std::size_t kLeastPart = std::size_t{4} << 20;

  // The lines of `bytes`, cut in parts of at least `least_part` bytes on up to `threads`
  // threads: how cutting in parts is checked against one pass on small inputs.
  kptResultsFileCursor(std::string_view bytes, unsigned int threads, std::size_t least_part);

  // A cursor over a new, empty list, standing on its undefined position.
  kptResultsFileCursor();

  // Appends the lines of the named file to the list (see the file-name constructor).
  void read_file(const utString& file_name);
  // Appends the lines of the rest of an opened file, read and cut on up to `threads` threads.
  void read_stream(kptInputStream& stream, unsigned int threads = 1);

  // Reads one line from `stream`: the bytes up to the next NUL, line feed or carriage return (which
  // is consumed) or to the end of the stream. Returns the empty string when the line fails the
  // encoding test; otherwise the bytes exactly as read, possibly none.
  static utString read_line(std::ifstream& stream);

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  // The kept lines of a file, held once: their bytes one after the other, without line ends, in
  // one block, and where each begins. A line is made into a utString only when a parser asks for
  // it, so a file costs about its own size, not a string per line.
  struct LineStore {
    LineStore() = default;
    LineStore(const LineStore&) = delete;
    LineStore& operator=(const LineStore&) = delete;
    ~LineStore() { std::free(bytes); }

    [[nodiscard]] std::size_t count() const noexcept {
      const std::size_t entries = wide ? wide_starts.size() : starts.size();
      return entries == 0 ? 0 : entries - 1;
    }
    [[nodiscard]] std::size_t start(std::size_t line) const noexcept {
      return wide ? wide_starts[line] : starts[line];
    }
    // Records where the next line would begin.
    void add_start(std::size_t offset);
    // Makes room for offsets up to `end`: beyond 4 GiB the offsets are kept in full width.
    void allow_offsets_to(std::size_t end);
    // Drops a lone entry (no lines) and gives back the index's spare room.
    void settle();

    char* bytes = nullptr;  // from malloc: the block grows and shrinks with realloc
    // Lines below this one were given back (release_passed_lines), and the bytes of the block
    // below this offset, whole pages, are no longer held. Atomic: a file recognised on several
    // threads gives lines back on one while the others read further on.
    std::atomic<std::size_t> released_lines{0};
    std::size_t released_bytes = 0;
    std::size_t size = 0;  // bytes of it in use
    std::size_t capacity = 0;
    // Where line i begins, and one more entry for where the next line would begin: 32-bit offsets
    // while the block is below 4 GiB (nearly every file), full-width ones beyond.
    std::vector<std::uint32_t> starts;
    std::vector<std::size_t> wide_starts;
    bool wide = false;  // whether wide_starts is the one in use
  };

  // Cuts the raw file bytes in [from, end) of the block into kept lines, in place, and records
  // where they begin; a block of a new list of at least two parts is cut in parts on up to
  // `threads` threads.
  void cut_lines(std::size_t from, std::size_t end, unsigned int threads = 1,
                 std::size_t least_part = kLeastPart);
  // Cuts the parts of such a block on several threads; false when it is left to one thread.
  bool cut_lines_in_parts(std::size_t from, std::size_t end, unsigned int threads,
                          std::size_t least_part);
  // Makes the current line into line_; called when line_ holds another position.
  const utString& make_line() const noexcept;

  std::shared_ptr<LineStore> lines_;
  std::size_t index_ = kNone;
  // The current line once made, and the position it was made for.
  mutable utString line_;
  mutable std::size_t line_index_ = kNone;
};
