// Names of verdicts and true-position conventions, as the tool's JSON and the report print them.
#include "cncprobe/inspection/verdict.h"

const char* kpt_verdict_name(kptVerdict verdict) noexcept {
  switch (verdict) {
    case kptVerdictNotToleranced:
      return "not_toleranced";
    case kptVerdictIn:
      return "in";
    case kptVerdictOut:
      return "out";
    case kptVerdictUnmeasured:
      return "unmeasured";
  }
  return "unknown";
}

const char* kpt_zone_convention_name(kptZoneConvention convention) noexcept {
  switch (convention) {
    case kptZoneDiametral:
      return "diametral";
    case kptZoneRadial:
      return "radial";
  }
  return "unknown";
}
