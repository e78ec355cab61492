// kptQifWriter: one extraction as a QIF 3.0 results document, the form the plant's quality
// systems (SPC, first-article reports, archives) take measurement results in.
//
// One results file is one part and one MeasurementResults. Every feature becomes a feature
// (definition, nominal, item, measurement), every checked quantity a characteristic with the
// verdict cncprobe/inspection gives it, every probe path a measured point set, and every
// inspection point a point feature with a point-profile characteristic. The document is written
// as it is made, element by element, to a sink: a run of a million points is never held as text.
//
//   kptQifDocument document;
//   document.file_name = "run.res";
//   document.content_digest = kptQifWriter::digest_of_file(utString("run.res"));
//   std::ofstream out("run.qif", std::ios::binary);
//   kptQifWriter::write(extractor, references, document, [&](std::string_view bytes) {
//     return static_cast<bool>(out.write(bytes.data(), bytes.size()));
//   });
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "cncprobe/export.h"
#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/text/string.h"

// The drafting standard the document's characteristics are read under; the results file names
// none, so the one who exports chooses.
enum kptDraftingStandard : std::int32_t {
  kptDraftingIso1101 = 0,   // ISO 1101 (the default)
  kptDraftingAsmeY145 = 1,  // ASME Y14.5
};

// Which inspection points become a point feature with a characteristic of its own. Every probe
// path is written as a measured point set whatever the choice.
enum kptQifPoints : std::int32_t {
  kptQifPointsAll = 0,      // every point (the default)
  kptQifPointsOutside = 1,  // only the points outside their limits
  kptQifPointsNone = 2,     // none: the point sets alone
};

// What a document says beyond the extraction itself.
struct kptQifDocument {
  // The results file as the user named it ("-" for standard input); its name goes into the
  // document's description and file reference. Empty: no file reference.
  std::string file_name;
  // The units the file was read in (the document itself is always in millimetres and degrees).
  kptUnitsType units = kptUnitsMillimetres;
  // The digest of the file's bytes (digest_of_file, digest_of_bytes): the document's own UUID
  // follows from it, so the same file gives the same document. Empty: the UUID follows from the
  // file name alone.
  std::string content_digest;
  // How a true-position tolerance (TOL TP) is read; a radial one is written as the diametral zone
  // it equals.
  kptZoneConvention convention = kptZoneDiametral;
  // The drafting standard the characteristics are defined by (ISO 1101 by default).
  kptDraftingStandard standard = kptDraftingIso1101;
  // Which inspection points become point features with characteristics of their own.
  kptQifPoints points = kptQifPointsAll;
  // The time of the export as an XML date and time ("2026-11-23T10:15:00Z"). Empty: the clock's
  // time now, in UTC.
  std::string time;
};

// The outcome of a write.
enum kptQifOutcome : std::int32_t {
  kptQifWritten = 0,
  // The sink refused bytes (disk full, closed stream); what it took before stays with it.
  kptQifOutputRefused = 1,
  // kptQifDocument::time is not an XML date and time; nothing was written.
  kptQifBadTime = 2,
};

class CNCPROBE_API kptQifWriter {
 public:
  // Takes the next piece of the document; false stops the write (kptQifOutputRefused).
  using Sink = std::function<bool(std::string_view bytes)>;

  // Writes the document of `extractor`'s last extraction (whose status it was given) and the
  // header references of the same file to `sink`. kptQifWritten, kptQifOutputRefused when the
  // sink refused bytes, kptQifBadTime (nothing written) for a time that is not an XML date-time.
  static kptQifOutcome write(const kptResultsDataExtractor& extractor,
                             kptResultsExtractionStatus status,
                             const kptFileReferenceExtractor& references,
                             const kptQifDocument& document, const Sink& sink);

  // The same into the named file, created or replaced; kptQifOutputRefused when it cannot be
  // written.
  static kptQifOutcome write_file(const kptResultsDataExtractor& extractor,
                                  kptResultsExtractionStatus status,
                                  const kptFileReferenceExtractor& references,
                                  const kptQifDocument& document, const utString& path);

  // The content digest of bytes held in memory (40 hex digits).
  static std::string digest_of_bytes(std::string_view bytes);
  // The content digest of the named file, read in blocks; empty when it cannot be read.
  static std::string digest_of_file(const utString& file_name);

  // True for an XML date and time: YYYY-MM-DDThh:mm:ss, optional fraction, optional Z or
  // +hh:mm / -hh:mm.
  static bool valid_time(std::string_view text) noexcept;
};

// "written", "output refused", "bad time"; "unknown" for any other value. Never null.
CNCPROBE_API const char* kpt_qif_outcome_text(kptQifOutcome outcome) noexcept;
