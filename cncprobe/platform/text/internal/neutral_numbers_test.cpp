// Tests of nlsNeutralNumbers beyond what the number parsing tests show: its reach is one thread.
#include "cncprobe/platform/text/internal/neutral_numbers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "cncprobe/platform/text/internal/test_locale.h"
#include "tests/support/wine.h"

TEST(NeutralNumbers, GuardLeavesTheProcessFormatToOtherThreads) {
  // The host selects a decimal comma for the whole process; a guard on this thread must not
  // change what another thread reads meanwhile, and must give the comma back afterwards.
  if (running_under_wine()) {
    GTEST_SKIP() << "Wine gives a thread's number format to the other threads as well";
  }
  if (!setlocale(LC_NUMERIC, kDecimalCommaLocale))
    GTEST_SKIP() << kDecimalCommaLocale << " missing";
  if (!ScopedThreadLocale::reads_decimal_comma()) {
    setlocale(LC_NUMERIC, "C");
    GTEST_SKIP() << "this C library reads numbers with '.' in every locale";
  }
  bool other_reads_comma = false;
  double here = 0.0;
  {
    const nlsNeutralNumbers neutral(0);
    std::thread([&] { other_reads_comma = ScopedThreadLocale::reads_decimal_comma(); }).join();
    here = std::strtod("1.5", nullptr);
  }
  const bool restored = ScopedThreadLocale::reads_decimal_comma();
  setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(here, 1.5);
  EXPECT_TRUE(other_reads_comma);
  EXPECT_TRUE(restored);
}
