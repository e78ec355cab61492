// The C interface's QIF export: the run's options checked at the edge, the writer from
// cncprobe/exchange.
#include "cncprobe/capi/internal/c_qif.h"

#include "cncprobe/capi/internal/c_boundary.h"
#include "cncprobe/exchange/qif_writer.h"

namespace capi_internal {

QifSource QifSource::of_file(const char* path) {
  QifSource source;
  source.file_name = path;
  return source;
}

QifSource QifSource::of_bytes(const kptInputFile& input) {
  QifSource source;
  source.digest = kptQifWriter::digest_of_bytes(input.bytes());
  (void)source.references.extract(input);
  return source;
}

cncprobe_error write_qif(const kptResultsDataExtractor& extractor,
                         kptResultsExtractionStatus status, kptZoneConvention convention,
                         kptUnitsType units, const QifSource& source, const char* path,
                         const cncprobe_qif_options* options) noexcept {
  if (path == nullptr) return CNCPROBE_ERROR_INVALID_ARGUMENT;
  const cncprobe_qif_options defaults{CNCPROBE_DRAFTING_ISO_1101, CNCPROBE_QIF_POINTS_ALL, nullptr};
  const cncprobe_qif_options& chosen = options ? *options : defaults;
  if (chosen.drafting_standard != CNCPROBE_DRAFTING_ISO_1101 &&
      chosen.drafting_standard != CNCPROBE_DRAFTING_ASME_Y14_5) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  if (chosen.points < CNCPROBE_QIF_POINTS_ALL || chosen.points > CNCPROBE_QIF_POINTS_NONE) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  return guarded([&] {
    kptQifDocument document;
    document.time = chosen.time ? chosen.time : "";
    if (!document.time.empty() && !kptQifWriter::valid_time(document.time)) {
      return CNCPROBE_ERROR_INVALID_ARGUMENT;
    }
    document.units = units;
    document.convention = convention;
    document.standard = static_cast<kptDraftingStandard>(chosen.drafting_standard);
    document.points = static_cast<kptQifPoints>(chosen.points);
    kptFileReferenceExtractor file_references;
    const kptFileReferenceExtractor* references = &source.references;
    if (!source.file_name.empty()) {
      document.file_name = source.file_name;
      document.content_digest = kptQifWriter::digest_of_file(utString(source.file_name.c_str()));
      (void)file_references.extract(apPath(source.file_name));
      references = &file_references;
    } else {
      document.content_digest = source.digest;
    }
    const kptQifOutcome outcome =
        kptQifWriter::write_file(extractor, status, *references, document, utString(path));
    return outcome == kptQifWritten ? CNCPROBE_OK : CNCPROBE_ERROR_WRITE_FAILED;
  });
}

}  // namespace capi_internal
