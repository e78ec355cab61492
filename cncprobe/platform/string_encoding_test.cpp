// Tests of the 8-bit encoding of utString text: UTF-8 both ways, and what it refuses.
#include "cncprobe/platform/string_encoding.h"

#include <gtest/gtest.h>

#include <string>

TEST(StringEncoding, WideToUtf8) {
  struct Case { apString text; bool error; const char* bytes; };  // bytes null: invalid result
  const Case cases[] = {
      {apString(L"C:\\jobs\\bracket.model"), false, "C:\\jobs\\bracket.model"},
      {apString(L"/m\u00E9canique/\u6A21\u578B/\U0001F527"), false,
       "/m\xC3\xA9" "canique/\xE6\xA8\xA1\xE5\x9E\x8B/\xF0\x9F\x94\xA7"},
      {apString(L""), false, ""},
      {apString(), false, nullptr},
      {apString(std::wstring(1, static_cast<wchar_t>(0xD800))), true, nullptr},
      {apString(L"a" + std::wstring(1, static_cast<wchar_t>(0x110000))), true, nullptr},
  };
  const apIStringEncoding* encoding = apStringEncodingChooser().ut_encoding();
  for (const Case& c : cases) {
    int error = 0;
    const utString bytes = encoding->to_ut_string(c.text, error);
    EXPECT_EQ(error != 0, c.error) << c.text.utf8();
    if (c.bytes == nullptr) {
      EXPECT_TRUE(bytes.invalid()) << c.text.utf8();
      continue;
    }
    ASSERT_TRUE(bytes.valid());
    EXPECT_EQ(bytes.view(), c.bytes);
    int back_error = 0;
    EXPECT_TRUE(encoding->to_ap_string(bytes, back_error) == c.text);
    EXPECT_EQ(back_error, 0);
  }
}

TEST(StringEncoding, RefusesBytesThatAreNoUtf8AndOutlivesTheChooser) {
  const apIStringEncoding* encoding = apStringEncodingChooser().ut_encoding();
  int error = 0;
  EXPECT_TRUE(encoding->to_ap_string(utString("\xE9"), error).invalid() != 0);
  EXPECT_NE(error, 0);
  error = 0;
  EXPECT_TRUE(encoding->to_ap_string(utString(), error).invalid() != 0);
  EXPECT_EQ(error, 0);
}
