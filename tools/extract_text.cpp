// cncprobe extract --format text: the run at a glance for a person at the machine, with every
// out-of-tolerance row marked OUT.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/inspection/feature_check.h"
#include "cncprobe/inspection/point_check.h"
#include "cncprobe/inspection/result_names.h"
#include "cncprobe/inspection/status_text.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/inspection_feature.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/probe_path.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"
#include "tools/commands.h"
#include "tools/extract_view.h"
#include "tools/text_table.h"

namespace tool {

namespace {

// Numbers as the inspection settings ask: lengths with the linear digits, angles with the
// angular digits, shares of a tolerance with the unitless digits.
class Numbers {
 public:
  explicit Numbers(const Precision& precision) : precision_(precision) {}

  std::string length(double value) const { return format_fixed(value, precision_.linear); }
  std::string signed_length(double value) const {
    return format_fixed(value, precision_.linear, true);
  }
  std::string length_or_dash(const std::optional<double>& value) const {
    return value ? length(*value) : std::string("-");
  }
  // A quantity's value: an angle in degrees, every other quantity a length.
  std::string value(kptQuantity quantity, double value, bool plus_sign = false) const {
    return format_fixed(value, digits(quantity), plus_sign);
  }
  std::string value_or_dash(kptQuantity quantity, const std::optional<double>& value) const {
    return value ? this->value(quantity, *value) : std::string("-");
  }
  std::string share(double value) const { return format_fixed(value, precision_.unitless); }
  // The deviation, and under a diametral true-position zone the value held against the zone
  // beside it: "0.065 (as diameter 0.131)", so an offset (a radius) is never read against a
  // diameter. A middle's zone is a width.
  std::string compared(const kptFeatureCheck& check, bool plus_sign = false) const {
    std::string text = value(check.quantity, check.deviation, plus_sign);
    if (!check.compared || *check.compared == check.deviation) return text;
    return text + (check.quantity == kptQuantityMiddle ? " (as width " : " (as diameter ") +
           value(check.quantity, *check.compared, plus_sign) + ")";
  }

 private:
  int digits(kptQuantity quantity) const {
    return quantity == kptQuantityAngle ? precision_.angular : precision_.linear;
  }
  Precision precision_;
};

// The verdict column: OUT stands out from the rows that pass.
const char* verdict_text(kptVerdict verdict) {
  switch (verdict) {
    case kptVerdictIn:
      return "in";
    case kptVerdictOut:
      return "OUT";
    case kptVerdictUnmeasured:
      return "unmeasured";
    case kptVerdictNotToleranced:
      break;
  }
  return "-";
}

const char* convention_text(kptZoneConvention convention) {
  return convention == kptZoneRadial
             ? "radial: TOL TP is a radius, offset <= tolerance (--true-position radial)"
             : "diametral: TOL TP is a zone of that diameter, 2 x offset <= tolerance";
}

std::string print_data_text(const mtrInspectionPrintData& data) {
  return printable_text(kptResultNames::identity_text(data));
}

// Rows of the features table for one result; none for a probe path.
std::vector<TextTable::Row> feature_rows(std::size_t number, const mtrToolpathResult& result,
                                         const ExtractView& view, const Numbers& numbers) {
  std::vector<TextTable::Row> rows;
  if (result.kind() == mtrResultProbePath) return rows;
  const auto& feature = static_cast<const mtrInspectionFeature&>(result);
  const std::vector<kptFeatureCheck> checks = kptFeatureChecks::of(result, view.convention);
  for (std::size_t i = 0; i < checks.size(); ++i) {
    const kptFeatureCheck& check = checks[i];
    TextTable::Row row;
    if (i == 0) {
      row = {std::to_string(number), kptResultNames::kind_text(result),
             kptResultNames::toolpath_text(result), print_data_text(feature.print_data())};
    } else {
      row = {"", "", "", ""};
    }
    row.push_back(kpt_quantity_label(check.quantity));
    row.push_back(numbers.value_or_dash(check.quantity, check.nominal));
    row.push_back(numbers.value_or_dash(check.quantity, check.actual));
    // An offset is a distance, never negative: it gets no sign.
    const bool offset = !check.nominal;
    row.push_back(numbers.compared(check, !offset));
    std::string tolerance = numbers.value_or_dash(check.quantity, check.tolerance);
    if (check.tolerance && check.true_position) tolerance = "TP " + tolerance;
    row.push_back(tolerance);
    row.push_back(verdict_text(check.verdict));
    rows.push_back(std::move(row));
  }
  return rows;
}

TextTable::Row path_row(std::size_t number, const mtrProbePath& path, const kptPathSummary& summary,
                        const Numbers& numbers) {
  return {std::to_string(number),
          kptResultNames::toolpath_text(path),
          std::to_string(summary.points),
          std::to_string(summary.measured),
          std::to_string(summary.outside),
          summary.worst_deviation ? numbers.signed_length(*summary.worst_deviation) : "-",
          summary.outside > 0 ? "OUT" : (summary.within > 0 ? "in" : "-")};
}

// The cells of one row of the inspection points table, formatted into buffers of their own and
// made afresh for each row: the table of a million points is measured and printed a row at a
// time without an allocation per row.
class PointCells {
 public:
  explicit PointCells(const Precision& precision) : digits_(precision.linear) {}

