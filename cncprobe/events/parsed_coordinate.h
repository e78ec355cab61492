// kptParsedCoordinate: a printed coordinate that was not measured, in mm.
#pragma once

#include <optional>

#include "cncprobe/events/unset_value.h"
#include "cncprobe/export.h"

// A coordinate that was printed but not measured: nominal and an optional true-position tolerance.
class CNCPROBE_API kptParsedCoordinate {
 public:
  kptParsedCoordinate() noexcept = default;
  // A coordinate printed with this nominal value (mm), without tolerance.
  explicit kptParsedCoordinate(double nominal) noexcept : nominal_(nominal) {}

  // The printed nominal value, in mm; kptUnsetValue when not set.
  double nominal() const noexcept { return nominal_; }
  // The printed true-position tolerance; absent when none was printed.
  const std::optional<double>& true_position_tolerance() const noexcept { return tolerance_; }
  // Stores the printed true-position tolerance.
  void set_true_position_tolerance(double tolerance) noexcept { tolerance_ = tolerance; }
  // True when no nominal value was set.
  bool invalid() const noexcept { return nominal_ == kptUnsetValue; }
  // Back to the state of a default-constructed coordinate.
  void reset() noexcept { *this = kptParsedCoordinate(); }

 private:
  double nominal_ = kptUnsetValue;
  std::optional<double> tolerance_;
};
