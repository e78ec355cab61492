// Writes large synthetic results files for the benchmarks.
#include "bench/results_file_generator.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <vector>

namespace {

constexpr std::size_t kPointsPerPath = 40;
constexpr int kReportKinds = 9;

// Appends printf-formatted lines to a stream, counting them.
class LineWriter {
 public:
  LineWriter(std::ostream& out, GeneratedResultsFile& summary) : out_(out), summary_(summary) {}

  [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) {
    char buffer[256];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    out_.write(buffer, length);
    out_.put('\n');
    ++summary_.lines;
  }

  // The next block number of a machine record.
  unsigned long block() { return ++block_; }

 private:
  std::ostream& out_;
  GeneratedResultsFile& summary_;
  unsigned long block_ = 0;
};

// A report header: framed component and feature numbers for even feature numbers, an unframed
// named feature for odd ones; `named` false forces the component form (rectangle halves).
void header(LineWriter& w, unsigned component, unsigned feature, bool named = true) {
  if (named && feature % 2 != 0) {
    w.line("FEATURE NO %u FEATURE NAME BORE %u", feature, component);
  } else if (feature % 4 == 0) {
    w.line("--------------------------------");
    w.line("COMPONENT NO %u FEATURE NO %u", component, feature);
    w.line("--------------------------------");
  } else {
    w.line("COMPONENT NO %u FEATURE NO %u", component, feature);
  }
}

// One macro report of kind `kind`, with values that vary with `n`.
void report(LineWriter& w, int kind, unsigned n) {
  const double x = 10.0 + (n % 97);
  const double y = -20.0 + (n % 89);
  const double d = 8.0 + (n % 13);
  const double e = 0.001 * static_cast<double>(n % 7) - 0.003;
  const unsigned component = 1 + n % 5;
  switch (kind) {
    case 0:  // circle: framed header, tool offset, diameter, centre, out-of-position line
      header(w, component, 2 * n + 2);
      w.line("TOOL OFFSET H%u", 1 + n % 30);
      w.line("SIZE D %.3f ACTUAL %.3f TOL 0.050 DEV %.3f", d, d + e, e);
      w.line("POSN X %.3f ACTUAL %.3f TOL TP 0.100 DEV %.3f", x, x + e, e);
      w.line("POSN Y %.3f ACTUAL %.3f TOL TP 0.100 DEV %.3f", y, y - e, -e);
      w.line("++OUT OF POS++ ERROR TP %.3f RADIAL", 2 * std::fabs(e));
      break;
    case 1:  // rectangle: an X wall or channel and the Y one of the next feature number
      header(w, component, 2 * n + 2, false);
      w.line("SIZE D %.3f ACTUAL %.3f TOL 0.050 DEV %.3f", 4 * d, 4 * d + e, e);
      w.line("POSN X %.3f ACTUAL %.3f TOL TP 0.080 DEV %.3f", x, x + e, e);
      w.line("POSN Y %.3f ACTUAL NaN TOL TP 0.080 DEV NaN", y);
      header(w, component, 2 * n + 3, false);
      w.line("SIZE D %.3f ACTUAL %.3f TOL 0.050 DEV %.3f", 2 * d, 2 * d - e, -e);
      w.line("POSN X %.3f ACTUAL NaN TOL TP 0.080 DEV NaN", x);
      w.line("POSN Y %.3f ACTUAL %.3f TOL TP 0.080 DEV %.3f", y, y + e, e);
      break;
    case 2:  // X wall or channel, oversize
      header(w, component, 2 * n + 2);
      w.line("SIZE D %.3f ACTUAL %.3f TOL 0.010 DEV %.3f", d, d + 0.02, 0.02);
      w.line("++OUT OF TOL++ ERROR 0.010");
      w.line("POSN X %.3f ACTUAL %.3f DEV %.3f", x, x + e, e);
      w.line("POSN Y %.3f ACTUAL NaN DEV NaN", y);
      break;
    case 3:  // Y wall or channel, probed at an X printed with zero actual
      header(w, component, 2 * n + 3);
      w.line("SIZE D %.3f ACTUAL %.3f DEV %.3f", d, d + e, e);
      w.line("POSN X %.3f ACTUAL 0 DEV 0", x);
      w.line("POSN Y %.3f ACTUAL %.3f DEV %.3f", y, y + e, e);
      break;
    case 4:  // corner
      header(w, component, 2 * n + 2);
      w.line("POSN X %.3f ACTUAL %.3f TOL TP 0.050 DEV %.3f", x, x + e, e);
      w.line("POSN Y %.3f ACTUAL %.3f TOL TP 0.050 DEV %.3f", y, y - e, -e);
      break;
    case 5:  // X surface from a size line
      header(w, component, 2 * n + 2);
      w.line("SIZE X %.3f ACTUAL %.3f TOL 0.020 DEV %.3f", x, x + e, e);
      break;
    case 6:  // Y surface from a position line
      header(w, component, 2 * n + 3);
      w.line("POSN Y %.3f ACTUAL %.3f DEV %.3f", y, y + e, e);
      break;
    case 7:  // Z surface
      header(w, component, 2 * n + 2);
      w.line("POSN Z %.3f ACTUAL %.3f DEV %.3f", -d, -d + e, e);
      break;
    default:  // angle, out of tolerance
      header(w, component, 2 * n + 3);
      w.line("ANG %.3f ACTUAL %.3f TOL 0.050 DEV 0.100", 30.0 + n % 45, 30.1 + n % 45);
      w.line("++ANG OUT OF TOL++ ERROR 0.050");
      break;
  }
}

}  // namespace

