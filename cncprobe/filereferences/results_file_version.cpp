// kptResultsFileVersion: equality and the order in which hosts compare layout versions.
#include "cncprobe/filereferences/results_file_version.h"

bool kptResultsFileVersion::operator==(const kptResultsFileVersion& other) const noexcept {
  return major_number_ == other.major_number_ && minor_number_ == other.minor_number_ &&
         build_number_ == other.build_number_;
}

bool kptResultsFileVersion::operator<(const kptResultsFileVersion& other) const noexcept {
  if (major_number_ != other.major_number_) return major_number_ < other.major_number_;
  if (minor_number_ != other.minor_number_) return minor_number_ < other.minor_number_;
  return build_number_ < other.build_number_;
}
