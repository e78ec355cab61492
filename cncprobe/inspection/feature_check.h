// kptFeatureChecks: each toleranced quantity of a measured feature judged against its tolerance.
//
// A plain tolerance (TOL) is bilateral: a size, a surface position or an angle is in tolerance
// when |actual - nominal| <= tolerance. A true-position tolerance (TOL TP) on a circle or
// rectangle centre, a corner or a wall/channel middle is read by default as a zone of that
// diameter (width) centred on the nominal, so it passes when 2 x offset <= tolerance; read as a
// radial limit, it passes when offset <= tolerance.
//
//   for (const kptFeatureCheck& check : kptFeatureChecks::of(*result)) {
//     std::printf("%s %s\n", kpt_quantity_label(check.quantity), kpt_verdict_name(check.verdict));
//   }
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/inspection/verdict.h"
#include "cncprobe/platform/model/toolpath_result.h"

// The quantity of a feature a check is about. Lengths in mm, angles in degrees.
enum kptQuantity : std::int32_t {
  kptQuantityDiameter = 0,
  kptQuantityLength = 1,
  kptQuantityWidth = 2,
  // Circle and rectangle centre: the radial offset of the actual from the nominal centre.
  kptQuantityCentreOffset = 3,
  // The radial offset of the actual from the nominal corner point.
  kptQuantityCornerOffset = 4,
  // A surface's position along its nominal normal.
  kptQuantityPosition = 5,
  // A wall or channel middle's position along its direction (true position along the axis).
  kptQuantityMiddle = 6,
  kptQuantityAngle = 7,
};

// "diameter", "length", "width", "centre_offset", "corner_offset", "position", "middle",
// "angle"; "unknown" for any other value. Never null.
CNCPROBE_API const char* kpt_quantity_name(kptQuantity quantity) noexcept;
// "diameter", "length", "width", "centre offset", "corner offset", "position", "middle",
// "angle (deg)"; "unknown" for any other value. Never null.
CNCPROBE_API const char* kpt_quantity_label(kptQuantity quantity) noexcept;

// One checked quantity of a feature: its values, tolerance, verdict and the share used.
struct kptFeatureCheck {
  // Which quantity: diameter, length, width, centre or corner offset, position, middle, angle.
  kptQuantity quantity;
  // The nominal and actual value; absent for centre and corner offsets, which have only an
  // offset.
  std::optional<double> nominal;
  // The measured value; absent for centre and corner offsets.
  std::optional<double> actual;
  // actual - nominal (signed), or the radial offset (>= 0) for centre and corner offsets.
  double deviation;
  // The tolerance as printed; absent when the report printed none.
  std::optional<double> tolerance;
  // A true-position tolerance (TOL TP): centre offset, corner offset, middle.
  bool true_position;
  // kptVerdictNotToleranced when there is no tolerance, else in or out.
  kptVerdict verdict;
  // The share of the tolerance used: |deviation| / tol for a plain tolerance, 2 |offset| / tol
  // (diametral) or |offset| / tol (radial) for a true position; exactly 1 for a value judged in
  // at its limit, always above 1 for a value out; absent when not toleranced; +infinity for a
  // zero tolerance with a deviation.
  std::optional<double> tolerance_used;
  // The value actually held against `compared_limit`: 2 x deviation under a diametral
  // true-position zone (the zone is a diameter, the offset a radius), the deviation otherwise.
  // In tolerance when |compared| <= compared_limit. Absent when not toleranced.
  std::optional<double> compared;
  // The limit `compared` is held against: the tolerance as printed (the zone's diameter or
  // width, or the radial limit); absent when not toleranced.
  std::optional<double> compared_limit;
};

// The deviations at which a check's verdict turns from in to out; both absent when the check is
// not toleranced. A plain tolerance allows -tol to +tol; a true position allows the zone's half
// width (diametral) or the tolerance itself (radial): above a centre or corner offset, which is a
// distance and has no lower limit, and on both sides of a middle.
struct kptCheckLimits {
  // The lower limit of the deviation; absent when nothing limits it from below.
  std::optional<double> lower;
  // The upper limit of the deviation; absent when not toleranced.
  std::optional<double> upper;
};

class CNCPROBE_API kptFeatureChecks {
 public:
  // The limits of `check`'s deviation under `convention` (see kptCheckLimits).
  static kptCheckLimits limits(const kptFeatureCheck& check, kptZoneConvention convention);

  // The checks of one result in a fixed order: circle: diameter, centre offset; rectangle:
  // length, width, centre offset; corner: corner offset; surface: position; angle: angle;
  // wall/channel: width, middle. Empty for a probe path. A value within 1e-9 of its limit counts
  // as at the limit (the binary difference of the printed decimals may pass it by a rounding).
  static std::vector<kptFeatureCheck> of(const mtrToolpathResult& result,
                                         kptZoneConvention convention = kptZoneDiametral);
};
