// FolderWatch: the files of watched folders that are ready to ingest. Folders are polled rather
// than subscribed to, because a machine often writes to a network share, and a host is not told
// of files another host writes there. A file is ready once its size and modification time have
// stood still for the settle time: a machine still writing a file changes both.
//
//   store::FolderWatch watch({"/share/m1"}, std::chrono::seconds(5), {});
//   for (;;) {
//     for (const std::string& file : watch.poll(std::chrono::steady_clock::now())) ingest(file);
//     sleep(2);
//   }
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace store {

class FolderWatch {
 public:
  // `skip`: absolute paths never handed out (the store's own files).
  FolderWatch(std::vector<std::string> folders, std::chrono::milliseconds settle,
              std::vector<std::string> skip);

  // Scans the folders (at any depth) and returns, in name order, the files that are new or have
  // changed since they were last handed out and have not changed for the settle time before
  // `now`. Each state of a file is handed out once. Folders that cannot be read give nothing.
  std::vector<std::string> poll(std::chrono::steady_clock::time_point now);

 private:
  struct Seen {
    std::uintmax_t size = 0;
    std::int64_t modified = 0;  // the file system's time stamp, in its own ticks
    std::chrono::steady_clock::time_point since;
    bool handed_out = false;
  };
  std::vector<std::string> folders_;
  std::chrono::milliseconds settle_;
  std::vector<std::string> skip_;
  std::map<std::string, Seen> seen_;
};

}  // namespace store
