// Tests of the inspection settings: defaults, the guards of the setters, and input-unit conversion.
#include "cncprobe/settings/inspection_settings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

TEST(InspectionSettings, Defaults) {
  const kptInspectionSettings s;
  EXPECT_EQ(s.version(), 0u);
  EXPECT_EQ(s.input_units().type(), kptUnitsMillimetres);
  EXPECT_EQ(s.proximity_criteria_mm(), 0.8);
  EXPECT_EQ(s.confetti_diameter_mm(), 4.0);
  EXPECT_EQ(s.linear_precision(), 3);
  EXPECT_EQ(s.angular_precision(), 3);
  EXPECT_EQ(s.unitless_precision(), 5);
  EXPECT_EQ(s.surface_point_label().view(), "Surface Point ");
}

TEST(InspectionSettings, SettersIgnoreValuesOutOfRange) {
  using Setter = std::function<void(kptInspectionSettings&)>;
  struct Case { const char* what; Setter set; };
  const Case ignored[] = {
      {"version 0", [](auto& s) { s.set_version(0); }},
      {"negative proximity", [](auto& s) { s.set_proximity_criteria(-0.1); }},
      {"NaN proximity", [](auto& s) { s.set_proximity_criteria(std::nan("")); }},
      {"zero diameter", [](auto& s) { s.set_confetti_diameter(0.0); }},
      {"negative diameter", [](auto& s) { s.set_confetti_diameter(-1.0); }},
      {"NaN diameter", [](auto& s) { s.set_confetti_diameter(std::nan("")); }},
      {"linear 0", [](auto& s) { s.set_linear_precision(0); }},
      {"angular -2", [](auto& s) { s.set_angular_precision(-2); }},
      {"unitless 0", [](auto& s) { s.set_unitless_precision(0); }},
      {"invalid label", [](auto& s) { s.set_surface_point_label(utString()); }},
  };
  for (const Case& c : ignored) {
    kptInspectionSettings s;
    c.set(s);
    EXPECT_EQ(s.version(), 0u) << c.what;
    EXPECT_EQ(s.proximity_criteria_mm(), 0.8) << c.what;
    EXPECT_EQ(s.confetti_diameter_mm(), 4.0) << c.what;
    EXPECT_EQ(s.linear_precision() * 100 + s.angular_precision() * 10 + s.unitless_precision(), 335)
        << c.what;
    EXPECT_EQ(s.surface_point_label().view(), "Surface Point ") << c.what;
  }

  kptInspectionSettings s;
  s.set_proximity_criteria(0.0);
  s.set_surface_point_label(utString(""));
  s.set_version(7);
  s.set_unitless_precision(1);
  EXPECT_EQ(s.proximity_criteria_mm(), 0.0);
  EXPECT_TRUE(s.surface_point_label().valid() && s.surface_point_label().empty());
  EXPECT_EQ(s.version(), 7u);
  EXPECT_EQ(s.unitless_precision(), 1);
}

TEST(InspectionSettings, LengthsAreStoredInMillimetresAndHandedOutInInputUnits) {
  kptInspectionSettings s;
  s.set_input_units(kptUnits(kptUnitsInches));
  EXPECT_EQ(s.confetti_diameter_mm(), 4.0) << "switching units converts nothing stored";
  EXPECT_EQ(s.confetti_diameter(), 4.0 / 25.4);
  EXPECT_EQ(s.proximity_criteria_input_units(), 0.8 / 25.4);

  s.set_confetti_diameter(0.5);
  s.set_proximity_criteria(0.25);
  EXPECT_DOUBLE_EQ(s.confetti_diameter_mm(), 12.7);
  EXPECT_DOUBLE_EQ(s.confetti_diameter_input_units(), 0.5);
  EXPECT_DOUBLE_EQ(s.proximity_criteria_mm(), 6.35);
  EXPECT_DOUBLE_EQ(s.proximity_criteria(), 0.25);

  s.set_input_units(kptUnits(kptUnitsMillimetres));
  EXPECT_DOUBLE_EQ(s.confetti_diameter(), 12.7);
}
