// kptFileReferenceParser: the patterns of the reference lines in a results file's header.
//
// Each reference line carries an upper-case keyword and its value, possibly framed by asterisks:
//
//   *** CADFILENAME C:\jobs\bracket.model ***     -> parse_cad_filename gives C:\jobs\bracket.model
//   RESULTSFILEVERSION 2.1.0                      -> parse_results_file_version gives 2.1.0
//
// The keyword may stand anywhere in the line, with any text glued before it; when it occurs
// more than once, the value after the last usable occurrence is taken. At least one blank or
// asterisk must follow the keyword. The value runs from the first character after that run to
// the run of blanks and asterisks that ends the line; inner blanks and trailing punctuation stay
// part of it. A keyword followed only by blanks or asterisks gives a valid empty value.
#pragma once

#include <memory>
#include <string_view>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

class reMatcher;

class CNCPROBE_API kptFileReferenceParser {
 public:
  // Builds, compiles and studies the seven patterns once.
  kptFileReferenceParser();
  ~kptFileReferenceParser();
  kptFileReferenceParser(const kptFileReferenceParser&) = delete;
  kptFileReferenceParser& operator=(const kptFileReferenceParser&) = delete;

  // Each returns the value that `line` gives for its reference, or an invalid utString when the
  // line is no such reference line. The version is accepted only as three decimal numbers
  // joined by points, without leading zeros, the first not 0 (2.0.11, not 02.0.1, 2.01.1 or 2.0),
  // followed by nothing but blanks and asterisks.
  [[nodiscard]] utString parse_results_file_version(const utString& line) const;
  // The value of a CADFILENAME line; invalid when the line is not one.
  [[nodiscard]] utString parse_cad_filename(const utString& line) const;
  // The value of a CLDATAFILENAME line; invalid when the line is not one.
  [[nodiscard]] utString parse_cldata_filename(const utString& line) const;
  // The value of a SETTINGSFILENAME line; invalid when the line is not one.
  [[nodiscard]] utString parse_settings_filename(const utString& line) const;
  // The value of a DOCUMENTID line; invalid when the line is not one.
  [[nodiscard]] utString parse_document_id(const utString& line) const;
  // The value of a DOCUMENTVERSION line; invalid when the line is not one.
  [[nodiscard]] utString parse_document_version(const utString& line) const;
  // The value of a MODELVERSION line; invalid when the line is not one.
  [[nodiscard]] utString parse_model_version(const utString& line) const;

 private:
  void init_matchers();
  static utString parse_line(const utString& line, std::string_view keyword, reMatcher& matcher);

  std::unique_ptr<reMatcher> results_file_version_matcher;
  std::unique_ptr<reMatcher> cad_filename_matcher;
  std::unique_ptr<reMatcher> cldata_filename_matcher;
  std::unique_ptr<reMatcher> settings_filename_matcher;
  std::unique_ptr<reMatcher> document_id_matcher;
  std::unique_ptr<reMatcher> document_version_matcher;
  std::unique_ptr<reMatcher> model_version_matcher;
};
