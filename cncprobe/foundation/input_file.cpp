// kptInputStream and kptInputFile on POSIX open, fstat and read, or on the Windows file API.
#include "cncprobe/foundation/input_file.h"

#if defined(_WIN32)
#include <windows.h>

#include <filesystem>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <istream>
#include <utility>

#include "cncprobe/foundation/internal/side_by_side.h"

namespace {
// Whole files are read in blocks of this size at most.
constexpr std::size_t kBlockSize = std::size_t{1} << 20;

#if defined(_WIN32)
kptInputProblem problem_of_error(DWORD error, const std::filesystem::path& name) noexcept {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
      return kptInputMissing;
    case ERROR_ACCESS_DENIED: {
      // Windows refuses to open a directory as a file with "access denied".
      const DWORD attributes = GetFileAttributesW(name.c_str());
      if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return kptInputDirectory;
      }
      return kptInputPermissionDenied;
    }
    case ERROR_SHARING_VIOLATION:  // another program holds the file locked against reading
    case ERROR_LOCK_VIOLATION:
      return kptInputPermissionDenied;
    default:
      return kptInputReadError;
  }
}
#else
kptInputProblem problem_of_errno(int error) noexcept {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return kptInputMissing;
    case EISDIR:
      return kptInputDirectory;
    case EACCES:
    case EPERM:
      return kptInputPermissionDenied;
    case ENXIO:  // a socket, or a device without its hardware
      return kptInputNotRegularFile;
    default:  // a name too long, a loop of links, no descriptors left...
      return kptInputReadError;
  }
}
#endif
}  // namespace

const char* kpt_input_problem_text(kptInputProblem problem) noexcept {
  switch (problem) {
    case kptInputReadable:
      return "";
    case kptInputMissing:
      return "no such file";
    case kptInputDirectory:
      return "is a directory";
    case kptInputNotRegularFile:
      return "not a regular file";
    case kptInputPermissionDenied:
      return "permission denied";
    case kptInputReadError:
      break;
  }
  return "read error";
}

#if defined(_WIN32)
kptInputStream kptInputStream::open(const utString& file_name) {
  kptInputStream stream;
  // A name the file system cannot be given (no name at all, or one cut short by a NUL) is refused
  // here rather than opening some other file.
  if (file_name.invalid() || file_name.view().find('\0') != std::string_view::npos) return stream;
  // The UTF-8 name becomes the wide name Windows opens; a name that is not UTF-8 names no file.
  std::filesystem::path name;
  try {
    const std::string_view utf8 = file_name.view();
    name = std::filesystem::path(
        std::u8string_view(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
  } catch (...) {
    return stream;
  }
  // Others may go on writing, renaming or deleting the file while it is read: the machine may
  // still be printing it.
  const HANDLE handle = CreateFileW(
      name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    stream.problem_ = problem_of_error(GetLastError(), name);
    return stream;
  }
  // Only files on a disk: a console, a pipe or a device could block or never end.
  LARGE_INTEGER size{};
  if (GetFileType(handle) != FILE_TYPE_DISK) {
    stream.problem_ = kptInputNotRegularFile;
  } else if (!GetFileSizeEx(handle, &size)) {
    stream.problem_ = kptInputReadError;
  } else {
    stream.handle_ = reinterpret_cast<std::intptr_t>(handle);
    stream.problem_ = kptInputReadable;
    stream.size_hint_ = size.QuadPart > 0 ? static_cast<std::size_t>(size.QuadPart) : 0;
    return stream;
  }
  CloseHandle(handle);
  return stream;
}
#else
kptInputStream kptInputStream::open(const utString& file_name) {
  kptInputStream stream;
  // A name the file system cannot be given (no name at all, or one cut short by a NUL) is refused
  // here rather than opening some other file.
  if (file_name.invalid() || file_name.view().find('\0') != std::string_view::npos) return stream;
  // Without blocking: opening a FIFO for reading would otherwise wait for a writer. Without
  // becoming the host's controlling terminal should the name be one.
  const int fd = ::open(file_name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    stream.problem_ = problem_of_errno(errno);
    return stream;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    stream.problem_ = kptInputReadError;
  } else if (S_ISDIR(info.st_mode)) {
    stream.problem_ = kptInputDirectory;
  } else if (!S_ISREG(info.st_mode)) {
    stream.problem_ = kptInputNotRegularFile;
  } else {
    stream.handle_ = fd;
    stream.problem_ = kptInputReadable;
    stream.size_hint_ = info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
    return stream;
  }
  ::close(fd);
  return stream;
}

#endif

kptInputStream::kptInputStream(kptInputStream&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)),
      problem_(other.problem_),
      size_hint_(other.size_hint_) {}

kptInputStream& kptInputStream::operator=(kptInputStream&& other) noexcept {
  if (this != &other) {
    close();
    handle_ = std::exchange(other.handle_, -1);
    problem_ = other.problem_;
    size_hint_ = other.size_hint_;
  }
  return *this;
}

kptInputStream::~kptInputStream() { close(); }

#if defined(_WIN32)
void kptInputStream::close() noexcept {
  if (handle_ != -1) CloseHandle(reinterpret_cast<HANDLE>(handle_));
  handle_ = -1;
}

std::size_t kptInputStream::read_some(char* buffer, std::size_t size) noexcept {
  if (handle_ == -1 || size == 0) return 0;
  DWORD got = 0;
  const auto wanted = static_cast<DWORD>(std::min<std::size_t>(size, std::size_t{1} << 30));
  if (ReadFile(reinterpret_cast<HANDLE>(handle_), buffer, wanted, &got, nullptr)) return got;
  // The lines read so far stay with the reader; nothing more is read from this file.
  problem_ = kptInputReadError;
  close();
  return 0;
}
#else
void kptInputStream::close() noexcept {
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
  handle_ = -1;
}

std::size_t kptInputStream::read_some(char* buffer, std::size_t size) noexcept {
  if (handle_ < 0 || size == 0) return 0;
  for (;;) {
    const ssize_t got = ::read(static_cast<int>(handle_), buffer, size);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno == EINTR) continue;
    // The lines read so far stay with the reader; nothing more is read from this file.
    problem_ = kptInputReadError;
    close();
    return 0;
  }
}
#endif

