// kptInspectionSettings: the guarded setters of the inspection settings.
#include "cncprobe/settings/inspection_settings.h"

kptInspectionSettings::kptInspectionSettings() : surface_point_label_("Surface Point ") {}

void kptInspectionSettings::set_version(unsigned int v) noexcept {
  if (v != 0) version_ = v;
}

void kptInspectionSettings::set_proximity_criteria(double value) noexcept {
  // Written so that a NaN, which compares false with everything, is refused too.
  if (value >= 0.0) proximity_criteria_mm_ = input_units_.units_to_mm(value);
}

void kptInspectionSettings::set_confetti_diameter(double value) noexcept {
  if (value > 0.0) confetti_diameter_mm_ = input_units_.units_to_mm(value);
}

void kptInspectionSettings::set_linear_precision(int digits) noexcept {
  if (digits > 0) linear_precision_ = digits;
}

void kptInspectionSettings::set_angular_precision(int digits) noexcept {
  if (digits > 0) angular_precision_ = digits;
}

void kptInspectionSettings::set_unitless_precision(int digits) noexcept {
  if (digits > 0) unitless_precision_ = digits;
}

void kptInspectionSettings::set_surface_point_label(const utString& label) noexcept {
  // utString copies share their characters, so this neither allocates nor throws.
  if (label.valid()) surface_point_label_ = label;
}
