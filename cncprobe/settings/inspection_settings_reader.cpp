// kptInspectionSettingsReader: a settings file checked in fixed order on a working copy.
#include "cncprobe/settings/inspection_settings_reader.h"

#include <initializer_list>
#include <memory>
#include <utility>

#include "cncprobe/platform/text/internal/string_encoding.h"
#include "cncprobe/platform/text/internal/string_formatter.h"
#include "cncprobe/platform/text/internal/string_hand_int_parser.h"
#include "cncprobe/platform/text/internal/string_simple_double_parser.h"

namespace {
apString wide(const wchar_t* text) { return apString(apStringLiteral, text); }

kptInspectionSettingsError failure(kptInspectionSettingsErrorCode code, const apString& message) {
  kptInspectionSettingsError error(code);
  error.set_custom_message(message);
  return error;
}

kptInspectionSettingsError invalid_setting(const wchar_t* message) {
  return failure(kptSettingsInvalidSettings, wide(message));
}

// True when `text` equals one of the words; the comparison is exact, case included.
bool is_one_of(const apString& text, std::initializer_list<const wchar_t*> words) {
  for (const wchar_t* word : words) {
    if (text == wide(word)) return true;
  }
  return false;
}
}  // namespace

kptInspectionSettingsReader::kptInspectionSettingsReader(
    std::shared_ptr<axmDocumentFactory> factory)
    : factory_(std::move(factory)) {
  if (!factory_) {
    utServiceName found_name;
    factory_ = utService::get_instance()->locate_service<axmDocumentFactory>(
        utServiceName(utString("xml")), found_name);
  }
}

kptInspectionSettingsError kptInspectionSettingsReader::read(const apPath& path,
                                                             kptInspectionSettings& settings) {
  return kptInspectionSettingsReader(nullptr).update_settings(path, settings);
}

kptInspectionSettingsError kptInspectionSettingsReader::update_settings(
    const apPath& path, kptInspectionSettings& settings) const {
  if (path.invalid() != 0 || path.is_file() == 0) return kptSettingsInvalidPath;

  if (!factory_) {
    return failure(kptSettingsInvalidXml, wide(L"No XML document factory is available."));
  }
  axmLoadOptions options(axmValidateMode(1));
  options.set_disable_entity_resolution(true);
  options.set_entity_expansion_limit(0);
  axmParseError parse_error;
  const std::shared_ptr<axmDocument> document = factory_->load_document(path, options, parse_error);
  if (parse_error.has_error()) {
    apString message = wide(L"Error: ");
    if (parse_error.line_number() >= 0 && parse_error.column_number() >= 0) {
      message += apStringFormatter::format(wide(L"(%d, %d) "), parse_error.line_number(),
                                           parse_error.column_number());
    }
    message += parse_error.message();
    return failure(kptSettingsInvalidXml, message);
  }
  // A host's factory might hand back nothing without saying why; that is no document either.
  const std::shared_ptr<axmElement> root = document ? document->root_element() : nullptr;
  if (!root)
    return failure(kptSettingsInvalidXml, wide(L"Error: The document has no root element."));

  const apStringHandIntParser int_parser;
  const apStringSimpleDoubleParser double_parser;

  unsigned int version = 1;
  const apString version_name = wide(L"version");
  if (root->has_attribute(version_name)) {
    const apStringParseIntResult parsed = int_parser.parse(root->attribute_value(version_name));
    if (!parsed.success() || parsed.result() <= 0) {
      return failure(kptSettingsInvalidVersion,
                     wide(L"The version setting should be a positive integer."));
    }
    version = static_cast<unsigned int>(parsed.result());
  }

  // Every later step changes only this copy; the caller's settings see it only at the end.
  kptInspectionSettings working = settings;
  working.set_version(version);

  if (const auto units = root->select_element(wide(L"./units"))) {
    const apString word = units->text_content();
    if (is_one_of(word, {L"imperial", L"inches", L"in"})) {
      working.set_input_units(kptUnits(kptUnitsInches));
    } else if (is_one_of(word, {L"metric", L"millimetres", L"mm"})) {
      working.set_input_units(kptUnits(kptUnitsMillimetres));
    } else {
      return invalid_setting(L"The units setting should be either millimetres or inches.");
    }
  }

  // Lengths are read in the input units now in force: the file's own, else the caller's.
  if (const auto element = root->select_element(wide(L"./projection/proximity_criteria"))) {
    const apStringParseDoubleResult parsed = double_parser.parse(element->text_content());
    if (!parsed.success() || !(parsed.result() >= 0.0)) {
      return invalid_setting(
          L"The proximity_criteria setting should be a non-negative rational number.");
    }
    working.set_proximity_criteria(parsed.result());
  }

  if (const auto element = root->select_element(wide(L"./confetti/diameter"))) {
    const apStringParseDoubleResult parsed = double_parser.parse(element->text_content());
    if (!parsed.success() || !(parsed.result() > 0.0)) {
      return invalid_setting(L"The diameter setting should be a positive rational number.");
    }
    working.set_confetti_diameter(parsed.result());
  }

  struct Digits {
    const wchar_t* path;
    void (kptInspectionSettings::*set)(int) noexcept;
    const wchar_t* message;
  };
  static const Digits digits[] = {
      {L"./data/precision/linear_digits", &kptInspectionSettings::set_linear_precision,
       L"The linear_digits setting should be a positive integer."},
      {L"./data/precision/angle_digits", &kptInspectionSettings::set_angular_precision,
       L"The angle_digits setting should be a positive integer."},
      {L"./data/precision/unitless_digits", &kptInspectionSettings::set_unitless_precision,
       L"The unitless_digits setting should be a positive integer."},
  };
  for (const Digits& item : digits) {
    if (const auto element = root->select_element(wide(item.path))) {
      const apStringParseIntResult parsed = int_parser.parse(element->text_content());
      if (!parsed.success() || parsed.result() <= 0) return invalid_setting(item.message);
      (working.*item.set)(parsed.result());
    }
  }

  if (const auto element = root->select_element(wide(L"./data/labels/surface_point_label"))) {
    int error = 0;
    const utString label =
        apStringEncodingChooser().ut_encoding()->to_ut_string(element->text_content(), error);
    if (error != 0 || label.invalid()) {
      return invalid_setting(L"The surface_point_label setting is invalid.");
    }
    working.set_surface_point_label(label);
  }

  settings = working;
  if (version > supported_version()) return kptSettingsNewerVersion;
  return kptSettingsSuccess;
}
