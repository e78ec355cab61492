// Tests of the strict real-number reader of settings values.
#include "cncprobe/platform/text/internal/string_simple_double_parser.h"

#include <gtest/gtest.h>

#include <cmath>

#include "cncprobe/platform/text/internal/test_locale.h"

namespace {
apString w(const wchar_t* text) { return apString(apStringLiteral, text); }
}  // namespace

TEST(StringSimpleDoubleParser, AcceptsOnlyPlainDecimalNumbersInAnyLocale) {
  struct Case {
    const wchar_t* text;
    int success;
    double value;
  };
  const Case cases[] = {
      {L"0.25", 1, 0.25}, {L"+2", 1, 2},     {L"-0.1", 1, -0.1},    {L"2.", 1, 2},
      {L".5", 1, 0.5},    {L"1e3", 1, 1000}, {L"1.5E-2", 1, 0.015}, {L"-0", 1, 0},
      {L"", 0, 0},        {L".", 0, 0},      {L"e5", 0, 0},         {L"1e", 0, 0},
      {L"1e+", 0, 0},     {L"inf", 0, 0},    {L"nan", 0, 0},        {L"0x1p3", 0, 0},
      {L" 1", 0, 0},      {L"1 ", 0, 0},     {L"1,5", 0, 0},        {L"1.5.2", 0, 0},
      {L"--1", 0, 0},     {L"1e999", 0, 0},  {L"1e-999", 0, 0},     {L"\uff11", 0, 0},
  };
  ScopedThreadLocale comma(kDecimalCommaLocale);
  const apStringSimpleDoubleParser parser;
  for (const Case& c : cases) {
    const apStringParseDoubleResult r = parser.parse(w(c.text));
    EXPECT_EQ(r.success() != 0, c.success != 0) << "'" << apString(w(c.text)).utf8() << "'";
    if (c.success) {
      EXPECT_EQ(r.result(), c.value);
    }
  }
  EXPECT_TRUE(std::signbit(parser.parse(w(L"-0")).result()));
}
