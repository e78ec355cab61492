// FolderWatch: polls folders and hands out each settled state of a file once.
#include "store/folder_watch.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "store/internal/utf8_path.h"
#include "store/run_record.h"

namespace store {

FolderWatch::FolderWatch(std::vector<std::string> folders, std::chrono::milliseconds settle,
                         std::vector<std::string> skip)
    : folders_(std::move(folders)), settle_(settle), skip_(std::move(skip)) {}

std::vector<std::string> FolderWatch::poll(std::chrono::steady_clock::time_point now) {
  namespace fs = std::filesystem;
  std::set<std::string> present;
  std::vector<std::string> ready;
  for (const std::string& folder : folders_) {
    std::error_code error;
    for (fs::recursive_directory_iterator
             it(folder, fs::directory_options::skip_permission_denied, error),
         end;
         !error && it != end; it.increment(error)) {
      std::error_code file_error;
      if (!it->is_regular_file(file_error)) continue;
      const std::string path = utf8_of(it->path());
      if (std::find(skip_.begin(), skip_.end(), stored_path(path)) != skip_.end()) continue;
      const std::uintmax_t size = it->file_size(file_error);
      if (file_error) continue;
      const auto modified = it->last_write_time(file_error).time_since_epoch().count();
      if (file_error) continue;
      present.insert(path);
      auto [seen, added] = seen_.try_emplace(path);
      Seen& s = seen->second;
      if (added || s.size != size || s.modified != static_cast<std::int64_t>(modified)) {
        s = {size, static_cast<std::int64_t>(modified), now, false};
      }
      if (!s.handed_out && now - s.since >= settle_) {
        s.handed_out = true;
        ready.push_back(path);
      }
    }
  }
  // A file that went away and comes back is new again.
  std::erase_if(seen_, [&](const auto& entry) { return present.count(entry.first) == 0; });
  std::sort(ready.begin(), ready.end());
  return ready;
}

}  // namespace store
