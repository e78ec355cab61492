// mtrInspectionPrintData: the identity of a feature as a probing macro prints it in its header.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API mtrInspectionPrintData {
 public:
  // Which of the header forms the identity came from.
  enum Form : int {
    kInvalid = 0,           // no identity
    kComponentFeature = 1,  // COMPONENT NO and FEATURE NO
    kFeatureName = 2,       // FEATURE NO and FEATURE NAME
  };

  // An invalid value: invalid() is true, both numbers 0, no name.
  mtrInspectionPrintData() = default;
  // Component number, then feature number.
  mtrInspectionPrintData(unsigned int component_number, unsigned int feature_number)
      : form_(kComponentFeature),
        component_number_(component_number),
        feature_number_(feature_number) {}
  // Feature number, then feature name (kept as given, even empty or invalid).
  mtrInspectionPrintData(unsigned int feature_number, const utString& feature_name)
      : form_(kFeatureName), feature_number_(feature_number), feature_name_(feature_name) {}

  // True for the same form with equal numbers and, for the named form, equal names. Two
  // invalid values are equal: neither names a feature.
  bool operator==(const mtrInspectionPrintData& other) const noexcept;
  bool operator!=(const mtrInspectionPrintData& other) const noexcept { return !(*this == other); }

  // True when the value names no feature (default-constructed or forgotten).
  bool invalid() const noexcept { return form_ == kInvalid; }
  // Forgets the identity: invalid, numbers 0, no name.
  void set_invalid() noexcept { *this = mtrInspectionPrintData(); }

  // Which form the report's header had.
  Form form() const noexcept { return form_; }
  // The component number; 0 for the named form and when invalid.
  unsigned int component_number() const noexcept { return component_number_; }
  // The feature number; 0 when invalid.
  unsigned int feature_number() const noexcept { return feature_number_; }
  // The feature name of the named form; an invalid string for the other forms.
  const utString& feature_name() const noexcept { return feature_name_; }

 private:
  Form form_ = kInvalid;
  unsigned int component_number_ = 0;
  unsigned int feature_number_ = 0;
  utString feature_name_;
};
