// mtrProbePath: a probe path, the inspection points of one toolpath instance in probing order.
#pragma once

#include <memory>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "cncprobe/platform/support/iterator.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API mtrProbePath : public mtrToolpathResult {
 public:
  // An empty path of toolpath `id`.
  explicit mtrProbePath(unsigned int id) : mtrToolpathResult(id) {}
  ~mtrProbePath() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultProbePath; }

  // Appends one unmeasured point: nominal point, unit direction, the values O, U and L of the
  // nominal-point record in this order, and the point's label.
  void add_inspection_point(const giPoint3& nominal, const giUnitVec3& direction, double o,
                            double u, double l, const utString& label);
  // The number of points appended so far.
  unsigned int inspection_points_count() const noexcept {
    return static_cast<unsigned int>(points_.size());
  }
  // The point at `index`, counted from 0 in the order of appending; null when out of range.
  std::shared_ptr<mtrInspectionPoint> inspection_point(unsigned int index) const;
  // Records the measured point and R value on the last point, which then has_measure(); does
  // nothing on an empty path.
  void set_measure_of_last_point(const giPoint3& measured, double r) noexcept;

  // An undefined iterator over the points, valid while the path is not changed.
  itIterator<std::shared_ptr<mtrInspectionPoint>> inspection_points() const {
    return itIterators::make_iter(points_);
  }

 private:
  std::vector<std::shared_ptr<mtrInspectionPoint>> points_;
};
