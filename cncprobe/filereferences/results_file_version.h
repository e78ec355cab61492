// kptResultsFileVersion: the layout version (major.minor.build) a results file declares.
//
//   kptResultsFileVersion v = extractor.results_file_version();
//   if (v.unversioned()) { /* a file from before versioned layouts, or no readable version */ }
//   else if (v < kptResultsFileVersion(2, 1, 0)) { /* an older layout */ }
#pragma once

#include "cncprobe/export.h"

class CNCPROBE_API kptResultsFileVersion {
 public:
  // 0.0.0, the unversioned value.
  kptResultsFileVersion() noexcept = default;
  // Stores the three numbers as given; a major number of 0 makes the version unversioned.
  kptResultsFileVersion(unsigned int major_number, unsigned int minor_number,
                        unsigned int build_number) noexcept
      : major_number_(major_number), minor_number_(minor_number), build_number_(build_number) {}

  // The first number of the version; 0 when unversioned.
  unsigned int major_number() const noexcept { return major_number_; }
  // The second number of the version.
  unsigned int minor_number() const noexcept { return minor_number_; }
  // The third number of the version.
  unsigned int build_number() const noexcept { return build_number_; }

  // True when the major number is 0, whatever the minor and build numbers are.
  bool unversioned() const noexcept { return major_number_ == 0; }

  // Equal when all three numbers are equal (so 0.5.7 differs from 0.0.0, though both are
  // unversioned).
  bool operator==(const kptResultsFileVersion& other) const noexcept;
  bool operator!=(const kptResultsFileVersion& other) const noexcept { return !(*this == other); }
  // Orders by major, then minor, then build number, each compared as a number: 1.2.3 < 1.10.0.
  bool operator<(const kptResultsFileVersion& other) const noexcept;

 private:
  unsigned int major_number_ = 0;
  unsigned int minor_number_ = 0;
  unsigned int build_number_ = 0;
};
