// kptVerdict: how a feature quantity or an inspection point compares with its tolerance, and
// kptZoneConvention: how a true-position tolerance is read.
#pragma once

#include <cstdint>

#include "cncprobe/export.h"

enum kptVerdict : std::int32_t {
  // No tolerance was printed (or a point cannot be judged): shown, never counted as a pass.
  kptVerdictNotToleranced = 0,
  // In tolerance, or an inspection point within its limits.
  kptVerdictIn = 1,
  // Out of tolerance, or an inspection point outside its limits.
  kptVerdictOut = 2,
  // An inspection point that was never measured.
  kptVerdictUnmeasured = 3,
};

// How a true-position tolerance (TOL TP) is read.
enum kptZoneConvention : std::int32_t {
  // A zone of that diameter (width, for a middle) centred on the nominal: it passes when twice
  // the offset is at most the tolerance. The default, as drawings mean position tolerances.
  kptZoneDiametral = 0,
  // A radial limit: it passes when the offset is at most the tolerance.
  kptZoneRadial = 1,
};

// "not_toleranced", "in", "out", "unmeasured"; "unknown" for any other value. Never null.
CNCPROBE_API const char* kpt_verdict_name(kptVerdict verdict) noexcept;
// "diametral", "radial"; "unknown" for any other value. Never null.
CNCPROBE_API const char* kpt_zone_convention_name(kptZoneConvention convention) noexcept;