  TextTable::Cells of(std::size_t number, const mtrInspectionPoint& point) {
    const giPoint3& p = point.nominal_point();
    const kptPointCheck check = kptPointChecks::of(point);
    cells_[0] = view(number_, std::to_chars(number_, number_ + sizeof number_, number).ptr);
    label_ = point.label();
    cells_[1] = printable(label_.view());
    cells_[2] = view(x_, write_fixed(p.x(), digits_, false, x_));
    cells_[3] = view(y_, write_fixed(p.y(), digits_, false, y_));
    cells_[4] = view(z_, write_fixed(p.z(), digits_, false, z_));
    const double lower = point.o_value() + point.l_value();
    const double upper = point.o_value() + point.u_value();
    const int digits = check.verdict == kptVerdictOut && check.deviation
                           ? distinct_digits(*check.deviation, lower, upper)
                           : digits_;
    if (!point.has_measure()) {
      cells_[5] = "not measured";
    } else if (!check.deviation) {
      cells_[5] = "no direction";
    } else {
      cells_[5] = view(deviation_, write_fixed(*check.deviation, digits, true, deviation_));
    }
    char* end = write_fixed(lower, digits, true, limits_);
    end = std::copy_n(" .. ", 4, end);
    end = write_fixed(upper, digits, true, end);
    cells_[6] = view(limits_, end);
    cells_[7] = verdict_text(check.verdict);
    return cells_;
  }

 private:
  // The digits at which a rejected deviation reads differently from both limits: the table's
  // own, or more for a point out by less than they show. The slack a limit allows is 1e-9, so a
  // point out always differs by the tenth decimal.
  int distinct_digits(double deviation, double lower, double upper) const {
    constexpr int kMostDigits = 10;
    // Values more than a unit of the last decimal apart never print alike: the common case.
    const double unit = std::pow(10.0, -digits_);
    if (std::fabs(deviation - lower) > unit && std::fabs(deviation - upper) > unit) return digits_;
    int digits = digits_;
    char shown[kNumberBufferSize];
    char limit_shown[kNumberBufferSize];
    const auto same = [&](double limit) {
      return view(shown, write_fixed(deviation, digits, true, shown)) ==
             view(limit_shown, write_fixed(limit, digits, true, limit_shown));
    };
    while (digits < kMostDigits && (same(lower) || same(upper))) ++digits;
    return digits;
  }
  static std::string_view view(const char* first, const char* end) {
    return std::string_view(first, static_cast<std::size_t>(end - first));
  }
  // The label as printable_text makes it; a label of printable ASCII, as nearly all are, is
  // already that.
  std::string_view printable(std::string_view label) {
    const bool plain = std::all_of(label.begin(), label.end(), [](char c) {
      const auto u = static_cast<unsigned char>(c);
      return u >= 0x20 && u < 0x7F;
    });
    if (plain) return label;
    printable_label_ = printable_text(label);
    return printable_label_;
  }

