// mtrInspectionPoint: one point of a probe path: the nominal point and, once probed, its measure.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API mtrInspectionPoint {
 public:
  // An unmeasured point: nominal point and unit direction (CAD coordinates), the values O, U and
  // L of its nominal-point record (mm, passed through), and its label; all kept as given.
  mtrInspectionPoint(const giPoint3& nominal, const giUnitVec3& direction, double o, double u,
                     double l, const utString& label)
      : nominal_(nominal), direction_(direction), o_(o), u_(u), l_(l), label_(label) {}
  // An unmeasured point whose label is `label_prefix` followed by `number` in decimal (number at
  // least 1), made when asked for: the points of a path share one prefix instead of each holding
  // its own text.
  mtrInspectionPoint(const giPoint3& nominal, const giUnitVec3& direction, double o, double u,
                     double l, const utString& label_prefix, unsigned int number)
      : nominal_(nominal),
        direction_(direction),
        o_(o),
        u_(u),
        l_(l),
        label_(label_prefix),
        number_(number) {}

  // The nominal point, in CAD coordinates and millimetres.
  const giPoint3& nominal_point() const noexcept { return nominal_; }
  // The unit probing direction.
  const giUnitVec3& direction() const noexcept { return direction_; }
  // O of the nominal-point record: the offset the limits are measured from.
  double o_value() const noexcept { return o_; }
  // U of the nominal-point record: the upper limit.
  double u_value() const noexcept { return u_; }
  // L of the nominal-point record: the lower limit.
  double l_value() const noexcept { return l_; }
  // The label, made afresh on each call for a numbered point (the string is the caller's).
  utString label() const;

  // True once set_measure has been called.
  bool has_measure() const noexcept { return has_measure_; }
  // The measured point (CAD coordinates); the origin while unmeasured.
  const giPoint3& measured_point() const noexcept { return measured_; }
  // The R value of the measured-point record (mm, passed through); 0 while unmeasured.
  double r_value() const noexcept { return r_; }

  // Records the measured point and R value; a second call replaces the first.
  void set_measure(const giPoint3& measured, double r) noexcept {
    measured_ = measured;
    r_ = r;
    has_measure_ = true;
  }

 private:
  giPoint3 nominal_;
  giUnitVec3 direction_;
  double o_;
  double u_;
  double l_;
  utString label_;  // the whole label, or the prefix a number follows
  giPoint3 measured_;
  double r_ = 0.0;
  unsigned int number_ = 0;  // 0: label_ is the label
  bool has_measure_ = false;
};
