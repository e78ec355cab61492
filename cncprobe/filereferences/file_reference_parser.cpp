// kptFileReferenceParser: builds the seven reference-line patterns and takes values from lines.
#include "cncprobe/filereferences/file_reference_parser.h"

#include <string_view>

#include "cncprobe/platform/text/internal/matcher.h"

namespace {
// Any text may stand before the keyword; greedy, so the last usable occurrence of a keyword
// repeated in one line is the one whose value is taken.
constexpr const char* kPrefix = "^.*";
// Blanks or asterisks after the keyword, the value, then only blanks and asterisks to the end.
// The value runs to its last character that is no blank or asterisk, so the closing run (and a
// stray carriage return) stays out of it. This is what the lazy "(.*?)[\s\*]*$" takes, written
// so that a long run of blanks inside a value is not rescanned at every position: a match costs
// time in proportion to the line, not to the square of a run in it. The run after the keyword
// is possessive for the same reason; giving blanks back could never change the value's start.
constexpr const char* kValueTail = "[\\s\\*]++((?:.*[^\\s\\*])?)[\\s\\*]*$";
// As the value tail, but the value must be a layout version major.minor.build.
constexpr const char* kVersionTail =
    "[\\s\\*]+([1-9]\\d*\\.(?:0|[1-9]\\d*)\\.(?:0|[1-9]\\d*))[\\s\\*]*$";
// The keywords of the seven reference lines.
constexpr std::string_view kResultsFileVersion = "RESULTSFILEVERSION";
constexpr std::string_view kCadFilename = "CADFILENAME";
constexpr std::string_view kCldataFilename = "CLDATAFILENAME";
constexpr std::string_view kSettingsFilename = "SETTINGSFILENAME";
constexpr std::string_view kDocumentId = "DOCUMENTID";
constexpr std::string_view kDocumentVersion = "DOCUMENTVERSION";
constexpr std::string_view kModelVersion = "MODELVERSION";
// The match result of a line that holds the keyword and a value: group 1, the value, took part.
constexpr int kValueFound = 2;

std::unique_ptr<reMatcher> make_matcher(std::string_view keyword, const char* tail) {
  utString pattern;
  pattern << kPrefix << utString(keyword) << tail;
  return std::make_unique<reMatcher>(pattern);
}
}  // namespace

kptFileReferenceParser::kptFileReferenceParser() { init_matchers(); }

kptFileReferenceParser::~kptFileReferenceParser() {
  model_version_matcher.reset();
  document_version_matcher.reset();
  document_id_matcher.reset();
  settings_filename_matcher.reset();
  cldata_filename_matcher.reset();
  cad_filename_matcher.reset();
  results_file_version_matcher.reset();
}

void kptFileReferenceParser::init_matchers() {
  results_file_version_matcher = make_matcher(kResultsFileVersion, kVersionTail);
  cad_filename_matcher = make_matcher(kCadFilename, kValueTail);
  cldata_filename_matcher = make_matcher(kCldataFilename, kValueTail);
  settings_filename_matcher = make_matcher(kSettingsFilename, kValueTail);
  document_id_matcher = make_matcher(kDocumentId, kValueTail);
  document_version_matcher = make_matcher(kDocumentVersion, kValueTail);
  model_version_matcher = make_matcher(kModelVersion, kValueTail);

  reMatcher* const all[] = {results_file_version_matcher.get(), cad_filename_matcher.get(),
                            cldata_filename_matcher.get(),      settings_filename_matcher.get(),
                            document_id_matcher.get(),          document_version_matcher.get(),
                            model_version_matcher.get()};
  // The patterns are fixed and known to compile; the outcomes are not looked at. Anchored at the
  // start offset, as every pattern of a results file is matched.
  utString error_text;
  int error_offset = 0;
  for (reMatcher* matcher : all) {
    (void)matcher->compile(reMatcher::kAnchored, error_text, error_offset);
  }
  for (reMatcher* matcher : all) (void)matcher->study(error_text, 0);
}

utString kptFileReferenceParser::parse_line(const utString& line, std::string_view keyword,
                                            reMatcher& matcher) {
  // Every pattern needs its keyword somewhere in the line: a line without it cannot match, and
  // most lines of a file (points and reports) are turned away here without running the pattern.
  if (line.view().find(keyword) == std::string_view::npos) return utString();
  if (matcher.match(line, 0) == kValueFound) return matcher.get_substring(1);
  return utString();
}

utString kptFileReferenceParser::parse_results_file_version(const utString& line) const {
  return parse_line(line, kResultsFileVersion, *results_file_version_matcher);
}

utString kptFileReferenceParser::parse_cad_filename(const utString& line) const {
  return parse_line(line, kCadFilename, *cad_filename_matcher);
}

utString kptFileReferenceParser::parse_cldata_filename(const utString& line) const {
  return parse_line(line, kCldataFilename, *cldata_filename_matcher);
}

utString kptFileReferenceParser::parse_settings_filename(const utString& line) const {
  return parse_line(line, kSettingsFilename, *settings_filename_matcher);
}

utString kptFileReferenceParser::parse_document_id(const utString& line) const {
  return parse_line(line, kDocumentId, *document_id_matcher);
}

utString kptFileReferenceParser::parse_document_version(const utString& line) const {
  return parse_line(line, kDocumentVersion, *document_version_matcher);
}

utString kptFileReferenceParser::parse_model_version(const utString& line) const {
  return parse_line(line, kModelVersion, *model_version_matcher);
}
