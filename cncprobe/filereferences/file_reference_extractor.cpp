// kptFileReferenceExtractor: opens a results file itself and scans it for the reference lines.
#include "cncprobe/filereferences/file_reference_extractor.h"

#include <fstream>

#include "cncprobe/filereferences/file_reference_parser.h"
#include "cncprobe/platform/text/internal/string_encoding.h"
#include "cncprobe/platform/text/internal/string_reader.h"

apStatus kptFileReferenceExtractor::extract(const apPath& path) {
  // Forget first: a call that fails must not leave the references of an earlier file behind.
  forget_all();
  // is_file before exists, and before opening: a FIFO or a device is refused here, so opening
  // can never block waiting for a writer.
  if (path.invalid() != 0 || path.is_file() == 0 || path.exists() == 0) return apStatus(0);

  const apIStringEncoding* encoding = apStringEncodingChooser().ut_encoding();
  int error = 0;
  const utString name = encoding->to_ut_string(path.string(), error);
  if (error != 0 || name.invalid()) return apStatus(0);

  // Text mode, shared: the machine or another reader may have the file open at the same time.
  std::ifstream stream(name.c_str(), std::ios_base::in);
  if (stream.fail() || stream.bad()) return apStatus(0);
  return extract_from_stream(stream);
}

apStatus kptFileReferenceExtractor::extract_filenames(const apPath& path) { return extract(path); }

apStatus kptFileReferenceExtractor::extract_from_stream(std::istream& stream) {
  forget_all();
  const apIStringEncoding* encoding = apStringEncodingChooser().ut_encoding();
  // The line bound keeps one line of a file without line ends from being held whole in memory.
  apStringReaderUTF8 reader(kMaxLineBytes);
  const kptFileReferenceParser parser;

  // Each line is offered only to the patterns of the references still missing, so the first
  // line that gives a reference wins and a completed header ends the scan.
  struct Reference {
    utString& value;
    utString (kptFileReferenceParser::*parse)(const utString&) const;
  };
  const Reference references[] = {
      {results_file_version_text_, &kptFileReferenceParser::parse_results_file_version},
      {settings_filename_, &kptFileReferenceParser::parse_settings_filename},
      {cad_filename_, &kptFileReferenceParser::parse_cad_filename},
      {cldata_filename_, &kptFileReferenceParser::parse_cldata_filename},
      {document_id_, &kptFileReferenceParser::parse_document_id},
      {document_version_, &kptFileReferenceParser::parse_document_version},
      {model_version_, &kptFileReferenceParser::parse_model_version},
  };

  while (stream.good()) {
    int error = 0;
    const apString text = reader.read_line(stream, error);
    if (error != 0) break;
    const utString line = encoding->to_ut_string(text, error);
    if (error != 0) break;
    for (const Reference& reference : references) {
      if (reference.value.invalid()) reference.value = (parser.*reference.parse)(line);
    }
    if (all_found()) break;
  }
  return apStatus(1);
}

kptResultsFileVersion kptFileReferenceExtractor::results_file_version() const {
  if (results_file_version_text_.invalid()) return kptResultsFileVersion();
  utString rest = results_file_version_text_;  // a copy: the stored text stays as found
  utString pieces[3];
  for (utString& piece : pieces) {
    if (rest.extract_string(".", piece) == 0) return kptResultsFileVersion();
  }
  int numbers[3] = {0, 0, 0};
  for (int i = 0; i < 3; ++i) {
    int unused = 0;
    if (pieces[i].parse(numbers[i], unused) == 0) return kptResultsFileVersion();
  }
  const auto [major_number, minor_number, build_number] = numbers;
  if (major_number <= 0 || minor_number < 0 || build_number < 0) return kptResultsFileVersion();
  return kptResultsFileVersion(static_cast<unsigned int>(major_number),
                               static_cast<unsigned int>(minor_number),
                               static_cast<unsigned int>(build_number));
}

void kptFileReferenceExtractor::forget_all() {
  model_version_ = utString();
  document_id_ = utString();
  document_version_ = utString();
  cldata_filename_ = utString();
  cad_filename_ = utString();
  settings_filename_ = utString();
  results_file_version_text_ = utString();
}

bool kptFileReferenceExtractor::all_found() const noexcept {
  return results_file_version_text_.valid() && settings_filename_.valid() &&
         cad_filename_.valid() && cldata_filename_.valid() && document_version_.valid() &&
         document_id_.valid() && model_version_.valid();
}
