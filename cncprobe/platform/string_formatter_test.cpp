// Tests of the int-only formatter of messages.
#include "cncprobe/platform/string_formatter.h"

#include <gtest/gtest.h>

namespace {
apString w(const wchar_t* text) { return apString(apStringLiteral, text); }
}  // namespace

TEST(StringFormatter, FillsIntsAndCopiesEverythingElse) {
  EXPECT_EQ(apStringFormatter::format(w(L"(%d, %d) "), 12, 7).wstr(), L"(12, 7) ");
  EXPECT_EQ(apStringFormatter::format(w(L"%i%% of %s"), -3).wstr(), L"-3% of %s");
  EXPECT_EQ(apStringFormatter::format(w(L"%d and %d%"), 1).wstr(), L"1 and %d%");
  EXPECT_NE(apStringFormatter::format(apString(), 1).invalid(), 0);
}
