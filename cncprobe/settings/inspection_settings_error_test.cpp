// Tests of the settings errors: the standard messages and how a custom message is joined to them.
#include "cncprobe/settings/inspection_settings_error.h"

#include <gtest/gtest.h>

TEST(InspectionSettingsError, StandardMessagesAndTruth) {
  struct Case {
    int code;
    bool truth;
    const wchar_t* message;
  };
  const Case cases[] = {
      {0, false, L"The inspection settings file was parsed successfully."},
      {1, true,
       L"The inspection settings file was parsed successfully, but the version was newer than "
       L"supported."},
      {2, true, L"The given path for the inspection settings file is invalid."},
      {3, true, L"The inspection settings file has an invalid version."},
      {4, true, L"The inspection settings file is not a valid XML file."},
      {5, true, L"There are invalid inspection settings."},
      {6, true, L""},
      {-1, true, L""},
  };
  for (const Case& c : cases) {
    const kptInspectionSettingsError error(static_cast<kptInspectionSettingsErrorCode>(c.code));
    EXPECT_EQ(static_cast<bool>(error), c.truth) << c.code;
    EXPECT_EQ(error.message().wstr(), c.message) << c.code;
    EXPECT_EQ(error.message().invalid(), 0) << c.code;
  }
  EXPECT_TRUE(kptInspectionSettingsError() == kptSettingsSuccess);
  EXPECT_TRUE(kptInspectionSettingsError() != kptSettingsNewerVersion);
}

TEST(InspectionSettingsError, CustomMessageFollowsABlankEvenWhenEmpty) {
  kptInspectionSettingsError error(kptSettingsInvalidSettings);
  error.set_custom_message(apString(apStringLiteral, L""));
  EXPECT_EQ(error.message().wstr(), L"There are invalid inspection settings. ");
  kptInspectionSettingsError unknown(static_cast<kptInspectionSettingsErrorCode>(9));
  unknown.set_custom_message(apString(apStringLiteral, L"why"));
  EXPECT_EQ(unknown.message().wstr(), L" why");
}
