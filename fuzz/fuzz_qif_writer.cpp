// Fuzz target: a whole results file extracted and written as a QIF document, which must always be
// well-formed XML whatever bytes the file held (names, labels and references are copied into it).
#include <libxml/parser.h>

#include <string>

#include "cncprobe/exchange/qif_writer.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const kptInputFile input = fuzz_input(data, size);
  kptResultsDataExtractor extractor;
  const kptResultsExtractionStatus status = extractor.extract_data(input, fuzz_units(size));
  kptFileReferenceExtractor references;
  (void)references.extract(input);
  kptQifDocument document;
  document.file_name = "fuzz \x01<&>.res";
  document.content_digest = kptQifWriter::digest_of_bytes(input.bytes());
  document.time = "2026-11-23T10:15:00Z";
  document.points = static_cast<kptQifPoints>(size % 3);
  document.convention = static_cast<kptZoneConvention>(size % 2);
  std::string xml;
  const kptQifOutcome outcome =
      kptQifWriter::write(extractor, status, references, document, [&](std::string_view bytes) {
        xml.append(bytes);
        return true;
      });
  fuzz_check(outcome == kptQifWritten, "a document to memory was not written");
  xmlDocPtr parsed = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "fuzz.qif", nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  fuzz_check(parsed != nullptr, "the document is not well-formed XML");
  xmlFreeDoc(parsed);
  return 0;
}
