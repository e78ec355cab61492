// Plain decimals and XML-safe text: the two traps of every XML exporter (exponents and locale
// commas, control characters and broken UTF-8).
#include "cncprobe/exchange/internal/xml_text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <regex>

#include "cncprobe/platform/text/internal/test_locale.h"

namespace {

TEST(ExAppendDecimal, WritesPlainDecimalsThatReadBackExactly) {
  const double values[] = {0.0,
                           -0.0,
                           1.0,
                           -12.5,
                           0.1,
                           0.011,
                           25.4,
                           1e-7,
                           1.1e-2,
                           123456789.125,
                           1e21,
                           -3.0e-300,
                           std::numeric_limits<double>::max(),
                           std::numeric_limits<double>::denorm_min(),
                           2.0 / 3.0};
  const std::regex decimal(R"(-?[0-9]+(\.[0-9]+)?)");
  for (const double value : values) {
    std::string text;
    ASSERT_TRUE(ex_append_decimal(text, value)) << value;
    EXPECT_TRUE(std::regex_match(text, decimal)) << text;
    double back = NAN;
    std::from_chars(text.data(), text.data() + text.size(), back);
    EXPECT_EQ(back, value) << text;
  }
  std::string zero;
  ex_append_decimal(zero, -0.0);
  EXPECT_EQ(zero, "0");
}

TEST(ExAppendDecimal, RefusesWhatADecimalCannotHold) {
  for (const double value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    std::string text = "kept";
    EXPECT_FALSE(ex_append_decimal(text, value));
    EXPECT_EQ(text, "kept");
  }
}

TEST(ExAppendDecimal, IgnoresADecimalCommaLocale) {
  const ScopedThreadLocale comma(kDecimalCommaLocale);
  if (!comma.active()) GTEST_SKIP() << "no decimal-comma locale";
  std::string text;
  ex_append_decimal(text, 0.5);
  EXPECT_EQ(text, "0.5");
}

TEST(ExXmlText, ReplacesWhatXmlCannotCarry) {
  const struct {
    std::string in, out;
  } cases[] = {
      {"DOWEL HOLE", "DOWEL HOLE"},
      {"<b>&\"'", "<b>&\"'"},                  // escaped later by the writer, not here
      {"tab\tline\ncr\r", "tab\tline\ncr\r"},  // the three controls XML allows
      {std::string("nul\0x", 5), "nul\xEF\xBF\xBDx"},
      {"\x01\x1b\x1f", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xff", "\xEF\xBF\xBD"},                                    // not UTF-8
      {"\xc3(", "\xEF\xBF\xBD("},                                  // a cut sequence
      {"\xef\xbf\xbe|\xef\xbf\xbf", "\xEF\xBF\xBD|\xEF\xBF\xBD"},  // U+FFFE, U+FFFF
      {"\xc3\xa9\xe2\x82\xac", "\xc3\xa9\xe2\x82\xac"},            // é€ stay
  };
  for (const auto& c : cases) EXPECT_EQ(ex_xml_text(c.in), c.out) << c.in;
}

}  // namespace
