// kptChunkedRecognition: the lines of one large results file recognised in chunks, on several
// threads, with the events delivered to the receiver in file order exactly as one pass gives them.
// Internal to the library and not installed: hosts ask kptResultsDataExtractor::set_threads.
//
// Recognising a line depends on nothing but the lines from it on: the parser keeps no state from
// line to line (the receiver does). So each chunk is recognised on its own, from its first line,
// by a parser of its own, which writes down the events it fired and the lines each took; the
// caller's thread then replays them in order. Where a report runs across a chunk boundary, the
// next chunk's parse began inside the report and disagrees with the one pass: the lines from where
// the pass really stands are recognised again, one by one, until the pass stands on a line where
// the chunk's parse also stood; from there the two agree to the chunk's end, and the chunk's
// events are taken.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "cncprobe/events/results_file_parser_callback.h"
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/units.h"

class kptChunkedRecognition {
 public:
  // Chunk starts (0-based line indices) for `line_count` lines cut every `chunk_lines` lines.
  static std::vector<std::size_t> even_chunks(std::size_t line_count, std::size_t chunk_lines);

  // Recognises every line of `lines` (from the first, whatever its position) printed in `units`,
  // cut into chunks at `chunk_starts` (ascending 0-based line indices; a first start above 0
  // leaves the lines before it to the first chunk), on `threads` threads, the caller's among them
  // (1 starts none). Every event reaches `receiver` on the caller's thread in file order, as one
  // parser stepping over the lines fires them. `passed(line_index)` is called on the caller's
  // thread whenever no line below `line_index` will be read again.
  static void run(const kptResultsFileCursor& lines, const kptUnits& units,
                  kptResultsFileParserCallback& receiver, std::span<const std::size_t> chunk_starts,
                  unsigned int threads, const std::function<void(std::size_t)>& passed);
};
