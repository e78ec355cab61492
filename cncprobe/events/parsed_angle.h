// kptParsedAngle: a printed angle with its nominal, actual and optional tolerance, in degrees.
#pragma once

#include "cncprobe/events/unset_value.h"
#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/angle.h"
#include "cncprobe/platform/support/optional_arg.h"

// An angle line: nominal, actual and an optional angular tolerance, in degrees.
class CNCPROBE_API kptParsedAngle {
 public:
  // Both angles not set, no tolerance.
  kptParsedAngle() noexcept { mark_unset(); }
  kptParsedAngle(const giAngle& nominal, const giAngle& actual) noexcept
      : nominal_(nominal), actual_(actual) {}

  // The printed nominal angle.
  const giAngle& nominal() const noexcept { return nominal_; }
  // The measured angle.
  const giAngle& actual() const noexcept { return actual_; }
  // A copy of the optional tolerance; it converts to a null pointer when absent.
  utOptionalArg<giAngle> tolerance() const { return tolerance_; }
  // Stores the printed angular tolerance.
  void set_tolerance(const giAngle& tolerance) { tolerance_ = utOptionalArg<giAngle>(tolerance); }
  // True when neither angle was set.
  bool invalid() const noexcept {
    return nominal_.stored_value() == kptUnsetValue && actual_.stored_value() == kptUnsetValue;
  }
  // Back to the state of a default-constructed angle: both unset, no tolerance.
  void reset() noexcept {
    mark_unset();
    tolerance_ = utOptionalArg<giAngle>();
  }

 private:
  void mark_unset() noexcept {
    nominal_.stored_value() = kptUnsetValue;
    actual_.stored_value() = kptUnsetValue;
  }

  giAngle nominal_;
  giAngle actual_;
  utOptionalArg<giAngle> tolerance_;
};
