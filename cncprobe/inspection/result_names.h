// kptResultNames: the names front ends print for a result's kind and a probed axis, so the tool's
// JSON, the HTML report and the Python package spell them alike.
#pragma once

#include <string>

#include "cncprobe/export.h"
#include "cncprobe/platform/model/inspection_print_data.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"
#include "cncprobe/platform/model/toolpath_result.h"

class CNCPROBE_API kptResultNames {
 public:
  // "probe_path", "circle", "rectangle", "corner", "surface", "angle", "perpendicular_distance"
  // (a wall or channel); "unknown" for any other value. Never null.
  static const char* kind(mtrResultKind kind) noexcept;
  // "x", "y" or "z"; null for any other value.
  static const char* axis(mtrProbeWCSAxis axis) noexcept;
  // The kind as a person reads it: kind()'s name with the probing axis where there is one
  // ("surface X", "wall/channel Y", "circle").
  static std::string kind_text(const mtrToolpathResult& result);
  // "12" or "12 (3)": the tool path and its pattern instance.
  static std::string toolpath_text(const mtrToolpathResult& result);
  // "component 1 feature 4" or "feature 2 DOWEL HOLE" (the name's bytes as the file has them);
  // "-" for a result without identity. With kind_text and toolpath_text it names a feature alike
  // in the text output, the report and the trend series that match it across runs.
  static std::string identity_text(const mtrInspectionPrintData& data);
};
