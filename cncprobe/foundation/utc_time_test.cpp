// Tests of kptUtcTime: the calendar around the epoch, leap days and far times, and a file's time.
#include "cncprobe/foundation/utc_time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "tests/support/scratch_directory.h"

TEST(UtcTime, SecondsAsText) {
  const struct {
    long long seconds;
    const char* text;
  } cases[] = {
      {0, "1970-01-01T00:00:00Z"},
      {-1, "1969-12-31T23:59:59Z"},
      {951782400, "2000-02-29T00:00:00Z"},   // a leap day of a year divisible by 400
      {4107542400, "2100-03-01T00:00:00Z"},  // 2100 has no 29 February
      {2147483648, "2038-01-19T03:14:08Z"},  // past 32-bit seconds
      {1795588320, "2026-11-25T06:32:00Z"},
      {-62135596800, "0001-01-01T00:00:00Z"},
      {9000000000000000000, "32767-12-31T23:59:59Z"},  // beyond the calendar: its last second
  };
  for (const auto& c : cases) EXPECT_EQ(kptUtcTime::text(c.seconds), c.text) << c.seconds;
  EXPECT_EQ(kptUtcTime::now().size(), 20u);
}

TEST(UtcTime, ModificationTimeOfAFile) {
  const ScratchDirectory dir;
  const std::string file = dir.write("run.res", "START\n");
  const auto instant = std::chrono::sys_seconds{std::chrono::seconds{1795588320}};
  std::filesystem::last_write_time(file, std::chrono::file_clock::from_sys(instant));
  EXPECT_EQ(kptUtcTime::of_file(utString(file.c_str())), "2026-11-25T06:32:00Z");
  EXPECT_EQ(kptUtcTime::of_file(utString(dir.file("missing.res").c_str())), std::nullopt);
  EXPECT_EQ(kptUtcTime::of_file(utString()), std::nullopt);
}
