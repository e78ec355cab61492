// Tests of the strict integer reader of settings values.
#include "cncprobe/platform/text/internal/string_hand_int_parser.h"

#include <gtest/gtest.h>

namespace {
apString w(const wchar_t* text) { return apString(apStringLiteral, text); }
}  // namespace

TEST(StringHandIntParser, AcceptsOnlyASignAndDecimalDigitsWithinRange) {
  struct Case {
    const wchar_t* text;
    int success;
    int value;
  };
  const Case cases[] = {
      {L"17", 1, 17},
      {L"+5", 1, 5},
      {L"-5", 1, -5},
      {L"007", 1, 7},
      {L"2147483647", 1, 2147483647},
      {L"-2147483648", 1, -2147483647 - 1},
      {L"2147483648", 0, 0},
      {L"-2147483649", 0, 0},
      {L"99999999999999999999", 0, 0},
      {L"", 0, 0},
      {L"-", 0, 0},
      {L"+-1", 0, 0},
      {L" 5", 0, 0},
      {L"5 ", 0, 0},
      {L"1.0", 0, 0},
      {L"1e3", 0, 0},
      {L"0x10", 0, 0},
      {L"\u0663", 0, 0},
  };
  const apStringHandIntParser parser;
  for (const Case& c : cases) {
    const apStringParseIntResult r = parser.parse(w(c.text));
    EXPECT_EQ(r.success() != 0, c.success != 0) << "'" << apString(w(c.text)).utf8() << "'";
    if (c.success) {
      EXPECT_EQ(r.result(), c.value);
    }
  }
  EXPECT_EQ(parser.parse(apString()).success(), 0);
}