  int digits_;
  char number_[24];
  utString label_;
  std::string printable_label_;
  char x_[kNumberBufferSize];
  char y_[kNumberBufferSize];
  char z_[kNumberBufferSize];
  char deviation_[kNumberBufferSize];
  char limits_[2 * kNumberBufferSize + 4];
  std::array<std::string_view, 8> cells_;
};

// The verdict of the run, its counts and its worst check and point.
std::string verdict_lines(const ExtractView& view, const Numbers& numbers) {
  const kptInspectionSummary& s = view.summary;
  const std::size_t checks = s.checks_in + s.checks_out + s.checks_not_toleranced;
  const std::size_t points =
      s.points_within + s.points_outside + s.points_unmeasured + s.points_not_toleranced;
  std::string text = "Verdict:       ";
  text += s.passed() ? "PASS\n" : "FAIL\n";
  text += "Checks:        " + std::to_string(s.checks_out) + " of " + std::to_string(checks) +
          " out of tolerance (" + std::to_string(s.checks_in) + " in, " +
          std::to_string(s.checks_not_toleranced) + " not toleranced)\n";
  text += "Points:        " + std::to_string(s.points_outside) + " of " + std::to_string(points) +
          " outside their limits (" + std::to_string(s.points_within) + " within, " +
          std::to_string(s.points_unmeasured) + " unmeasured, " +
          std::to_string(s.points_not_toleranced) + " not toleranced)\n";
  text += "True position: " + std::string(convention_text(view.convention)) + "\n";
  if (s.worst_check) {
    const kptFeatureCheck& c = s.worst_check->check;
    text += "Worst check:   #" + std::to_string(s.worst_check->result_index + 1) + " " +
            kpt_quantity_label(c.quantity) + " " + numbers.compared(c) + " against " +
            (c.true_position ? "TP " : "") + numbers.value(c.quantity, *c.tolerance) + ": " +
            verdict_text(c.verdict) + ", " + numbers.share(*c.tolerance_used) +
            " of the tolerance used\n";
  }
  if (s.worst_point) {
    const kptPointCheck& c = s.worst_point->check;
    text += "Worst point:   #" + std::to_string(s.worst_point->result_index + 1) + " point " +
            std::to_string(s.worst_point->point_index + 1) + " deviation " +
            numbers.signed_length(*c.deviation) + ": " + verdict_text(c.verdict) + ", " +
            numbers.share(*c.limit_used) + " of its limit used\n";
  }
  return text;
}

// Fills the table in two passes over the rows that `rows(sink)` hands to its sink, then prints
// it; nothing is printed when there is no row.
template <class Rows>
void print_table(Output& out, TextTable table, Rows&& rows) {
  bool any = false;
  rows([&](const TextTable::Row& row) {
    table.measure(row);
    any = true;
  });
  if (!any) return;
  table.print_header(out);
  rows([&](const TextTable::Row& row) { table.print(out, row); });
}

void write_text(const ExtractView& view, Output& out) {
  const kptResultsDataExtractor& extractor = view.extractor;
  const kptResultsExtractionStatus status = view.status;
  const Numbers numbers(view.precision);
  std::size_t features = 0;
  std::size_t surfaces = 0;
  std::size_t points = 0;
  std::size_t measured = 0;
  // One walk over the results counts them for the heading, keeps each probe path's summary for
  // the probe paths table, and measures the inspection points table when it is asked for.
  std::vector<kptPathSummary> path_summaries;
  TextTable point_table({{"#", TextTable::kRight},
                         {"LABEL", TextTable::kLeft},
                         {"X", TextTable::kRight},
                         {"Y", TextTable::kRight},
                         {"Z", TextTable::kRight},
                         {"DEVIATION", TextTable::kRight},
                         {"LIMITS (O+L .. O+U)", TextTable::kRight},
                         {"VERDICT", TextTable::kLeft}});
  PointCells point_cells(view.precision);
  for_each_result(extractor, [&](std::size_t number, const mtrToolpathResult& result) {
    if (result.kind() != mtrResultProbePath) {
      ++features;
      if (result.kind() == mtrResultSurface) ++surfaces;
      return;
    }
    const auto& path = static_cast<const mtrProbePath&>(result);
    path_summaries.push_back(kptPointChecks::summary(path));
    points += path_summaries.back().points;
    measured += path_summaries.back().measured;
    if (view.points) {
      for_each_point(path, [&](const mtrInspectionPoint& point) {
        point_table.measure(point_cells.of(number, point));
      });
    }
  });
  const std::size_t paths = path_summaries.size();

  std::string head;
  head += "File:          " + printable_text(view.file) + " (read in " +
          (view.units == kptUnitsInches ? "inches" : "millimetres") + ")\n";
  head += "Status:        " + std::to_string(status) + " " + kptStatusText::name(status) + ": " +
          kptStatusText::meaning(status) + "\n";
  const utString results_file = extractor.resultsfile_name();
  head += "Results file:  " +
          (results_file.empty() ? std::string("-") : printable_text(results_file.view())) + "\n";
  head += "Results:       " + std::to_string(paths + features) + ": " + std::to_string(features) +
          (features == 1 ? " feature, " : " features, ") + std::to_string(paths) +
          (paths == 1 ? " probe path" : " probe paths") + " holding " + std::to_string(points) +
          (points == 1 ? " point" : " points") + " (" + std::to_string(measured) + " measured)\n";
  head += verdict_lines(view, numbers);
  head += "Lengths in millimetres, angles in degrees, positions in CAD coordinates.\n";
  out.write(head);

  if (features > 0) {
    out.write(std::string("\nFeatures (deviation = actual - nominal; TP: true position, ") +
              (view.convention == kptZoneRadial
                   ? "radial: the offset is held against the tolerance"
                   : "diametral: 2 x the offset, as diameter or width, is held against the zone") +
              ")\n");
    if (surfaces > 0) {
      out.write(
          "(a surface's position: the plane's distance from the CAD origin along its nominal "
          "normal,\n not the POSN the file printed in work coordinates, which differs in value and "
          "sign)\n");
    }
    print_table(
        out,
        TextTable({{"#", TextTable::kRight},
                   {"KIND", TextTable::kLeft},
                   {"TOOLPATH", TextTable::kLeft},
                   {"FEATURE", TextTable::kLeft},
                   {"QUANTITY", TextTable::kLeft},
                   {"NOMINAL", TextTable::kRight},
                   {"ACTUAL", TextTable::kRight},
                   {"DEVIATION", TextTable::kRight},
                   {"TOLERANCE", TextTable::kRight},
                   {"VERDICT", TextTable::kLeft}}),
        [&](auto&& sink) {
          for_each_result(extractor, [&](std::size_t number, const mtrToolpathResult& result) {
            for (const TextTable::Row& row : feature_rows(number, result, view, numbers)) sink(row);
          });
        });
  }

  if (paths > 0) {
    out.write("\nProbe paths (deviation along the probing direction, mm)\n");
    print_table(out,
                TextTable({{"#", TextTable::kRight},
                           {"TOOLPATH", TextTable::kLeft},
                           {"POINTS", TextTable::kRight},
                           {"MEASURED", TextTable::kRight},
                           {"OUTSIDE", TextTable::kRight},
                           {"LARGEST DEVIATION", TextTable::kRight},
                           {"VERDICT", TextTable::kLeft}}),
                [&](auto&& sink) {
                  std::size_t path = 0;
                  for_each_result(
                      extractor, [&](std::size_t number, const mtrToolpathResult& result) {
                        if (result.kind() == mtrResultProbePath) {
                          sink(path_row(number, static_cast<const mtrProbePath&>(result),
                                        path_summaries[path++], numbers));
                        }
                      });
                });
  }

  if (points > 0 && view.points) {
    out.write(
        "\nInspection points (nominal point, deviation d along the probing direction, mm; "
        "within its limits when O+L <= d <= O+U)\n");
    point_table.print_header(out);
    for_each_result(extractor, [&](std::size_t number, const mtrToolpathResult& result) {
      if (result.kind() != mtrResultProbePath) return;
      for_each_point(static_cast<const mtrProbePath&>(result),
                     [&](const mtrInspectionPoint& point) {
                       point_table.print(out, point_cells.of(number, point));
                     });
    });
  } else if (points > 0) {
    out.write("\n(cncprobe extract --points lists every inspection point)\n");
  }
}

}  // namespace

void write_extract_text(const ExtractView& view, Output& out) { write_text(view, out); }

}  // namespace tool
