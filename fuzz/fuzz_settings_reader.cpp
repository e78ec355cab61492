// Fuzz target: an inspection-settings XML file through kptInspectionSettingsReader; whatever it
// holds, a rejected file must leave the caller's settings untouched.
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static ScratchFile file(".xml");
  const kptInspectionSettings before;
  kptInspectionSettings settings;
  const kptInspectionSettingsError error =
      kptInspectionSettingsReader::read(apPath(file.write(data, size)), settings);
  fuzz_check(!error.message().invalid() && error.message().length() > 0,
             "an error without a message");
  if (error.code() == kptSettingsSuccess || error.code() == kptSettingsNewerVersion) return 0;
  fuzz_check(settings.proximity_criteria_mm() == before.proximity_criteria_mm() &&
                 settings.confetti_diameter_mm() == before.confetti_diameter_mm() &&
                 settings.linear_precision() == before.linear_precision() &&
                 settings.surface_point_label().view() == before.surface_point_label().view(),
             "a rejected file changed the settings");
  return 0;
}
