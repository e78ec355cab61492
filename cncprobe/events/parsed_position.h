// kptParsedPosition: a printed position along one axis with its true-position tolerance, in mm.
#pragma once

#include <optional>

#include "cncprobe/events/unset_value.h"
#include "cncprobe/export.h"

// A measured position along one axis: nominal, actual and an optional true-position tolerance.
class CNCPROBE_API kptParsedPosition {
 public:
  kptParsedPosition() noexcept = default;
  // A position printed with these nominal and actual values (mm), without tolerance.
  kptParsedPosition(double nominal, double actual) noexcept : nominal_(nominal), actual_(actual) {}

  // The printed nominal value, in mm; kptUnsetValue when not set.
  double nominal() const noexcept { return nominal_; }
  // The measured value, in mm; kptUnsetValue when not set.
  double actual() const noexcept { return actual_; }
  // The printed true-position tolerance; absent when none was printed.
  const std::optional<double>& true_position_tolerance() const noexcept { return tolerance_; }
  // Stores the printed true-position tolerance.
  void set_true_position_tolerance(double tolerance) noexcept { tolerance_ = tolerance; }
  // True when neither value was set.
  bool invalid() const noexcept { return nominal_ == kptUnsetValue && actual_ == kptUnsetValue; }
  // Back to the state of a default-constructed position.
  void reset() noexcept { *this = kptParsedPosition(); }

 private:
  double nominal_ = kptUnsetValue;
  double actual_ = kptUnsetValue;
  std::optional<double> tolerance_;
};
