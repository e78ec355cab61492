// Anchors the event interface's virtual table and type information in the library.
#include "cncprobe/resultsfile/results_file_parser_callback.h"

kptResultsFileParserCallback::~kptResultsFileParserCallback() = default;
