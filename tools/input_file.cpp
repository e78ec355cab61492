// Input file checks of the cncprobe tool, on POSIX stat and open.
#include "tools/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tool {

namespace {

std::string errno_reason(int error) {
  switch (error) {
    case ENOENT:
      return "no such file";
    case ENOTDIR:
      return "no such file (a part of the path is not a directory)";
    case EACCES:
      return "permission denied";
    case ENAMETOOLONG:
      return "the file name is too long";
    case ELOOP:
      return "too many symbolic links";
    default:
      return std::strerror(error);
  }
}

std::optional<std::string> type_reason(mode_t mode) {
  if (S_ISREG(mode)) return std::nullopt;
  if (S_ISDIR(mode)) return "is a directory";
  if (S_ISFIFO(mode)) return "is a FIFO (named pipe), not a regular file";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "is a device, not a regular file";
  if (S_ISSOCK(mode)) return "is a socket, not a regular file";
  return "is not a regular file";
}

}  // namespace

std::optional<std::string> unreadable_reason(const std::string& path) {
  if (path.empty()) return "no such file (the file name is empty)";
  struct stat before {};
  if (::stat(path.c_str(), &before) != 0) return errno_reason(errno);
  if (auto reason = type_reason(before.st_mode)) return reason;

  // A regular file: open it once to learn whether it may be read. O_NONBLOCK keeps the open from
  // waiting should the name have been replaced by a FIFO since the stat.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return errno_reason(errno);
  struct stat after {};
  std::optional<std::string> reason;
  if (::fstat(fd, &after) != 0) {
    reason = errno_reason(errno);
  } else {
    reason = type_reason(after.st_mode);
  }
  ::close(fd);
  return reason;
}

}  // namespace tool
