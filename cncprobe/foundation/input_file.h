// kptInputFile: the bytes of one input (a results file, standard input, text held in memory), or
// the reason it could not be read. kptInputStream: a regular file opened the same way, read block
// by block by a reader that must not hold a whole large file.
//
// Every reader of the library opens files here, so a missing file, a directory, a FIFO or a
// device is refused the same way everywhere, and a host can say why a file gave nothing:
//
//   kptInputFile input = kptInputFile::read(utString("/jobs/bracket/results.txt"));
//   if (!input.ok()) report("cannot read: ", kpt_input_problem_text(input.problem()));
//
// Only regular files are read. A FIFO would block the host until a writer came, and a device
// such as a terminal or a random source never ends; the file is opened without blocking and the
// open file itself is asked what it is, so the name cannot be swapped for something else between
// the check and the reading.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

// Why an input could not be read.
enum kptInputProblem : std::int32_t {
  kptInputReadable = 0,        // read (possibly empty)
  kptInputMissing = 1,         // no such file (ENOENT, ENOTDIR)
  kptInputDirectory = 2,       // a directory
  kptInputNotRegularFile = 3,  // a FIFO, device or socket: never read (it could block or never end)
  kptInputPermissionDenied = 4,  // EACCES / EPERM
  kptInputReadError = 5,         // opened but reading failed (EIO...), or the name cannot be used
};

// "no such file", "is a directory", "not a regular file", "permission denied", "read error";
// "" for readable.
CNCPROBE_API const char* kpt_input_problem_text(kptInputProblem problem) noexcept;

// A regular file opened for reading, read block by block. Move-only; closes the file when it goes.
class CNCPROBE_API kptInputStream {
 public:
  // Opens the named file when it is a regular file that may be read; otherwise problem() says
  // why and read_some gives nothing. An invalid name, or one holding a NUL, is a read error.
  static kptInputStream open(const utString& file_name);

  kptInputStream(kptInputStream&& other) noexcept;
  kptInputStream& operator=(kptInputStream&& other) noexcept;
  kptInputStream(const kptInputStream&) = delete;
  kptInputStream& operator=(const kptInputStream&) = delete;
  ~kptInputStream();

  // kptInputReadable while the file is open and no read has failed.
  [[nodiscard]] kptInputProblem problem() const noexcept { return problem_; }
  // The size of the file when it was opened; 0 when it could not be opened.
  [[nodiscard]] std::size_t size_hint() const noexcept { return size_hint_; }
  // Reads up to `size` bytes into `buffer`: the number read, 0 at the end of the file. A read
  // that fails gives 0 and sets problem() to kptInputReadError; the bytes read before it stand.
  std::size_t read_some(char* buffer, std::size_t size) noexcept;
  // Reads up to `size` bytes into `buffer` as read_some does, but all of them unless the file
  // ends or a read fails first; with `threads` above 1 the parts are read side by side on that
  // many threads (the caller's among them), which brings a large file into memory faster. The
  // number read; the stream stands after them. A read that fails sets problem() to
  // kptInputReadError, and the bytes before the failed part stand.
  std::size_t read_all(char* buffer, std::size_t size, unsigned int threads = 1) noexcept;

 private:
  kptInputStream() = default;
  void close() noexcept;

  // The open file: a descriptor on POSIX, a HANDLE on Windows; -1 when closed.
  std::intptr_t handle_ = -1;
  kptInputProblem problem_ = kptInputReadError;
  std::size_t size_hint_ = 0;
};

// The whole content of one input in one buffer, or the reason it could not be read.
class CNCPROBE_API kptInputFile {
 public:
  // Regular files only, never blocks on a FIFO. A read error in the middle of the file keeps the
  // bytes read before it, with problem() kptInputReadError.
  static kptInputFile read(const utString& file_name);
  // Everything left in `stream`, e.g. standard input; a read error when the stream fails (it was
  // already failed, or reading set its bad bit or threw).
  static kptInputFile read(std::istream& stream);
  // Bytes held in memory (fuzzing, hosts, Python); always readable.
  static kptInputFile from_text(std::string text);

  // Why the input gave nothing, or kptInputReadable.
  [[nodiscard]] kptInputProblem problem() const noexcept { return problem_; }
  // True when the input was read (possibly empty).
  [[nodiscard]] bool ok() const noexcept { return problem() == kptInputReadable; }
  // The bytes read; empty when the input could not be read.
  [[nodiscard]] std::string_view bytes() const noexcept { return bytes_; }

 private:
  kptInputFile(kptInputProblem problem, std::string bytes)
      : problem_(problem), bytes_(std::move(bytes)) {}

  kptInputProblem problem_ = kptInputReadable;
  std::string bytes_;
};
