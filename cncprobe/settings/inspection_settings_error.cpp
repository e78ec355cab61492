// kptInspectionSettingsError: the six standard messages and how a custom message joins them.
#include "cncprobe/settings/inspection_settings_error.h"

namespace {
// Built once and shared by every error object.
const apString& standard_message(kptInspectionSettingsErrorCode code) {
  static const apString messages[] = {
      apString(apStringLiteral, L"The inspection settings file was parsed successfully."),
      apString(apStringLiteral,
               L"The inspection settings file was parsed successfully, but the version was newer "
               L"than supported."),
      apString(apStringLiteral, L"The given path for the inspection settings file is invalid."),
      apString(apStringLiteral, L"The inspection settings file has an invalid version."),
      apString(apStringLiteral, L"The inspection settings file is not a valid XML file."),
      apString(apStringLiteral, L"There are invalid inspection settings."),
  };
  static const apString empty(apStringLiteral, L"");
  const auto index = static_cast<std::int64_t>(code);
  return index >= 0 && index < 6 ? messages[index] : empty;
}
}  // namespace

apString kptInspectionSettingsError::get_message_from_code() const {
  return standard_message(code_);
}

apString kptInspectionSettingsError::message() const {
  apString text = get_message_from_code();
  if (custom_message_.invalid()) return text;
  text += apString(apStringLiteral, L" ");
  text += custom_message_;
  return text;
}
