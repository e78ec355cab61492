// kptResultsFileParser: the machine-record patterns, their fixed order and the events they fire.
#include "cncprobe/resultsfile/results_file_parser.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "cncprobe/platform/geometry/angle.h"
#include "cncprobe/platform/geometry/axis.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/vector3.h"
#include "cncprobe/platform/geometry/xform3.h"
#include "cncprobe/platform/text/internal/matcher.h"

namespace {
// Words and values of a record are separated by any run of blanks and asterisks.
constexpr const char* kBlockNumber = R"(N[\s\*]*\d+[\s\*]*)";
// A value may carry its sign apart from the digits ("X - 12.5"); the number reader joins them.
// The run of blanks after the letter is possessive ("*+"): it accepts exactly the lines and
// captures of the plain run, because giving blanks back to the value can never make the value
// match, but it keeps a long run of blanks before a bad value from costing quadratic time.
constexpr const char* kValueAfterLetter = R"([\s\*]*+([-+]?[\s\*]*[\d\.]+)[\s\*]*)";

// Match results of a line that fits a record (reMatcher::match gives one more than the highest
// group that took part): START and END capture nothing, the other records capture each value.
constexpr int kWholeLine = 1;
constexpr int kOneValue = 2;
constexpr int kNominalPointValues = 10;  // X, Y, Z, I, J, K, O, U, L
constexpr int kMeasuredPointValues = 5;  // X, Y, Z, R
constexpr int kWorkplaneValues = 9;      // A, B, C, X, Y, Z, I, R
constexpr int kCadWorkplaneValues = 7;   // A, B, C, X, Y, Z

// One letter of a G record and its captured value.
utString value_piece(char letter) {
  utString piece;
  piece << letter << kValueAfterLetter;
  return piece;
}

// The pattern of a G record: its head, the block number, then one value per letter in order.
utString g_record_pattern(const char* head, const char* letters) {
  utString pattern;
  pattern << utString(head) << utString(kBlockNumber);
  for (const char* letter = letters; *letter != '\0'; ++letter) pattern << value_piece(*letter);
  return pattern;
}

// Cheap tests that prove a record pattern cannot match a line. Every record pattern needs its
// keyword: those anchored on it ("^G800", "^END") at the line's first byte, the others somewhere
// in the line ("^.*START", and the ones that allow leading blanks and asterisks). The patterns are
// case-sensitive, so a plain byte comparison is exact.
// Both run on every line; with the keyword's length known here, the comparison is a few
// instructions rather than a call.
template <std::size_t N>
bool begins_with(const utString& line, const char (&keyword)[N]) noexcept {
  return line.length() >= N - 1 && std::memcmp(line.c_str(), keyword, N - 1) == 0;
}
template <std::size_t N>
bool holds(const utString& line, const char (&keyword)[N]) noexcept {
  return line.view().find(std::string_view(keyword, N - 1)) != std::string_view::npos;
}

// The largest product of a tool-path value with 10000 that is taken: the record's number must fit
// a signed 32-bit integer.
constexpr double kLargestToolpathNumber = 2147483647.0;

// A tool-path value is printed as identity.00ii, so the value times 10000 carries the identity
// and the pattern instance as one whole number. `value` is read from the text cut after its
// fourth decimal, so the product lies within a rounding error of that number (1.0009 gives
// 10008.999999999998) and rounding to the nearest gives it. Empty when the number does not fit.
std::optional<std::uint32_t> toolpath_number(double value) {
  const double product = value * 10000.0;
  // Also refuses an infinity (hundreds of digits), which cannot be converted to an integer.
  if (!(product >= 0.0 && product < kLargestToolpathNumber + 0.5)) return std::nullopt;
  return static_cast<std::uint32_t>(std::round(product));
}
}  // namespace

kptResultsFileParser::kptResultsFileParser(const kptUnits& units,
                                           utObserverPtr<kptResultsFileParserCallback> callback)
    : kptMacroOutputParser(units, callback) {
  init_matchers();
}

kptResultsFileParser::~kptResultsFileParser() = default;

