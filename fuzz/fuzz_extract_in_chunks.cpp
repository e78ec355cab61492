// Fuzz target: a results file cut into its lines in parts of a few bytes on three threads gives the
// lines of one pass, and recognised in chunks of a few lines on three threads it fires exactly the
// events of one pass, however the part and chunk boundaries cut its lines and reports.
#include <string>
#include <string_view>
#include <vector>

#include "cncprobe/events/recording_callback_test_util.h"
#include "cncprobe/extraction/internal/chunked_recognition.h"
#include "fuzz/fuzz_support.h"

namespace {
// A cursor over bytes cut into lines in parts of at least `least_part` bytes, where a file would
// be cut in parts of megabytes.
class CutInParts : public kptResultsFileCursor {
 public:
  CutInParts(std::string_view bytes, std::size_t least_part)
      : kptResultsFileCursor(bytes, 3, least_part) {}
};

std::vector<std::string> lines_of(kptResultsFileCursor cursor) {
  std::vector<std::string> lines;
  while (++cursor) lines.push_back(cursor().str());
  return lines;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const kptResultsFileCursor one_pass_lines(fuzz_input(data, size));
  // Parts of 1 to 64 bytes, chosen by the input.
  const CutInParts lines(std::string_view(reinterpret_cast<const char*>(data), size),
                         size < 2 ? 1 : 1 + data[1] % 64);
  fuzz_check(lines_of(lines) == lines_of(one_pass_lines),
             "lines cut in parts disagree with one pass");

  const kptUnits units = fuzz_units(size);
  RecordingCallback one_pass, chunked;
  const kptResultsFileParser parser(units, utObserverPtr<kptResultsFileParserCallback>(&one_pass));
  kptResultsFileCursor cursor = one_pass_lines;
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
