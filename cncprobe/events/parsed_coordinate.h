// kptParsedCoordinate: a printed coordinate that was not measured, in mm.
#pragma once

#include <optional>

#include "cncprobe/events/unset_value.h"
#include "cncprobe/export.h"

// A coordinate that was printed but not measured: nominal and an optional true-position tolerance.
class CNCPROBE_API kptParsedCoordinate {
 public:
  kptParsedCoordinate() noexcept = default;
  explicit kptParsedCoordinate(double nominal) noexcept : nominal_(nominal) {}

  double nominal() const noexcept { return nominal_; }
  const std::optional<double>& true_position_tolerance() const noexcept { return tolerance_; }
  void set_true_position_tolerance(double tolerance) noexcept { tolerance_ = tolerance; }
  bool invalid() const noexcept { return nominal_ == kptUnsetValue; }
  void reset() noexcept { *this = kptParsedCoordinate(); }

 private:
  double nominal_ = kptUnsetValue;
  std::optional<double> tolerance_;
};