void write_results_file(std::ostream& out, std::size_t points, GeneratedResultsFile& summary) {
  summary.points = points;
  summary.lines = summary.probe_paths = summary.features = 0;
  LineWriter w(out, summary);

  w.line("*** RESULTSFILEVERSION 2.0.11 ***");
  w.line("*** SETTINGSFILENAME bench_settings.xml ***");
  w.line("*** CADFILENAME C:\\jobs\\bench\\casting_op30.model ***");
  w.line("*** CLDATAFILENAME C:\\jobs\\bench\\casting_op30_probe.cl ***");
  w.line("*** DOCUMENTID BENCH-%lu ***", static_cast<unsigned long>(points));
  w.line("*** DOCUMENTVERSION 4 ***");
  w.line("RESULTSFILE BENCH_%lu.TXT", static_cast<unsigned long>(points));
  w.line("( CASTING OP30 - SYNTHETIC RUN OF %lu POINTS )", static_cast<unsigned long>(points));
  w.line("START 'CASTING OP30'");

  unsigned toolpath = 0;
  unsigned reports = 0;
  std::size_t written = 0;
  while (written < points) {
    // A probe path: a pattern instance of a toolpath, under its own workplanes.
    ++toolpath;
    const unsigned instance = toolpath % 4;  // 0: a toolpath without pattern instance
    if (instance == 0) {
      w.line("TOOLPATHID %u", toolpath);
    } else {
      w.line("TOOLPATHID %u.00%02u", toolpath, instance);
    }
    w.line("( PROBE PATH %u )", toolpath);
    w.line("G331 N%lu A0 B0 C%d X%.3f Y0 Z0", w.block(), static_cast<int>(toolpath % 4) * 90,
           100.0 * (toolpath % 3));
    w.line("G330 N%lu A%d B0 C%.1f X%.3f Y%.3f Z%.3f I0 R0", w.block(), toolpath % 5 == 0 ? 90 : 0,
           7.5 * (toolpath % 12), 50.0 + toolpath % 40, 25.0 - toolpath % 30, 5.0 * (toolpath % 3));
    if (toolpath % 2 == 0) w.line("CYCLEDEPTH -%.3f", 2.0 + toolpath % 6);
    const std::size_t path_points = std::min(kPointsPerPath, points - written);
    for (std::size_t p = 0; p < path_points; ++p, ++written) {
      const double angle = 0.157 * static_cast<double>(p);
      const double i = std::cos(angle);
      const double j = std::sin(angle);
      const double x = 40.0 * i + static_cast<double>(written % 1000) * 0.01;
      const double y = 40.0 * j - 12.5;
      const double z = -3.0 - static_cast<double>(p % 5);
      const double dev = 0.001 * static_cast<double>(static_cast<long>(written % 21) - 10);
      w.line("G800 N%lu X%.3f Y%.3f Z%.3f I%.4f J%.4f K0.0000 O0.000 U0.100 L-0.100", w.block(), x,
             y, z, i, j);
      w.line("G801 N%lu X%.3f Y%.3f Z%.3f R2.500", w.block(), x + dev * i, y + dev * j, z);
    }
    ++summary.probe_paths;

    // A feature report in a toolpath of its own: a feature may not follow the points of its
    // own toolpath instance.
    ++toolpath;
    w.line("TOOLPATHID %u", toolpath);
    w.line("G330 N%lu A0 B0 C%d X%.3f Y%.3f Z0 I0 R0", w.block(),
           static_cast<int>(toolpath % 4) * 90, 10.0 * (toolpath % 7), -5.0 * (toolpath % 3));
    if (toolpath % 3 == 0) w.line("CYCLEDEPTH -%.3f", 1.0 + toolpath % 4);
    report(w, static_cast<int>(reports % kReportKinds), reports);
    ++reports;
    ++summary.features;
  }
  w.line("END");
}

bool write_results_file(const std::string& path, std::size_t points,
                        GeneratedResultsFile& summary) {
  std::vector<char> buffer(1 << 20);
  std::ofstream out;
  out.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
  out.open(path, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  write_results_file(out, points, summary);
  summary.path = path;
  summary.bytes = static_cast<std::size_t>(out.tellp());
  out.close();
  return static_cast<bool>(out);
}
