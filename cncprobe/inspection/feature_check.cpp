// kptFeatureChecks: the quantities of each feature kind and their verdicts.
#include "cncprobe/inspection/feature_check.h"

#include <cmath>

#include "cncprobe/inspection/internal/limits.h"
#include "cncprobe/platform/model/angle_surface_feature.h"
#include "cncprobe/platform/model/circle_feature.h"
#include "cncprobe/platform/model/corner_feature.h"
#include "cncprobe/platform/model/perpendicular_distance_feature.h"
#include "cncprobe/platform/model/rectangle_feature.h"
#include "cncprobe/platform/model/surface_feature.h"

using namespace inspection_internal;

namespace {

// Judges the check's deviation against its limits under `convention`.
kptFeatureCheck judged(kptFeatureCheck check, kptZoneConvention convention) {
  const kptCheckLimits limits = kptFeatureChecks::limits(check, convention);
  if (!limits.upper) {
    check.verdict = kptVerdictNotToleranced;
    return check;
  }
  const double deviation = check.deviation;
  const bool above_lower = !limits.lower || deviation >= *limits.lower - kLimitSlack;
  const bool in = above_lower && within(deviation, *limits.upper);
  check.verdict = in ? kptVerdictIn : kptVerdictOut;
  check.tolerance_used =
      judged_share(deviation >= 0.0 || !limits.lower ? share(deviation, *limits.upper)
                                                     : share(deviation, *limits.lower),
                   in);
  // A diametral zone is held against twice the offset, the way a drawing reads it.
  const bool diametral = check.true_position && convention == kptZoneDiametral;
  check.compared = diametral ? 2.0 * deviation : deviation;
  check.compared_limit = check.tolerance;
  return check;
}

// A size, position or angle with a plain bilateral tolerance.
kptFeatureCheck plain(kptQuantity quantity, double nominal, double actual,
                      const std::optional<double>& tolerance) {
  const double deviation = actual - nominal;
  return judged({quantity, nominal, actual, deviation, tolerance, false, kptVerdictNotToleranced,
                 std::nullopt, std::nullopt, std::nullopt},
                kptZoneDiametral);  // a plain tolerance reads the same under either convention
}

// The radial offset of an actual point from its nominal, under a true-position tolerance.
kptFeatureCheck offset(kptQuantity quantity, const giPoint3& nominal, const giPoint3& actual,
                       const std::optional<double>& tolerance, kptZoneConvention convention) {
  const double deviation = distance(actual, nominal);
  return judged({quantity, std::nullopt, std::nullopt, deviation, tolerance, true,
                 kptVerdictNotToleranced, std::nullopt, std::nullopt, std::nullopt},
                convention);
}

// A middle: the signed position along `direction` of each point, under a true-position
// tolerance whose offset is along that axis.
kptFeatureCheck middle(const giPoint3& nominal, const giPoint3& actual, const giUnitVec3& direction,
                       const std::optional<double>& tolerance, kptZoneConvention convention) {
  const double nominal_position = dot(nominal, direction);
  const double actual_position = dot(actual, direction);
  const double deviation = actual_position - nominal_position;
  return judged({kptQuantityMiddle, nominal_position, actual_position, deviation, tolerance, true,
                 kptVerdictNotToleranced, std::nullopt, std::nullopt, std::nullopt},
                convention);
}

}  // namespace

const char* kpt_quantity_name(kptQuantity quantity) noexcept {
  switch (quantity) {
    case kptQuantityDiameter:
      return "diameter";
    case kptQuantityLength:
      return "length";
    case kptQuantityWidth:
      return "width";
    case kptQuantityCentreOffset:
      return "centre_offset";
    case kptQuantityCornerOffset:
      return "corner_offset";
    case kptQuantityPosition:
      return "position";
    case kptQuantityMiddle:
      return "middle";
    case kptQuantityAngle:
      return "angle";
  }
  return "unknown";
}

const char* kpt_quantity_label(kptQuantity quantity) noexcept {
  switch (quantity) {
    case kptQuantityCentreOffset:
      return "centre offset";
    case kptQuantityCornerOffset:
      return "corner offset";
    case kptQuantityAngle:
      return "angle (deg)";
    default:
      return kpt_quantity_name(quantity);
  }
}

kptCheckLimits kptFeatureChecks::limits(const kptFeatureCheck& check,
                                        kptZoneConvention convention) {
  if (!check.tolerance) return {};
  const double tolerance = *check.tolerance;
  if (!check.true_position) return {-tolerance, tolerance};
  // A diametral zone is centred on the nominal position: the offset may reach half its width.
  const double allowed = convention == kptZoneRadial ? tolerance : tolerance / 2.0;
  if (check.quantity == kptQuantityMiddle) return {-allowed, allowed};
  return {std::nullopt, allowed};
}

std::vector<kptFeatureCheck> kptFeatureChecks::of(const mtrToolpathResult& result,
                                                  kptZoneConvention convention) {
  switch (result.kind()) {
    case mtrResultProbePath:
      return {};
    case mtrResultCircle: {
      const auto& f = static_cast<const mtrCircleFeature&>(result);
      return {plain(kptQuantityDiameter, 2.0 * f.nominal().radius().value(),
                    2.0 * f.actual().radius().value(), f.diameter_tolerance()),
              offset(kptQuantityCentreOffset, f.nominal().centre(), f.actual().centre(),
                     f.true_position_tolerance(), convention)};
    }
    case mtrResultRectangle: {
      const auto& f = static_cast<const mtrRectangleFeature&>(result);
      return {plain(kptQuantityLength, f.nominal().length().value(), f.actual().length().value(),
                    f.length_tolerance()),
              plain(kptQuantityWidth, f.nominal().width().value(), f.actual().width().value(),
                    f.width_tolerance()),
              offset(kptQuantityCentreOffset, f.nominal().centre(), f.actual().centre(),
                     f.position_tolerance(), convention)};
    }
    case mtrResultCorner: {
      const auto& f = static_cast<const mtrCornerFeature&>(result);
      return {offset(kptQuantityCornerOffset, f.nominal().point(), f.actual().point(),
                     f.true_position_tolerance(), convention)};
    }
    case mtrResultSurface: {
      // Both planes' points measured along the nominal normal: the surface's position from the
      // CAD origin.
      const auto& f = static_cast<const mtrSurfaceFeature&>(result);
      const giUnitVec3& normal = f.nominal().normal();
      return {plain(kptQuantityPosition, dot(f.nominal().point(), normal),
                    dot(f.actual().point(), normal), f.position_tolerance())};
    }
    case mtrResultAngleSurface: {
      const auto& f = static_cast<const mtrAngleSurfaceFeature&>(result);
      std::optional<double> tolerance;
      if (f.angular_tolerance()) tolerance = f.angular_tolerance()->degrees();
      return {plain(kptQuantityAngle, f.nominal().degrees(), f.actual().degrees(), tolerance)};
    }
    case mtrResultPerpendicularDistance: {
      const auto& f = static_cast<const mtrPerpendicularDistanceFeature&>(result);
      return {plain(kptQuantityWidth, f.nominal().distance().value(), f.actual().distance().value(),
                    f.distance_tolerance()),
              middle(f.nominal().point(), f.actual().point(), f.nominal().direction(),
                     f.position_tolerance(), convention)};
    }
  }
  return {};
}
