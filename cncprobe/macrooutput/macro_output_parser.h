// kptMacroOutputParser: recognises the printed reports of probing macros in a results file.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/string_data_parsing.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/observer_ptr.h"
#include "cncprobe/resultsfile/results_file_parser_callback.h"

class CNCPROBE_API kptMacroOutputParser {
public:
  kptMacroOutputParser(const kptUnits& units, utObserverPtr<kptResultsFileParserCallback> callback);
  virtual ~kptMacroOutputParser();
  kptMacroOutputParser(const kptMacroOutputParser&) = delete;
  kptMacroOutputParser& operator=(const kptMacroOutputParser&) = delete;

  // Tries the line at the cursor as the first line of a report. On success the report's one
  // event has been fired and the cursor stands on the report's last line; otherwise the cursor
  // is untouched and nothing was fired.
  bool parse_macro_output(kptResultsFileCursor& cursor) const;

private:
  kptStringDataParsing number_parser_;
  utObserverPtr<kptResultsFileParserCallback> callback_;
};
