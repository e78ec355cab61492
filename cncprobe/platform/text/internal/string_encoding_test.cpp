// Tests of the 8-bit encoding of utString text: UTF-8, and the wide values it refuses.
#include "cncprobe/platform/text/internal/string_encoding.h"

#include <gtest/gtest.h>

#include <vector>

TEST(StringEncoding, ToUtStringIsUtf8AndRefusesNonScalars) {
  struct Case {
    apString text;
    int error;
    const char* bytes;
  };  // bytes null: invalid result
  std::vector<Case> cases = {
      {apString(L"/m\u00E9canique/\U0001F527 a"), 0,
       "/m\xC3\xA9"
       "canique/\xF0\x9F\x94\xA7 a"},
      {apString(L""), 0, ""},
      {apString(), 0, nullptr},
      {apString(std::wstring(L"a") + static_cast<wchar_t>(0xD800)), 1, nullptr},
      {apString(std::wstring(L"a") + static_cast<wchar_t>(0xDC00) + L"b"), 1, nullptr},
  };
  // Beyond U+10FFFF only a 32-bit wchar_t can hold (Windows holds UTF-16).
  if (sizeof(wchar_t) == 4) {
    cases.push_back({apString(std::wstring(L"a") + static_cast<wchar_t>(0x110000)), 1, nullptr});
  }
  for (const Case& c : cases) {
    int error = 0;
    const utString bytes = apStringEncodingChooser().ut_encoding()->to_ut_string(c.text, error);
    EXPECT_EQ(error != 0, c.error != 0) << c.text.utf8();
    EXPECT_EQ(bytes, c.bytes ? utString(c.bytes) : utString()) << c.text.utf8();
  }
}
