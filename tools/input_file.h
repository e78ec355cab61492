// The check every cncprobe command puts its input file to before the library opens it.
#pragma once

#include <optional>
#include <string>

namespace tool {

// Why the file named `path` cannot be read as an input, in words for an error line ("no such
// file", "is a directory", "is a FIFO (named pipe), not a regular file", "permission denied"...),
// or nothing when it is a regular file this process can open for reading. The file's type is
// asked before anything opens it, so a FIFO or a device never blocks the tool.
std::optional<std::string> unreadable_reason(const std::string& path);

}  // namespace tool
