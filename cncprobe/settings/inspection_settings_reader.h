// kptInspectionSettingsReader: reads an inspection-settings XML file into kptInspectionSettings.
//
// Reading is all or nothing: the caller's settings change only when the whole file was accepted,
// and then every setting the file leaves out keeps the value it had.
//
//   kptInspectionSettings settings;
//   kptInspectionSettingsError error = kptInspectionSettingsReader::read(apPath("job.xml"),
//   settings); if (error != kptSettingsSuccess && error != kptSettingsNewerVersion)
//   show(error.message());
//
// The file: a root element (any name) with an optional attribute version="1", and the optional
// elements units (imperial, inches, in, metric, millimetres or mm), projection/proximity_criteria,
// confetti/diameter (lengths in those units), data/precision/linear_digits, angle_digits,
// unitless_digits and data/labels/surface_point_label.
#pragma once

#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/path.h"
#include "cncprobe/platform/xml/document_factory.h"
#include "cncprobe/settings/inspection_settings.h"
#include "cncprobe/settings/inspection_settings_error.h"

class CNCPROBE_API kptInspectionSettingsReader {
 public:
  // A reader that loads through `factory`; when it is empty, through the factory registered as
  // the "xml" service (or under a less qualified form of that name), which the library provides.
  explicit kptInspectionSettingsReader(std::shared_ptr<axmDocumentFactory> factory = nullptr);
  kptInspectionSettingsReader(const kptInspectionSettingsReader&) = default;
  kptInspectionSettingsReader& operator=(const kptInspectionSettingsReader&) = default;
  ~kptInspectionSettingsReader() = default;

  // Reads the file at `path` into `settings`. Success or newer version: `settings` holds the
  // file's values. Any other code: `settings` is untouched and the error's message() says which
  // check failed first (path, XML, version, then units, proximity criterion, diameter, linear,
  // angle and unitless digits, label). A reader without a document factory answers invalid XML.
  [[nodiscard]] kptInspectionSettingsError update_settings(const apPath& path,
                                                           kptInspectionSettings& settings) const;

  // update_settings with a reader on the registered document factory.
  [[nodiscard]] static kptInspectionSettingsError read(const apPath& path,
                                                       kptInspectionSettings& settings);

  // The newest settings-file version this reader knows: 1.
  static unsigned int supported_version() noexcept { return 1; }

  // The factory documents are loaded through; empty when none was given or registered.
  const std::shared_ptr<axmDocumentFactory>& factory() const noexcept { return factory_; }

 private:
  std::shared_ptr<axmDocumentFactory> factory_;
};
