// Tests of kptStringDataParsing: signs apart from digits, units, and the host's number format.
#include "cncprobe/foundation/string_data_parsing.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "cncprobe/platform/test_locale.h"

namespace {
struct DoubleCase { const char* text; double value; };
const DoubleCase kDoubles[] = {
    {"12.5", 12.5}, {"- 12.5", -12.5}, {"+3", 3.0},    {"--5", -5.0},     {"12-3", -12.0},
    {"1.5.2", 1.5}, {"", 0.0},         {"-", 0.0},     {"*", 0.0},        {"-*10", 0.0},
    {"ABC", 0.0},   {"+ - 7", -7.0},   {"-.25", -0.25}, {"1e3", 1000.0},  {"3,5", 3.0},
    {"0x1A", 0.0},  {"inf", 0.0},      {"-nan", 0.0},  {"0.0001", 1e-4},  {"123456.789", 123456.789},
};

void expect_doubles_read_neutrally() {
  const kptStringDataParsing parsing{kptUnits(kptUnitsMillimetres)};
  for (const DoubleCase& c : kDoubles) {
    EXPECT_EQ(parsing.string_to_double(utString(c.text)), c.value) << "'" << c.text << "'";
  }
  EXPECT_EQ(parsing.string_to_double(utString()), 0.0) << "an invalid text";
}
}  // namespace

TEST(StringDataParsing, StringToDouble) { expect_doubles_read_neutrally(); }

TEST(StringDataParsing, StringToDoubleUnderADecimalCommaLocale) {
  ScopedThreadLocale comma(kDecimalCommaLocale);
  if (!comma.active()) GTEST_SKIP() << kDecimalCommaLocale << " is not installed (locale -a)";
  ASSERT_TRUE(ScopedThreadLocale::reads_decimal_comma()) << "the comma locale is not in effect";
  expect_doubles_read_neutrally();
  EXPECT_TRUE(ScopedThreadLocale::reads_decimal_comma()) << "the host's format is restored";
}

TEST(StringDataParsing, StringToMmConvertsFromTheFileUnits) {
  struct Case { kptUnitsType type; const char* text; double mm; };
  const Case cases[] = {
      {kptUnitsInches, "1", 25.4},    {kptUnitsMillimetres, "1", 1.0},
      {kptUnitsInches, "- 2", -50.8}, {static_cast<kptUnitsType>(5), "2", 2.0},
  };
  for (const Case& c : cases) {
    const kptStringDataParsing parsing{kptUnits(c.type)};
    EXPECT_DOUBLE_EQ(parsing.string_to_mm(utString(c.text)), c.mm) << c.type << " " << c.text;
  }
}

TEST(StringDataParsing, StringToUnsignedInt) {
  struct Case { const char* text; bool ok; unsigned int value; };
  const Case cases[] = {
      {"17", true, 17},   {"0", true, 0},     {"2147483647", true, 2147483647u},
      {"-5", false, 0},   {"ABC", false, 0},  {"", false, 0},  {"1.5", false, 0},
  };
  const kptStringDataParsing parsing;
  for (const Case& c : cases) {
    unsigned int value = 4242;
    EXPECT_EQ(parsing.string_to_unsigned_int(utString(c.text), value), c.ok) << c.text;
    if (c.ok) {
      EXPECT_EQ(value, c.value) << c.text;
    }
  }
}
