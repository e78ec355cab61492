// Tests of nlsNeutralNumbers: "." reads as the decimal point under a decimal-comma thread locale.
#include "cncprobe/platform/neutral_numbers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "cncprobe/platform/test_locale.h"

TEST(NeutralNumbers, GuardReadsPointsUnderADecimalCommaLocaleAndRestoresIt) {
  ScopedThreadLocale comma(kDecimalCommaLocale);
  if (!comma.active()) GTEST_SKIP() << kDecimalCommaLocale << " is not installed (locale -a)";
  ASSERT_TRUE(ScopedThreadLocale::reads_decimal_comma());
  ASSERT_EQ(std::strtod("1.5", nullptr), 1.0) << "the comma locale must misread a point";
  {
    nlsNeutralNumbers outer(0);
    EXPECT_EQ(std::strtod("1.5", nullptr), 1.5);
    {
      nlsNeutralNumbers inner(0);
      EXPECT_EQ(std::atof("2.25"), 2.25);
    }
    EXPECT_EQ(std::atof("2.25"), 2.25) << "an inner guard restores the outer one's form";
  }
  EXPECT_TRUE(ScopedThreadLocale::reads_decimal_comma()) << "the guard restores the comma";
  {
    nlsNeutralNumbers other(1);
    EXPECT_TRUE(ScopedThreadLocale::reads_decimal_comma()) << "only type 0 changes the form";
  }
}

TEST(NeutralNumbers, GuardLeavesTheProcessFormatToOtherThreads) {
  // The host selects a decimal comma for the whole process; a guard on this thread must not
  // change what another thread reads meanwhile.
  if (!setlocale(LC_NUMERIC, kDecimalCommaLocale)) {
    GTEST_SKIP() << kDecimalCommaLocale << " is not installed (locale -a)";
  }
  bool other_reads_comma = false;
  {
    nlsNeutralNumbers neutral(0);
    std::thread other([&] { other_reads_comma = ScopedThreadLocale::reads_decimal_comma(); });
    other.join();
    EXPECT_EQ(std::strtod("1.5", nullptr), 1.5);
  }
  const bool restored_comma = ScopedThreadLocale::reads_decimal_comma();
  setlocale(LC_NUMERIC, "C");
  EXPECT_TRUE(other_reads_comma);
  EXPECT_TRUE(restored_comma);
}
