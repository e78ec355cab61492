// kptUtcTime on the calendar of <chrono>: no C library time function, which are either not
// thread-safe or not the same on every platform.
#include "cncprobe/foundation/utc_time.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

std::string kptUtcTime::text(long long seconds) {
  using namespace std::chrono;
  const sys_days first = year::min() / January / 1;
  const sys_days last = year::max() / December / 31;
  const sys_seconds instant =
      std::clamp(sys_seconds{std::chrono::seconds{seconds}}, sys_seconds{first},
                 sys_seconds{last} + hours{23} + minutes{59} + std::chrono::seconds{59});
  const sys_days day = floor<days>(instant);
  const year_month_day date(day);
  const hh_mm_ss<std::chrono::seconds> time(instant - day);
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text;
}

std::string kptUtcTime::now() {
  using namespace std::chrono;
  return text(floor<seconds>(system_clock::now()).time_since_epoch().count());
}

std::optional<std::string> kptUtcTime::of_file(const utString& file_name) {
  using namespace std::chrono;
  if (file_name.invalid() || file_name.view().find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  std::error_code error;
  std::filesystem::file_time_type time;
  try {
    const std::string_view utf8 = file_name.view();
#if defined(_WIN32)
    // The UTF-8 name becomes the wide name Windows asks for.
    const std::filesystem::path name(
        std::u8string_view(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
#else
    // The name's bytes as they are: a POSIX name need not be UTF-8.
    const std::filesystem::path name{std::string(utf8)};
#endif
    time = std::filesystem::last_write_time(name, error);
  } catch (...) {
    return std::nullopt;
  }
  if (error) return std::nullopt;
  return text(floor<seconds>(file_clock::to_sys(time)).time_since_epoch().count());
}
