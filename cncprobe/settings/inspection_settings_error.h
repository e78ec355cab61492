// kptInspectionSettingsError: the outcome of reading an inspection-settings file, with its message.
#pragma once

#include <cstdint>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

// What reading a settings file came to. Success and newer version mean the settings were read.
enum kptInspectionSettingsErrorCode : std::int32_t {
  kptSettingsSuccess = 0,
  kptSettingsNewerVersion = 1,
  kptSettingsInvalidPath = 2,
  kptSettingsInvalidVersion = 3,
  kptSettingsInvalidXml = 4,
  kptSettingsInvalidSettings = 5,
};

class CNCPROBE_API kptInspectionSettingsError {
 public:
  // Success, without custom message.
  kptInspectionSettingsError() noexcept = default;
  // The given code, without custom message.
  kptInspectionSettingsError(kptInspectionSettingsErrorCode error_code) noexcept  // NOLINT
      : code_(error_code) {}
  kptInspectionSettingsError(const kptInspectionSettingsError&) = default;
  kptInspectionSettingsError& operator=(const kptInspectionSettingsError&) = default;
  ~kptInspectionSettingsError() = default;

  // True when the error has this code.
  bool operator==(kptInspectionSettingsErrorCode error_code) const noexcept {
    return code_ == error_code;
  }
  bool operator!=(kptInspectionSettingsErrorCode error_code) const noexcept {
    return code_ != error_code;
  }
  // True for every code but success, so a newer version counts as true as well.
  explicit operator bool() const noexcept { return code_ != kptSettingsSuccess; }

  // The error's code.
  kptInspectionSettingsErrorCode code() const noexcept { return code_; }

  // Replaces the custom message that says what exactly was wrong.
  void set_custom_message(const apString& text) { custom_message_ = text; }
  // The custom message; invalid when none was set.
  const apString& custom_message() const noexcept { return custom_message_; }

  // The standard message of the code; when a custom message was set, followed by a blank and the
  // custom message (the blank even when the custom message is empty). A code outside the six
  // known ones has an empty standard message.
  [[nodiscard]] apString message() const;

 private:
  apString get_message_from_code() const;

  kptInspectionSettingsErrorCode code_ = kptSettingsSuccess;
  apString custom_message_;
};
