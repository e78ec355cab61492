// Tests of the G330 and G331 workplane records: origin in millimetres, rotations X, then Y, then Z.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "cncprobe/resultsfile/recording_callback_test_util.h"
#include "cncprobe/resultsfile/results_file_parser.h"

namespace {
using Events = std::vector<std::string>;
using Matrix = std::array<std::array<double, 3>, 3>;

RecordingCallback parse_lines(kptUnitsType units, std::initializer_list<utString> lines) {
  RecordingCallback receiver;
  const kptResultsFileParser parser{kptUnits(units),
                                    utObserverPtr<kptResultsFileParserCallback>(&receiver)};
  kptResultsFileCursor cursor(lines);
  while (++cursor) (void)parser.parse_next_object(cursor);
  return receiver;
}

TEST(WorkplaneRecords, OriginAndAxes) {
  struct Case { kptUnitsType units; const char* line; Events events; };
  const Case cases[] = {
      {kptUnitsMillimetres, "G330 N1 A0 B0 C0 X0 Y0 Z0 I0 R0",
       {"workplane o(0 0 0) x(1 0 0) y(0 1 0) z(0 0 1)"}},
      {kptUnitsInches, "G331 N2 A0 B0 C0 X1 Y2 Z3",
       {"cad_workplane o(25.4 50.8 76.2) x(1 0 0) y(0 1 0) z(0 0 1)"}},
      {kptUnitsMillimetres, "G330 N1 A0 B0 C0 X0 Y0 Z0", {}},  // no I and R
      {kptUnitsMillimetres, "G331 N2 A0 B0 C0 X1 Y2 Z3 I0 R0",
       {"cad_workplane o(1 2 3) x(1 0 0) y(0 1 0) z(0 0 1)"}},
      {kptUnitsMillimetres, "G331 N2 B0 A0 C0 X1 Y2 Z3", {}},
      {kptUnitsMillimetres, "G330 N1 A90 B0 C0 X0 Y0 Z0 I0 R0",
       {"workplane o(0 0 0) x(1 0 0) y(0 0 1) z(0 -1 0)"}},
      {kptUnitsMillimetres, "G330 N1 A0 B90 C0 X0 Y0 Z0 I0 R0",
       {"workplane o(0 0 0) x(0 0 -1) y(0 1 0) z(1 0 0)"}},
      {kptUnitsMillimetres, "G330 N1 A0 B0 C90 X0 Y0 Z0 I0 R0",
       {"workplane o(0 0 0) x(0 1 0) y(-1 0 0) z(0 0 1)"}},
      // Angles are degrees in an inch file too; only the origin is converted.
      {kptUnitsInches, "G330 N1 A0 B0 C - 90 X1 Y0 Z0 I0 R0",
       {"workplane o(25.4 0 0) x(0 -1 0) y(1 0 0) z(0 0 1)"}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(parse_lines(c.units, {utString(c.line)}).events, c.events) << c.line;
  }
}

Matrix multiply(const Matrix& a, const Matrix& b) {
  Matrix m{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) m[i][j] += a[i][k] * b[k][j];
  return m;
}

// Right-handed rotation matrices about the world axes.
Matrix rotation(int axis, double degrees) {
  const double r = degrees * std::acos(-1.0) / 180.0, c = std::cos(r), s = std::sin(r);
  if (axis == 0) return {{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
  if (axis == 1) return {{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
  return {{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

// The largest difference between the workplane's axes and the columns of `m`.
double axes_distance(const giWorkplane3& w, const Matrix& m) {
  const giUnitVec3 axes[3] = {w.x_axis(), w.y_axis(), w.z_axis()};
  double worst = 0.0;
  for (int column = 0; column < 3; ++column) {
    const double got[3] = {axes[column].x(), axes[column].y(), axes[column].z()};
    for (int row = 0; row < 3; ++row) worst = std::max(worst, std::fabs(got[row] - m[row][column]));
  }
  return worst;
}

TEST(WorkplaneRecords, RotationsActAboutXThenYThenZ) {
  const RecordingCallback receiver =
      parse_lines(kptUnitsInches, {"G330 N7 A30 B-45 C60 X1 Y-2 Z0.5 I1 R0",
                                   "G331 N8 A30 B-45 C60 X1 Y-2 Z0.5"});
  ASSERT_EQ(receiver.workplanes.size(), 2u);
  const Matrix expected = multiply(rotation(2, 60), multiply(rotation(1, -45), rotation(0, 30)));
  const Matrix reversed = multiply(rotation(0, 30), multiply(rotation(1, -45), rotation(2, 60)));
  for (const giWorkplane3& w : receiver.workplanes) {
    EXPECT_LT(axes_distance(w, expected), 1e-12);
    EXPECT_GT(axes_distance(w, reversed), 0.1);
    EXPECT_NEAR(w.origin().x(), 25.4, 1e-12);
    EXPECT_NEAR(w.origin().y(), -50.8, 1e-12);
    EXPECT_NEAR(w.origin().z(), 12.7, 1e-12);
  }
}
}  // namespace
