// kptParsedDimension: a printed size with its nominal, actual and optional tolerance, in mm.
#pragma once

#include <optional>

#include "cncprobe/events/unset_value.h"
#include "cncprobe/export.h"

// A size (diameter, width, length): nominal, actual and an optional size tolerance.
class CNCPROBE_API kptParsedDimension {
 public:
  kptParsedDimension() noexcept = default;
  // The two values in this order; no tolerance.
  kptParsedDimension(double nominal, double actual) noexcept : nominal_(nominal), actual_(actual) {}

  // The printed nominal value, in mm.
  double nominal() const noexcept { return nominal_; }
  // The measured value, in mm.
  double actual() const noexcept { return actual_; }
  // The printed tolerance; absent when none was printed.
  const std::optional<double>& tolerance() const noexcept { return tolerance_; }
  // Makes the tolerance present, whatever the number.
  void set_tolerance(double tolerance) noexcept { tolerance_ = tolerance; }
  // True exactly when nominal and actual are both not set.
  bool invalid() const noexcept { return nominal_ == kptUnsetValue && actual_ == kptUnsetValue; }
  // Back to the state of a default-constructed dimension.
  void reset() noexcept { *this = kptParsedDimension(); }

 private:
  double nominal_ = kptUnsetValue;
  double actual_ = kptUnsetValue;
  std::optional<double> tolerance_;
};