void kptResultsFileParser::init_matchers() {
  start_matcher_ = std::make_unique<reMatcher>(R"(^.*START(?:[\s\*]*'.*?')?[\s\*]*)");
  end_matcher_ = std::make_unique<reMatcher>(R"(^END(?:[\s\*]*'.*?')?[\s\*]*)");
  toolpath_id_matcher_ =
      std::make_unique<reMatcher>(R"(^[\s\*]*TOOLPATHID[\s\*]+(\d+(?:\.\d*)?)[\s\*]*$)");
  // The depth and the file name use the same linear-time forms as the G records: the depth's
  // leading run is possessive, and the file name is "everything up to the last character that
  // is no blank or asterisk", which is what the lazy "(.*?)[\s\*]*$" captures, found without
  // rescanning a long run of blanks inside the name at every position.
  cycle_depth_matcher_ =
      std::make_unique<reMatcher>(R"(^[\s\*]*CYCLEDEPTH[\s\*]++([-+]?[\s\*]*[\d\.]+)[\s\*]*)");
  results_file_matcher_ =
      std::make_unique<reMatcher>(R"(^[\s\*]*RESULTSFILE[\s\*]++((?:.*[^\s\*])?)[\s\*]*$)");
  nominal_point_matcher_ =
      std::make_unique<reMatcher>(g_record_pattern(R"(^G800[\s\*]+)", "XYZIJKOUL"));
  measured_point_matcher_ =
      std::make_unique<reMatcher>(g_record_pattern(R"(^G801[\s\*]+)", "XYZR"));
  workplane_matcher_ = std::make_unique<reMatcher>(g_record_pattern(R"(^G330[\s\*]+)", "ABCXYZIR"));
  cad_workplane_matcher_ =
      std::make_unique<reMatcher>(g_record_pattern(R"(^G331[\s\*]+)", "ABCXYZ"));

  reMatcher* const matchers[] = {
      start_matcher_.get(),          end_matcher_.get(),          toolpath_id_matcher_.get(),
      cycle_depth_matcher_.get(),    results_file_matcher_.get(), nominal_point_matcher_.get(),
      measured_point_matcher_.get(), workplane_matcher_.get(),    cad_workplane_matcher_.get(),
  };
  // Every pattern here is fixed and known to compile, so the outcomes are not looked at.
  utString error_text;
  int error_offset = 0;
  for (reMatcher* matcher : matchers) {
    (void)matcher->compile(reMatcher::kAnchored, error_text, error_offset);
  }
  for (reMatcher* matcher : matchers) (void)matcher->study(error_text, 0);
}

bool kptResultsFileParser::parse_next_object(kptResultsFileCursor& cursor) const {
  const utString& line = cursor();
  if (line.invalid()) return false;  // the cursor stands before the first or after the last line
  return parse_for_start(line) || parse_for_end(line) || parse_for_toolpath_instance(line) ||
         parse_for_nominal_point(line) || parse_for_measured_point(line) ||
         parse_for_workplane(line) || parse_for_cad_workplane(line) ||
         parse_for_cycle_depth(line) || parse_for_results_file(line) || parse_macro_output(cursor);
}

bool kptResultsFileParser::parse_for_start(const utString& line) const {
  if (keyword_tests_ && !holds(line, "START")) return false;
  if (start_matcher_->match(line, 0) != kWholeLine) return false;
  if (callback()) callback()->on_start();
  return true;
}

bool kptResultsFileParser::parse_for_end(const utString& line) const {
  if (keyword_tests_ && !begins_with(line, "END")) return false;
  if (end_matcher_->match(line, 0) != kWholeLine) return false;
  if (callback()) callback()->on_end();
  return true;
}

bool kptResultsFileParser::parse_for_toolpath_instance(const utString& line) const {
  if (keyword_tests_ && !holds(line, "TOOLPATHID")) return false;
  if (toolpath_id_matcher_->match(line, 0) != kOneValue) return false;
  const utString text = toolpath_id_matcher_->get_substring(1);
  // TOOLPATHID 0 names no tool path.
  if (number_parser().string_to_double(text) == 0.0) return false;
  // Decimals beyond the fourth are no part of the identity or the instance: 12.00039 is tool
  // path 12, instance 3. They are cut off before the value is read.
  const int point = text.locate_substring(".");
  const bool long_fraction = point >= 0 && text.length() > static_cast<std::uint32_t>(point) + 5;
  const std::optional<std::uint32_t> number = toolpath_number(number_parser().string_to_double(
      long_fraction ? utString(text.c_str(), static_cast<std::size_t>(point) + 5) : text));
  if (!number) return false;
  const unsigned int instance = *number % 100;
  if (callback()) {
    callback()->on_toolpath_instance(*number / 10000,
                                     instance == 0 ? std::nullopt : std::optional(instance));
  }
  return true;
}

