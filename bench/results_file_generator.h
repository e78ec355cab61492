// Writes large synthetic results files for the benchmarks: a realistic run of probe paths and
// macro reports of every kind, sized by its number of probed points.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

// What a generated file holds, so a benchmark can check that the extraction read all of it.
struct GeneratedResultsFile {
  std::string path;
  std::size_t points = 0;       // G800/G801 pairs
  std::size_t lines = 0;        // non-empty lines
  std::size_t bytes = 0;        // file size
  std::size_t probe_paths = 0;  // results of kind probe path
  std::size_t features = 0;     // results of every other kind
};

// Writes a run of `points` probed points: the header reference lines (all but MODELVERSION, so a
// reference scan reads to the end), START, then toolpaths of up to 40 points each under turned
// output and CAD workplanes, each followed by a toolpath with one macro report (circle,
// rectangle, X and Y wall or channel, corner, X, Y and Z surface, angle, in turn), and END.
// Every point and report is one the extractor accepts, so the extraction status is success.
void write_results_file(std::ostream& out, std::size_t points, GeneratedResultsFile& summary);

// The same into the file at `path`; summary.bytes is the size written. False when the file
// cannot be written.
bool write_results_file(const std::string& path, std::size_t points, GeneratedResultsFile& summary);
