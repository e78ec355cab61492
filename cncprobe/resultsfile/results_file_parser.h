// kptResultsFileParser: recognises the machine records of a results file and fires their events.
//
// The machine records are START, END, TOOLPATHID, the nominal and measured points G800 and G801,
// the output and CAD workplanes G330 and G331, CYCLEDEPTH and RESULTSFILE. A line that is none of
// them is offered to the macro-report parser this class is built on, as the first line of a
// printed report. Every recognised record or report fires exactly one event of the receiver.
//
//   kptResultsFileParser parser(units, utObserverPtr<kptResultsFileParserCallback>(&receiver));
//   kptResultsFileCursor cursor(utString("probing.res"));
//   while (++cursor) parser.parse_next_object(cursor);
#pragma once

#include <memory>

#include "cncprobe/events/results_file_parser_callback.h"
#include "cncprobe/export.h"
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/string_data_parsing.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/macrooutput/macro_output_parser.h"
#include "cncprobe/platform/geometry/workplane3.h"
#include "cncprobe/platform/support/observer_ptr.h"
#include "cncprobe/platform/text/string.h"

class reMatcher;

class CNCPROBE_API kptResultsFileParser : public kptMacroOutputParser {
 public:
  // A parser for a file printed in `units`, firing its events at `callback`, which it does not own
  // and which must outlive it (a null callback is allowed: lines are then recognised and consumed
  // silently). All patterns are compiled here, once.
  kptResultsFileParser(const kptUnits& units, utObserverPtr<kptResultsFileParserCallback> callback);
  ~kptResultsFileParser() override;
  kptResultsFileParser(const kptResultsFileParser&) = delete;
  kptResultsFileParser& operator=(const kptResultsFileParser&) = delete;

  // Reads the line at the cursor as a machine record, or else as the first line of a macro report,
  // and fires its one event. True when recognised; a report leaves the cursor on its last line,
  // anything else leaves the cursor where it was. False, with no event, for an unknown line, a
  // nominal point whose lower limit exceeds its upper one, a tool-path identity of 0 or of
  // 214748.3648 and more, and for a cursor that stands on no line.
  bool parse_next_object(kptResultsFileCursor& cursor) const;

 private:
  void init_matchers();

  bool parse_for_start(const utString& line) const;
  bool parse_for_end(const utString& line) const;
  bool parse_for_toolpath_instance(const utString& line) const;
  bool parse_for_nominal_point(const utString& line) const;
  bool parse_for_measured_point(const utString& line) const;
  bool parse_for_workplane(const utString& line) const;
  bool parse_for_cad_workplane(const utString& line) const;
  bool parse_for_cycle_depth(const utString& line) const;
  bool parse_for_results_file(const utString& line) const;

  // The workplane of a matched G330 or G331 record, whose groups 1 to 6 hold A, B, C, X, Y, Z.
  giWorkplane3 workplane_from(const reMatcher& matcher) const;

  // The number reader and the event receiver are the macro-report parser's, shared through its
  // accessors: records and reports of one file read numbers in one unit and reach one receiver.
  std::unique_ptr<reMatcher> start_matcher_;
  std::unique_ptr<reMatcher> end_matcher_;
  std::unique_ptr<reMatcher> toolpath_id_matcher_;
  std::unique_ptr<reMatcher> cycle_depth_matcher_;
  std::unique_ptr<reMatcher> results_file_matcher_;
  std::unique_ptr<reMatcher> nominal_point_matcher_;
  std::unique_ptr<reMatcher> measured_point_matcher_;
  std::unique_ptr<reMatcher> workplane_matcher_;
  std::unique_ptr<reMatcher> cad_workplane_matcher_;
};
