// Fuzz target: a results file recognised in chunks of a few lines on three threads fires exactly
// the events of one pass, however the chunk boundaries cut its reports.
#include "cncprobe/events/recording_callback_test_util.h"
#include "cncprobe/extraction/internal/chunked_recognition.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const kptResultsFileCursor lines(fuzz_input(data, size));
  const kptUnits units = fuzz_units(size);
  RecordingCallback one_pass, chunked;
  const kptResultsFileParser parser(units, utObserverPtr<kptResultsFileParserCallback>(&one_pass));
  kptResultsFileCursor cursor = lines;
  while (++cursor && (static_cast<void>(parser.parse_next_object(cursor)), !cursor.undefined())) {
  }
  // Chunks of 1 to 8 lines, chosen by the input, so that boundaries fall inside reports.
  const std::size_t chunk_lines = size == 0 ? 1 : 1 + data[0] % 8;
  kptChunkedRecognition::run(lines, units, chunked,
                             kptChunkedRecognition::even_chunks(lines.line_count(), chunk_lines), 3,
                             nullptr);
  fuzz_check(chunked.events == one_pass.events, "chunks on threads disagree with one pass");
  return 0;
}
