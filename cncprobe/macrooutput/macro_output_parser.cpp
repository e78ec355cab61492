// kptMacroOutputParser: the report kinds are tried in a fixed order at a report's first line.
#include "cncprobe/macrooutput/macro_output_parser.h"

kptMacroOutputParser::kptMacroOutputParser(const kptUnits& units,
                                           utObserverPtr<kptResultsFileParserCallback> callback)
    : number_parser_(units), callback_(callback) {}

kptMacroOutputParser::~kptMacroOutputParser() = default;

bool kptMacroOutputParser::parse_macro_output(kptResultsFileCursor& /*cursor*/) const {
  return false;
}
