// Fuzz target: every line of a results file through kptResultsFileParser, checking that a
// recognised record or report fires exactly one event and that anything else moves nothing.
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static CountingCallback events;
  // Built once per process: compiling the patterns costs more than parsing a small input.
  static const kptResultsFileParser parsers[] = {
      {kptUnits(kptUnitsMillimetres), utObserverPtr<kptResultsFileParserCallback>(&events)},
      {kptUnits(kptUnitsInches), utObserverPtr<kptResultsFileParserCallback>(&events)}};
  const kptResultsFileParser& parser = parsers[fuzz_units(size).type() == kptUnitsInches ? 1 : 0];
  kptResultsFileCursor cursor(fuzz_input(data, size));
  while (++cursor) {
    const kptResultsFileCursor before = cursor;
    const unsigned long fired = events.count();
    const bool recognised = parser.parse_next_object(cursor);
    fuzz_check(events.count() == fired + (recognised ? 1 : 0), "not exactly one event per record");
    fuzz_check(recognised ? cursor.line_number() >= before.line_number() : cursor == before,
               "the cursor moved back, or moved on an unrecognised line");
  }
  return 0;
}
