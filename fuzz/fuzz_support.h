// Helpers the fuzz targets share: an input held in memory, a scratch file for the entry point
// that reads only files, a receiver that counts parser events, and a check that stops the run
// when an invariant breaks.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "cncprobe/cncprobe.h"
#include "cncprobe/events/results_file_parser_callback.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/resultsfile/results_file_parser.h"

// Stops the run, so the fuzzer records the input, when an outcome breaks the library's contract.
inline void fuzz_check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz check failed: %s\n", what);
  std::abort();
}

// The fuzzer's bytes as an input already read, as a host holding a file in memory hands it over.
inline kptInputFile fuzz_input(const std::uint8_t* data, std::size_t size) {
  return kptInputFile::from_text(std::string(reinterpret_cast<const char*>(data), size));
}

// One file per process, rewritten with every input; removed when the process ends normally.
class ScratchFile {
 public:
  explicit ScratchFile(const char* suffix) {
    std::string name = (std::filesystem::temp_directory_path() / "cncprobe-fuzz-XXXXXX").string();
    name += suffix;
    const int fd = mkstemps(name.data(), static_cast<int>(std::char_traits<char>::length(suffix)));
    if (fd < 0) fuzz_check(false, "cannot create a scratch file");
    close(fd);
    path_ = name;
  }
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  // Replaces the file's contents with the input and returns its path.
  const std::string& write(const std::uint8_t* data, std::size_t size) {
    std::ofstream out(path_, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    fuzz_check(static_cast<bool>(out.flush()), "cannot write the scratch file");
    return path_;
  }

 private:
  std::string path_;
};

// The units an input is read in: inches for odd sizes, so both conversions get exercised
// without spending a byte of the input on the choice.
inline kptUnits fuzz_units(std::size_t size) {
  return kptUnits(size % 2 != 0 ? kptUnitsInches : kptUnitsMillimetres);
}

// Counts every event a parser fires.
class CountingCallback : public kptResultsFileParserCallback {
 public:
  unsigned long count() const noexcept { return count_; }

 private:
  void on_start() override { ++count_; }
  void on_end() override { ++count_; }
  void on_workplane(const giWorkplane3&) override { ++count_; }
  void on_cad_workplane(const giWorkplane3&) override { ++count_; }
  void on_nominal_point(const giPoint3&, const giVector3&, double, double, double) override {
    ++count_;
  }
  void on_measured_point(const giPoint3&, double) override { ++count_; }
  void on_toolpath_instance(unsigned int, std::optional<unsigned int>) override { ++count_; }
  void on_cycle_depth(double) override { ++count_; }
  void on_results_file(const utString&) override { ++count_; }
  void on_circle_measurement(const mtrInspectionPrintData&, const giCircle2&, const giCircle2&,
                             const std::optional<double>&, const std::optional<double>&) override {
    ++count_;
  }
  void on_rectangle_measurement(const mtrInspectionPrintData&, const kptParsedDimension&,
                                const kptParsedDimension&, const kptParsedPosition&,
                                const kptParsedPosition&) override {
    ++count_;
  }
  void on_x_wall_channel_measurement(const mtrInspectionPrintData&, const kptParsedDimension&,
                                     const kptParsedPosition&, double) override {
    ++count_;
  }
  void on_y_wall_channel_measurement(const mtrInspectionPrintData&, const kptParsedDimension&,
                                     double, const kptParsedPosition&) override {
    ++count_;
  }
  void on_surface_measurement(const mtrInspectionPrintData&, mtrProbeWCSAxis, const giPlane&,
                              const giPlane&, const std::optional<double>&) override {
    ++count_;
  }
  void on_corner_measurement(const mtrInspectionPrintData&, const giPoint2&, const giPoint2&,
                             const std::optional<double>&) override {
    ++count_;
  }
  void on_angle_measurement(const mtrInspectionPrintData&, const kptParsedAngle&) override {
    ++count_;
  }

  unsigned long count_ = 0;
};
