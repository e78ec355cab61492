// kptResultNames: result kinds and probed axes by name.
#include "cncprobe/inspection/result_names.h"

const char* kptResultNames::kind(mtrResultKind kind) noexcept {
  switch (kind) {
    case mtrResultProbePath:
      return "probe_path";
    case mtrResultCircle:
      return "circle";
    case mtrResultRectangle:
      return "rectangle";
    case mtrResultCorner:
      return "corner";
    case mtrResultSurface:
      return "surface";
    case mtrResultAngleSurface:
      return "angle";
    case mtrResultPerpendicularDistance:
      return "perpendicular_distance";
  }
  return "unknown";
}

const char* kptResultNames::axis(mtrProbeWCSAxis axis) noexcept {
  switch (axis) {
    case mtrProbeWCSAxisX:
      return "x";
    case mtrProbeWCSAxisY:
      return "y";
    case mtrProbeWCSAxisZ:
      return "z";
  }
  return nullptr;
}
