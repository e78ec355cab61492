// kptControlLimitsFile: the control limits of a program's series, frozen from a baseline and
// kept as JSON, so later runs at the machine are judged against limits that never move.
//
// The file names the program it came from (its CL data and CAD file references, where the
// results files print them): limits of one program say nothing about another's parts.
//
//   kptControlLimitsFile saved;
//   if (const std::string problem = kptControlLimitsFile::parse(text, saved); !problem.empty())
//     refuse(problem);
//   if (!saved.program.same_as(program_of_new_run)) refuse(...);
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/inspection/control_chart.h"

// The program a run came from, by its header's references; absent when the header prints none.
struct CNCPROBE_API kptTrendProgram {
  // The CL data file the header references.
  std::optional<std::string> cldata_filename;
  // The CAD file the header references.
  std::optional<std::string> cad_filename;
  // True when both references are alike (both absent, or both present and equal).
  bool same_as(const kptTrendProgram& other) const;
  // "CL data a.cldata, CAD bracket.step"; "no references" when both are absent.
  std::string describe() const;
};

// The frozen limits of one series, as a limits file keeps them.
struct kptSavedSeries {
  // The series' key, as in kptTrendSeries::key.
  std::string key;
  // The item as a person reads it, for whoever opens the file.
  std::string item;
  // The quantity's name, as in kptTrendSeries::quantity.
  std::string quantity;
  // The limits saved for the series.
  kptControlLimits limits;
};

// Saved control limits of one program: written by `trend --save-limits`, read by `--limits`.
class CNCPROBE_API kptControlLimitsFile {
 public:
  // The layout version this library writes and reads.
  static constexpr int kVersion = 1;

  // The program the limits were computed for.
  kptTrendProgram program;
  std::size_t baseline_runs = 0;  // the runs the limits were computed from
  std::vector<std::string> runs;  // their files, in order

  // The saved limits, one entry per series.
  std::vector<kptSavedSeries> series;

  // The saved limits of the series with this key, or null.
  const kptControlLimits* find(std::string_view key) const;

  // The file's JSON text (UTF-8, ends with a newline).
  std::string to_json() const;
  // Reads a limits file's text into `file`; returns what is wrong with it (empty when read). A
  // file of a newer version, or one that is not a limits file, is refused.
  static std::string parse(std::string_view text, kptControlLimitsFile& file);
};
