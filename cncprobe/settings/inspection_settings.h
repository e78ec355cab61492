// kptInspectionSettings: the values of an inspection job's settings file, with their defaults.
//
// Lengths are kept in millimetres; the input units only decide how a length is taken in by the
// setters and handed out by the getters without "_mm".
//
//   kptInspectionSettings settings;                       // 4 mm confetti, millimetre input
//   settings.set_input_units(kptUnits(kptUnitsInches));
//   settings.set_confetti_diameter(0.5);                  // stored as 12.7 mm
//   settings.confetti_diameter();                         // 0.5 (inches)
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptInspectionSettings {
 public:
  // Version 0, millimetre input units, proximity criterion 0.8 mm, confetti diameter 4 mm,
  // precisions 3 (linear), 3 (angular) and 5 (unitless), label "Surface Point " (trailing blank).
  kptInspectionSettings();
  kptInspectionSettings(const kptInspectionSettings&) = default;
  kptInspectionSettings& operator=(const kptInspectionSettings&) = default;
  ~kptInspectionSettings() = default;

  // The version of the settings file the values came from; 0 until one was set.
  unsigned int version() const noexcept { return version_; }
  // Stores `v`; 0 is ignored.
  void set_version(unsigned int v) noexcept;

  // The units lengths are passed in and handed out in.
  const kptUnits& input_units() const noexcept { return input_units_; }
  // Stores the units; the lengths already held (in millimetres) are not touched.
  void set_input_units(const kptUnits& units) noexcept { input_units_ = units; }

  // The proximity criterion of the projection in the input units.
  double proximity_criteria() const noexcept {
    return input_units_.mm_to_units(proximity_criteria_mm_);
  }
  // The proximity criterion in the input units, as proximity_criteria().
  double proximity_criteria_input_units() const noexcept { return proximity_criteria(); }
  // The proximity criterion in millimetres.
  double proximity_criteria_mm() const noexcept { return proximity_criteria_mm_; }
  // Takes `value` in the input units; a negative value or a NaN is ignored, 0 is accepted.
  void set_proximity_criteria(double value) noexcept;

  // The confetti diameter in the input units.
  double confetti_diameter() const noexcept {
    return input_units_.mm_to_units(confetti_diameter_mm_);
  }
  // The confetti diameter in the input units, as confetti_diameter().
  double confetti_diameter_input_units() const noexcept { return confetti_diameter(); }
  // The confetti diameter in millimetres.
  double confetti_diameter_mm() const noexcept { return confetti_diameter_mm_; }
  // Takes `value` in the input units; 0, a negative value or a NaN is ignored.
  void set_confetti_diameter(double value) noexcept;

  // Digits shown for linear, angular and unitless values; a setter ignores a value below 1.
  int linear_precision() const noexcept { return linear_precision_; }
  // Sets the digits of linear values; ignored below 1.
  void set_linear_precision(int digits) noexcept;
  // Digits shown for angles.
  int angular_precision() const noexcept { return angular_precision_; }
  // Sets the digits of angles; ignored below 1.
  void set_angular_precision(int digits) noexcept;
  // Digits shown for unitless values (shares of a tolerance).
  int unitless_precision() const noexcept { return unitless_precision_; }
  // Sets the digits of unitless values; ignored below 1.
  void set_unitless_precision(int digits) noexcept;

  // The label given to surface points; always a valid string.
  const utString& surface_point_label() const noexcept { return surface_point_label_; }
  // Stores `label` when it is valid (an empty one included); an invalid string is ignored.
  void set_surface_point_label(const utString& label) noexcept;

 private:
  unsigned int version_ = 0;
  kptUnits input_units_{kptUnitsMillimetres};
  double proximity_criteria_mm_ = 0.8;
  double confetti_diameter_mm_ = 4.0;
  int linear_precision_ = 3;
  int angular_precision_ = 3;
  int unitless_precision_ = 5;
  utString surface_point_label_;
};
