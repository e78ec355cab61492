// giLength: one length in millimetres.
#pragma once

#include "cncprobe/export.h"

class CNCPROBE_API giLength {
 public:
  // Zero length.
  constexpr giLength() noexcept = default;
  // A length of `mm` millimetres; implicit so that a plain double may be passed wherever a length
  // is asked for. No check: negative or non-finite values are kept as given.
  constexpr giLength(double mm) noexcept : value_(mm) {}  // NOLINT(google-explicit-constructor)

  // The length in millimetres.
  constexpr double value() const noexcept { return value_; }

  constexpr bool operator==(const giLength&) const noexcept = default;

 private:
  double value_ = 0.0;
};
