// The C interface's shared edge (text out, input problems) and the static words every host may
// show: error texts, the version, and the names of statuses, verdicts, kinds and quantities.
#include "cncprobe/capi/internal/c_boundary.h"

#include <algorithm>
#include <string>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/text/valid_utf8.h"
#include "cncprobe/platform/text/wide_string.h"

namespace capi_internal {

cncprobe_error copy_text(std::string_view text, char* buffer, std::size_t capacity,
                         std::size_t* needed) {
  // A label a machine wrote in a legacy code page reads as in the tool's JSON: U+FFFD per byte.
  std::string repaired;
  if (!apString::is_valid_utf8(text)) {
    ut_append_valid_utf8(repaired, text);
    text = repaired;
  }
  if (needed != nullptr) *needed = text.size() + 1;
  if (capacity == 0) return CNCPROBE_ERROR_BUFFER_TOO_SMALL;
  std::size_t length = std::min(text.size(), capacity - 1);
  // Never leave half a character at the end of a cut text.
  while (length > 0 && length < text.size() &&
         (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
    --length;
  }
  std::copy_n(text.data(), length, buffer);
  buffer[length] = '\0';
  return length == text.size() ? CNCPROBE_OK : CNCPROBE_ERROR_BUFFER_TOO_SMALL;
}

cncprobe_error input_error(kptInputProblem problem) noexcept {
  switch (problem) {
    case kptInputReadable:
      return CNCPROBE_OK;
    case kptInputMissing:
      return CNCPROBE_ERROR_FILE_MISSING;
    case kptInputDirectory:
      return CNCPROBE_ERROR_FILE_IS_DIRECTORY;
    case kptInputNotRegularFile:
      return CNCPROBE_ERROR_FILE_NOT_REGULAR;
    case kptInputPermissionDenied:
      return CNCPROBE_ERROR_PERMISSION_DENIED;
    case kptInputReadError:
      return CNCPROBE_ERROR_READ_ERROR;
  }
  return CNCPROBE_ERROR_READ_ERROR;
}

}  // namespace capi_internal

extern "C" {

const char* cncprobe_error_text(cncprobe_error error) {
  switch (error) {
    case CNCPROBE_OK:
      return "no error";
    case CNCPROBE_ERROR_INVALID_ARGUMENT:
      return "invalid argument";
    case CNCPROBE_ERROR_INDEX_OUT_OF_RANGE:
      return "index out of range";
    case CNCPROBE_ERROR_BUFFER_TOO_SMALL:
      return "buffer too small";
    case CNCPROBE_ERROR_FILE_MISSING:
      return kpt_input_problem_text(kptInputMissing);
    case CNCPROBE_ERROR_FILE_IS_DIRECTORY:
      return kpt_input_problem_text(kptInputDirectory);
    case CNCPROBE_ERROR_FILE_NOT_REGULAR:
      return kpt_input_problem_text(kptInputNotRegularFile);
    case CNCPROBE_ERROR_PERMISSION_DENIED:
      return kpt_input_problem_text(kptInputPermissionDenied);
    case CNCPROBE_ERROR_READ_ERROR:
      return kpt_input_problem_text(kptInputReadError);
    case CNCPROBE_ERROR_OUT_OF_MEMORY:
      return "out of memory";
    case CNCPROBE_ERROR_INTERNAL:
      return "internal error in the cncprobe library";
    case CNCPROBE_ERROR_WRITE_FAILED:
      return "cannot be written";
    default:
      return "unknown error";
  }
}

const char* cncprobe_version(void) { return CNCPROBE_VERSION_TEXT; }

const char* cncprobe_status_name(int32_t status) {
  return kptStatusText::name(static_cast<kptResultsExtractionStatus>(status));
}

const char* cncprobe_status_meaning(int32_t status) {
  return kptStatusText::meaning(static_cast<kptResultsExtractionStatus>(status));
}

const char* cncprobe_verdict_name(int32_t verdict) {
  return kpt_verdict_name(static_cast<kptVerdict>(verdict));
}

const char* cncprobe_kind_name(int32_t kind) {
  return kptResultNames::kind(static_cast<mtrResultKind>(kind));
}

const char* cncprobe_quantity_name(int32_t quantity) {
  return kpt_quantity_name(static_cast<kptQuantity>(quantity));
}

const char* cncprobe_true_position_name(int32_t convention) {
  return kpt_zone_convention_name(static_cast<kptZoneConvention>(convention));
}

}  // extern "C"