namespace {
// Reads `size` bytes, or up to the end of the file or a failed read, one block after the other.
std::size_t read_in_turn(kptInputStream& stream, char* buffer, std::size_t size) noexcept {
  std::size_t used = 0;
  while (used < size) {
    const std::size_t got = stream.read_some(buffer + used, size - used);
    if (got == 0) break;
    used += got;
  }
  return used;
}
}  // namespace

#if defined(_WIN32)
std::size_t kptInputStream::read_all(char* buffer, std::size_t size,
                                     unsigned int /*threads*/) noexcept {
  // Reads through one synchronous handle are done one at a time by Windows whatever the threads:
  // the parts are read in turn.
  return read_in_turn(*this, buffer, size);
}
#else
namespace {
// Reads [offset, offset + size) of the file into `buffer` with positional reads, which leave the
// file's position alone and so may run on several threads at once. The bytes read, up to the end
// of the file; `failed` when a read failed.
std::size_t read_part(int fd, char* buffer, std::size_t size, off_t offset, bool& failed) noexcept {
  std::size_t used = 0;
  failed = false;
  while (used < size) {
    const ssize_t got = ::pread(fd, buffer + used, std::min(size - used, std::size_t{1} << 30),
                                offset + static_cast<off_t>(used));
    if (got > 0) {
      used += static_cast<std::size_t>(got);
    } else if (got == 0) {
      break;
    } else if (errno != EINTR) {
      failed = true;
      break;
    }
  }
  return used;
}
}  // namespace

std::size_t kptInputStream::read_all(char* buffer, std::size_t size,
                                     unsigned int threads) noexcept {
  if (handle_ < 0 || size == 0) return 0;
  const int fd = static_cast<int>(handle_);
  const off_t start = threads > 1 ? ::lseek(fd, 0, SEEK_CUR) : -1;
  // A part below a few megabytes is not worth a thread.
  constexpr std::size_t kLeastPart = std::size_t{4} << 20;
  constexpr std::size_t kMostParts = 16;
  const std::size_t parts =
      start < 0 ? 1
                : std::clamp<std::size_t>(size / kLeastPart, 1,
                                          std::min<std::size_t>(threads, kMostParts));
  if (parts <= 1) return read_in_turn(*this, buffer, size);
  struct Part {
    std::size_t begin = 0, size = 0, got = 0;
    bool failed = false;
  };
  std::array<Part, kMostParts> cut{};
  for (std::size_t k = 0; k < parts; ++k) {
    cut[k].begin = size / parts * k;
    cut[k].size = (k + 1 < parts ? size / parts * (k + 1) : size) - cut[k].begin;
  }
  run_side_by_side<kMostParts>(parts, [fd, buffer, start, &cut](std::size_t k) {
    Part& part = cut[k];
    part.got = read_part(fd, buffer + part.begin, part.size, start + static_cast<off_t>(part.begin),
                         part.failed);
  });
  // The bytes held are those up to the first part that came short: the end of the file, or a
  // failed read.
  std::size_t used = 0;
  for (std::size_t k = 0; k < parts; ++k) {
    const Part& part = cut[k];
    used += part.got;
    if (part.failed) {
      problem_ = kptInputReadError;
      close();
      return used;
    }
    if (part.got < part.size) break;
  }
  if (::lseek(fd, start + static_cast<off_t>(used), SEEK_SET) < 0) {
    problem_ = kptInputReadError;
    close();
  }
  return used;
}
#endif

kptInputFile kptInputFile::read(const utString& file_name) {
  kptInputStream stream = kptInputStream::open(file_name);
  std::string bytes;
  if (stream.problem() != kptInputReadable) return kptInputFile(stream.problem(), std::move(bytes));
  // The size at opening is only a hint: the machine may still be writing the file.
  bytes.resize(std::max<std::size_t>(stream.size_hint() + 1, 4096));
  std::size_t used = 0;
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() + std::min(bytes.size(), kBlockSize));
    const std::size_t got = stream.read_some(bytes.data() + used, bytes.size() - used);
    if (got == 0) break;
    used += got;
  }
  bytes.resize(used);
  return kptInputFile(stream.problem(), std::move(bytes));
}

kptInputFile kptInputFile::read(std::istream& stream) {
  std::string bytes;
  if (!stream.good()) return kptInputFile(kptInputReadError, std::move(bytes));
  // A host's stream may be set to throw; whatever it throws is a read error here.
  try {
    char block[64 * 1024];
    while (stream.read(block, sizeof block) || stream.gcount() > 0) {
      bytes.append(block, static_cast<std::size_t>(stream.gcount()));
      if (!stream) break;
    }
    if (stream.bad()) return kptInputFile(kptInputReadError, std::move(bytes));
  } catch (...) {
    return kptInputFile(kptInputReadError, std::move(bytes));
  }
  return kptInputFile(kptInputReadable, std::move(bytes));
}

kptInputFile kptInputFile::from_text(std::string text) {
  return kptInputFile(kptInputReadable, std::move(text));
}
