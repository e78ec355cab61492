// kptResultNames: result kinds and probed axes by name.
#include "cncprobe/inspection/result_names.h"

#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

namespace {

std::string upper_axis(mtrProbeWCSAxis axis) {
  const char* name = kptResultNames::axis(axis);
  return name ? std::string(1, static_cast<char>(name[0] - 'a' + 'A')) : "?";
}

}  // namespace

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

std::string kptResultNames::kind_text(const mtrToolpathResult& result) {
  switch (result.kind()) {
    case mtrResultSurface:
      return "surface " + upper_axis(static_cast<const mtrSurfaceFeature&>(result).axis());
    case mtrResultPerpendicularDistance:
      return "wall/channel " +
             upper_axis(static_cast<const mtrPerpendicularDistanceFeature&>(result).axis());
    default:
      return kind(result.kind());
  }
}

std::string kptResultNames::toolpath_text(const mtrToolpathResult& result) {
  std::string text = std::to_string(result.id());
  if (result.pattern_instance()) text += " (" + std::to_string(*result.pattern_instance()) + ")";
  return text;
}

std::string kptResultNames::identity_text(const mtrInspectionPrintData& data) {
  switch (data.form()) {
    case mtrInspectionPrintData::kComponentFeature:
      return "component " + std::to_string(data.component_number()) + " feature " +
             std::to_string(data.feature_number());
    case mtrInspectionPrintData::kFeatureName:
      return "feature " + std::to_string(data.feature_number()) + " " +
             std::string(data.feature_name().view());
    case mtrInspectionPrintData::kInvalid:
      break;
  }
  return "-";
}