bool kptResultsFileParser::parse_for_nominal_point(const utString& line) const {
  reMatcher& m = *nominal_point_matcher_;
  if (keyword_tests_ && !begins_with(line, "G800")) return false;
  if (m.match(line, 0) != kNominalPointValues) return false;
  const kptStringDataParsing& n = number_parser();
  const double upper = n.string_to_mm(m.group_view(8));
  const double lower = n.string_to_mm(m.group_view(9));
  // A lower limit above the upper one is no usable tolerance band.
  if (lower > upper) return false;
  const giPoint3 point(n.string_to_mm(m.group_view(1)), n.string_to_mm(m.group_view(2)),
                       n.string_to_mm(m.group_view(3)));
  // The probing direction is printed as a plain vector: neither normalised nor unit-converted.
  const giVector3 direction(n.string_to_double(m.group_view(4)),
                            n.string_to_double(m.group_view(5)),
                            n.string_to_double(m.group_view(6)));
  if (callback()) {
    callback()->on_nominal_point(point, direction, n.string_to_mm(m.group_view(7)), upper, lower);
  }
  return true;
}

bool kptResultsFileParser::parse_for_measured_point(const utString& line) const {
  reMatcher& m = *measured_point_matcher_;
  if (keyword_tests_ && !begins_with(line, "G801")) return false;
  if (m.match(line, 0) != kMeasuredPointValues) return false;
  const kptStringDataParsing& n = number_parser();
  const giPoint3 point(n.string_to_mm(m.group_view(1)), n.string_to_mm(m.group_view(2)),
                       n.string_to_mm(m.group_view(3)));
  if (callback()) callback()->on_measured_point(point, n.string_to_mm(m.group_view(4)));
  return true;
}

bool kptResultsFileParser::parse_for_workplane(const utString& line) const {
  // I and R are required by the record but carry nothing the workplane needs.
  if (keyword_tests_ && !begins_with(line, "G330")) return false;
  if (workplane_matcher_->match(line, 0) != kWorkplaneValues) return false;
  if (callback()) callback()->on_workplane(workplane_from(*workplane_matcher_));
  return true;
}

bool kptResultsFileParser::parse_for_cad_workplane(const utString& line) const {
  if (keyword_tests_ && !begins_with(line, "G331")) return false;
  if (cad_workplane_matcher_->match(line, 0) != kCadWorkplaneValues) return false;
  if (callback()) callback()->on_cad_workplane(workplane_from(*cad_workplane_matcher_));
  return true;
}

giWorkplane3 kptResultsFileParser::workplane_from(const reMatcher& m) const {
  const kptStringDataParsing& n = number_parser();
  // Angles are degrees whatever the file's units; only the origin is a length.
  const giAngle a(giAngleDegrees, n.string_to_double(m.group_view(1)));
  const giAngle b(giAngleDegrees, n.string_to_double(m.group_view(2)));
  const giAngle c(giAngleDegrees, n.string_to_double(m.group_view(3)));
  const giPoint3 origin(n.string_to_mm(m.group_view(4)), n.string_to_mm(m.group_view(5)),
                        n.string_to_mm(m.group_view(6)));
  // The frame turns about world X by A first, then about Y by B, then about Z by C, and is then
  // moved to the origin: M = T · Rz · Ry · Rx.
  giXform3 frame(giXformTranslate, giVector3(origin.x(), origin.y(), origin.z()));
  frame.postmultiply(giXform3(giXformRotate, c, giAxisZ));
  frame.postmultiply(giXform3(giXformRotate, b, giAxisY));
  frame.postmultiply(giXform3(giXformRotate, a, giAxisX));
  giWorkplane3 workplane(giWorkplaneWorld);
  (void)workplane.transform(frame);
  return workplane;
}

bool kptResultsFileParser::parse_for_cycle_depth(const utString& line) const {
  if (keyword_tests_ && !holds(line, "CYCLEDEPTH")) return false;
  if (cycle_depth_matcher_->match(line, 0) != kOneValue) return false;
  if (callback()) {
    callback()->on_cycle_depth(number_parser().string_to_mm(cycle_depth_matcher_->group_view(1)));
  }
  return true;
}

bool kptResultsFileParser::parse_for_results_file(const utString& line) const {
  if (keyword_tests_ && !holds(line, "RESULTSFILE")) return false;
  if (results_file_matcher_->match(line, 0) != kOneValue) return false;
  // The lazy group stops before trailing blanks and asterisks; it may be empty.
  if (callback()) callback()->on_results_file(results_file_matcher_->get_substring(1));
  return true;
}
