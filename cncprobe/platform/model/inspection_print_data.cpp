// mtrInspectionPrintData: comparison of feature identities.
#include "cncprobe/platform/model/inspection_print_data.h"

bool mtrInspectionPrintData::operator==(const mtrInspectionPrintData& other) const noexcept {
  if (form_ != other.form_) return false;
  switch (form_) {
    case kInvalid:
      return true;
    case kComponentFeature:
      return component_number_ == other.component_number_ &&
             feature_number_ == other.feature_number_;
    case kFeatureName:
      return feature_number_ == other.feature_number_ && feature_name_ == other.feature_name_;
  }
  return false;
}
