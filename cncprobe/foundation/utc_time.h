// kptUtcTime: instants as ISO 8601 text in UTC, the way every front end dates a run, a report and
// a stored row: "2026-11-25T06:12:00Z".
#pragma once

#include <optional>
#include <string>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptUtcTime {
 public:
  // `seconds` since 1970-01-01T00:00:00Z (negative before it) as "YYYY-MM-DDThh:mm:ssZ"; a time
  // beyond the years -32767 to 32767 is written as the nearest end of them.
  static std::string text(long long seconds);
  // The current time, to the second, as text().
  static std::string now();
  // The last modification time of the named file (UTF-8), to the second, as text(); nothing
  // when the file cannot be asked (missing, no permission, an invalid name).
  static std::optional<std::string> of_file(const utString& file_name);
};
