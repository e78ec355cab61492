// kptUnits: the units a results file prints its lengths in, and their conversion to millimetres.
#pragma once

#include <cstdint>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"

// The units of a machine program's printed lengths. Every conversion tests for kptUnitsInches
// only, so any other value, even one outside this list, reads as millimetres.
enum kptUnitsType : std::int32_t {
  kptUnitsMillimetres = 0,
  kptUnitsInches = 1,
};

// Millimetres in one inch.
inline constexpr double kptMillimetresPerInch = 25.4;

// A units value: a plain copyable wrapper of its kptUnitsType.
class CNCPROBE_API kptUnits {
 public:
  // Units of the given type; millimetres by default, as when the host names none.
  kptUnits(kptUnitsType type = kptUnitsMillimetres) noexcept : type_(type) {}  // NOLINT
  kptUnits(const kptUnits&) noexcept = default;
  kptUnits& operator=(const kptUnits&) noexcept = default;
  ~kptUnits() = default;

  // Millimetres or inches.
  kptUnitsType type() const noexcept { return type_; }

  // A length in these units given in millimetres: multiplied by 25.4 for inches.
  [[nodiscard]] double units_to_mm(double value) const noexcept;
  // A length in millimetres given in these units: divided by 25.4 for inches.
  [[nodiscard]] double mm_to_units(double value) const noexcept;
  // Each coordinate converted as by the double forms; a copy of the point for millimetres.
  [[nodiscard]] giPoint3 units_to_mm(const giPoint3& point) const noexcept;
  // Each coordinate converted as by mm_to_units(double).
  [[nodiscard]] giPoint3 mm_to_units(const giPoint3& point) const noexcept;

  // Same type value.
  bool operator==(const kptUnits& other) const noexcept { return type_ == other.type_; }
  bool operator!=(const kptUnits& other) const noexcept { return type_ != other.type_; }

 private:
  kptUnitsType type_;
};
