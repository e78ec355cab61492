// Tests of the inspection settings: the guards of the setters and input-unit conversion.
#include "cncprobe/settings/inspection_settings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

TEST(InspectionSettings, SettersIgnoreValuesOutOfRange) {
  const std::function<void(kptInspectionSettings&)> rejected[] = {
      [](auto& s) { s.set_version(0); },
      [](auto& s) { s.set_proximity_criteria(-0.1); },
      [](auto& s) { s.set_proximity_criteria(std::nan("")); },
      [](auto& s) { s.set_confetti_diameter(0.0); },
      [](auto& s) { s.set_confetti_diameter(std::nan("")); },
      [](auto& s) { s.set_linear_precision(0); },
      [](auto& s) { s.set_angular_precision(-2); },
      [](auto& s) { s.set_unitless_precision(0); },
      [](auto& s) { s.set_surface_point_label(utString()); },
  };
  for (std::size_t i = 0; i < std::size(rejected); ++i) {
    kptInspectionSettings s;
    rejected[i](s);
    EXPECT_EQ(s.version(), 0u) << i;
    EXPECT_EQ(s.proximity_criteria_mm() + s.confetti_diameter_mm(), 0.8 + 4.0) << i;
    EXPECT_EQ(s.linear_precision() * 100 + s.angular_precision() * 10 + s.unitless_precision(), 335)
        << i;
    EXPECT_EQ(s.surface_point_label().view(), "Surface Point ") << i;
  }
}

TEST(InspectionSettings, LengthsAreStoredInMillimetresAndHandedOutInInputUnits) {
  kptInspectionSettings s;
  s.set_input_units(kptUnits(kptUnitsInches));
  EXPECT_EQ(s.confetti_diameter_mm(), 4.0) << "switching units converts nothing stored";
  EXPECT_EQ(s.confetti_diameter(), 4.0 / 25.4);
  EXPECT_EQ(s.proximity_criteria_input_units(), 0.8 / 25.4);
  s.set_confetti_diameter(0.5);
  EXPECT_DOUBLE_EQ(s.confetti_diameter_mm(), 12.7);
  EXPECT_DOUBLE_EQ(s.confetti_diameter_input_units(), 0.5);
}
