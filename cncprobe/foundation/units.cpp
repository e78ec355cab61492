// kptUnits: converting lengths between a results file's units and millimetres.
#include "cncprobe/foundation/units.h"

double kptUnits::units_to_mm(double value) const noexcept {
  return type_ == kptUnitsInches ? value * kptMillimetresPerInch : value;
}

// Dividing, rather than multiplying by a stored 1/25.4, keeps round inch values round: 25.4 mm is
// exactly 1 in and 50.8 mm exactly 2 in, which the rounded reciprocal misses in the last digit.
double kptUnits::mm_to_units(double value) const noexcept {
  return type_ == kptUnitsInches ? value / kptMillimetresPerInch : value;
}

giPoint3 kptUnits::units_to_mm(const giPoint3& point) const noexcept {
  if (type_ != kptUnitsInches) return point;
  return giPoint3(units_to_mm(point.x()), units_to_mm(point.y()), units_to_mm(point.z()));
}

giPoint3 kptUnits::mm_to_units(const giPoint3& point) const noexcept {
  if (type_ != kptUnitsInches) return point;
  return giPoint3(mm_to_units(point.x()), mm_to_units(point.y()), mm_to_units(point.z()));
}
