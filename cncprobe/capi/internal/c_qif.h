// What the C interface keeps of a run's input for a QIF export, and the export itself. Not
// installed: a host includes cncprobe/cncprobe_c.h.
#pragma once

#include <string>

#include "cncprobe/cncprobe_c.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/inspection/verdict.h"

namespace capi_internal {

// The input a run was read from: a file, whose references and digest are read again when it is
// exported, or bytes the host gave, whose references and digest are kept from them.
struct QifSource {
  std::string file_name;  // empty for bytes
  std::string digest;     // of the bytes; empty for a file
  kptFileReferenceExtractor references;

  static QifSource of_file(const char* path);
  static QifSource of_bytes(const kptInputFile& input);
};

// cncprobe_write_qif for one run.
cncprobe_error write_qif(const kptResultsDataExtractor& extractor,
                         kptResultsExtractionStatus status, kptZoneConvention convention,
                         kptUnitsType units, const QifSource& source, const char* path,
                         const cncprobe_qif_options* options) noexcept;

}  // namespace capi_internal
