// kptParsedPosition: a printed position along one axis with its true-position tolerance, in mm.
#pragma once

#include <optional>

#include "cncprobe/events/unset_value.h"
#include "cncprobe/export.h"

// A measured position along one axis: nominal, actual and an optional true-position tolerance.
class CNCPROBE_API kptParsedPosition {
 public:
  kptParsedPosition() noexcept = default;
  kptParsedPosition(double nominal, double actual) noexcept : nominal_(nominal), actual_(actual) {}

  double nominal() const noexcept { return nominal_; }
  double actual() const noexcept { return actual_; }
  const std::optional<double>& true_position_tolerance() const noexcept { return tolerance_; }
  void set_true_position_tolerance(double tolerance) noexcept { tolerance_ = tolerance; }
  bool invalid() const noexcept { return nominal_ == kptUnsetValue && actual_ == kptUnsetValue; }
  void reset() noexcept { *this = kptParsedPosition(); }

 private:
  double nominal_ = kptUnsetValue;
  double actual_ = kptUnsetValue;
  std::optional<double> tolerance_;
};
