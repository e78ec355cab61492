// The C interface to an inspection-settings file.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cncprobe/capi/internal/c_boundary.h"
#include "cncprobe/cncprobe_c.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/text/path.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"
#include "cncprobe/settings/inspection_settings_reader.h"

using namespace capi_internal;

static_assert(sizeof(cncprobe_settings_values) == 56);

// The outcome of reading one settings file, its message already in UTF-8, and the values.
struct cncprobe_settings {
  kptInspectionSettings settings;
  kptInspectionSettingsErrorCode code = kptSettingsSuccess;
  std::string message;
};

extern "C" {

cncprobe_error cncprobe_settings_read(const char* path, int32_t units,
                                      cncprobe_settings** settings) {
  if (path == nullptr || !known_units(units)) return refuse(settings);
  return hand_out(settings, [&](std::unique_ptr<cncprobe_settings>& handle) -> cncprobe_error {
    // The XML reader opens the file by its name and would wait on a FIFO for a writer: the file
    // is first opened the way every reader of the library opens its input, which refuses what
    // is not a regular file and says why.
    {
      const kptInputStream input = kptInputStream::open(utString(std::string_view(path)));
      if (input.problem() != kptInputReadable) return input_error(input.problem());
    }
    handle = std::make_unique<cncprobe_settings>();
    handle->settings.set_input_units(kptUnits(static_cast<kptUnitsType>(units)));
    const kptInspectionSettingsError error =
        kptInspectionSettingsReader::read(apPath(std::string(path)), handle->settings);
    // The file opened a moment ago; the reader refusing its path means it went away since.
    if (error == kptSettingsInvalidPath) return CNCPROBE_ERROR_READ_ERROR;
    handle->code = error.code();
    handle->message = error.message().utf8();
    return CNCPROBE_OK;
  });
}

void cncprobe_settings_free(cncprobe_settings** settings) { free_handle(settings); }

cncprobe_error cncprobe_settings_code(const cncprobe_settings* settings, int32_t* code) {
  return get(settings, code, [](const cncprobe_settings& s, int32_t& out) {
    out = s.code;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_settings_message(const cncprobe_settings* settings, char* buffer,
                                         size_t capacity, size_t* needed) {
  return get_text(settings, buffer, capacity, needed,
                  [](const cncprobe_settings& s, std::string_view& text) {
                    text = s.message;
                    return CNCPROBE_OK;
                  });
}

cncprobe_error cncprobe_settings_values_get(const cncprobe_settings* settings,
                                            cncprobe_settings_values* values) {
  return get(settings, values, [](const cncprobe_settings& handle, cncprobe_settings_values& out) {
    const kptInspectionSettings& s = handle.settings;
    out = cncprobe_settings_values{};
    out.proximity_criteria_mm = s.proximity_criteria_mm();
    out.confetti_diameter_mm = s.confetti_diameter_mm();
    out.proximity_criteria = s.proximity_criteria();
    out.confetti_diameter = s.confetti_diameter();
    out.version = s.version();
    out.input_units = s.input_units().type();
    out.linear_precision = s.linear_precision();
    out.angular_precision = s.angular_precision();
    out.unitless_precision = s.unitless_precision();
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_settings_surface_point_label(const cncprobe_settings* settings,
                                                     char* buffer, size_t capacity,
                                                     size_t* needed) {
  return get_text(settings, buffer, capacity, needed,
                  [](const cncprobe_settings& s, std::string_view& text) {
                    text = s.settings.surface_point_label().view();
                    return CNCPROBE_OK;
                  });
}

}  // extern "C"
