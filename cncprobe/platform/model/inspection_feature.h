// mtrInspectionFeature: the base of every measured feature: a result with its report's identity.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/model/inspection_print_data.h"
#include "cncprobe/platform/model/toolpath_result.h"

class CNCPROBE_API mtrInspectionFeature : public mtrToolpathResult {
 public:
  ~mtrInspectionFeature() override = default;

  // The print data given at construction.
  const mtrInspectionPrintData& print_data() const noexcept { return print_data_; }

 protected:
  // A feature of toolpath `id` identified by `print_data`.
  mtrInspectionFeature(unsigned int id, const mtrInspectionPrintData& print_data)
      : mtrToolpathResult(id), print_data_(print_data) {}

 private:
  mtrInspectionPrintData print_data_;
};
