// kptResultNames: the names front ends print for a result's kind and a probed axis, so the tool's
// JSON, the HTML report and the Python package spell them alike.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/model/probe_wcs_axis.h"
#include "cncprobe/platform/model/toolpath_result.h"

class CNCPROBE_API kptResultNames {
 public:
  // "probe_path", "circle", "rectangle", "corner", "surface", "angle", "perpendicular_distance"
  // (a wall or channel); "unknown" for any other value. Never null.
  static const char* kind(mtrResultKind kind) noexcept;
  // "x", "y" or "z"; null for any other value.
  static const char* axis(mtrProbeWCSAxis axis) noexcept;
};
