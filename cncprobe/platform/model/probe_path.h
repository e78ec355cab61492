// mtrProbePath: a probe path, the inspection points of one toolpath instance in probing order.
//
// The points are stored in the path itself, in blocks, and handed out as shared pointers that
// share the ownership of the path: a point a host keeps keeps its path alive, and a run of a
// million points costs no allocation per point.
#pragma once

#include <deque>
#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/unit_vec3.h"
#include "cncprobe/platform/model/inspection_point.h"
#include "cncprobe/platform/model/toolpath_result.h"
#include "cncprobe/platform/support/iterator.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API mtrProbePath : public mtrToolpathResult,
                                  public std::enable_shared_from_this<mtrProbePath> {
 public:
  // An empty path of toolpath `id`.
  explicit mtrProbePath(unsigned int id) : mtrToolpathResult(id) {}
  ~mtrProbePath() override = default;

  mtrResultKind kind() const noexcept override { return mtrResultProbePath; }

  // Appends one unmeasured point: nominal point, unit direction, the values O, U and L of the
  // nominal-point record in this order, and the point's label.
  void add_inspection_point(const giPoint3& nominal, const giUnitVec3& direction, double o,
                            double u, double l, const utString& label);
  // Appends one unmeasured point as above whose label is `label_prefix` followed by its number in
  // the path, counted from 1; the label is made when asked for, so the points share the prefix.
  void add_numbered_inspection_point(const giPoint3& nominal, const giUnitVec3& direction, double o,
                                     double u, double l, const utString& label_prefix);
  // The number of points appended so far.
  unsigned int inspection_points_count() const noexcept {
    return static_cast<unsigned int>(points_.size());
  }
  // The point at `index`, counted from 0 in the order of appending; null when out of range. The
  // pointer shares the ownership of the path when the path is held by a shared pointer; a path
  // held otherwise must outlive the points it hands out.
  std::shared_ptr<mtrInspectionPoint> inspection_point(unsigned int index) const;
  // The point at `index` (below inspection_points_count()) as a reference that shares nothing:
  // for a reader walking every point of a path it holds, which then pays no count on the path's
  // owner per point. Valid while the path lives.
  const mtrInspectionPoint& inspection_point_ref(unsigned int index) const noexcept {
    return points_[index];
  }
  // True when the path has points and the last one has its measure: no allocation, no count.
  bool last_point_measured() const noexcept {
    return !points_.empty() && points_.back().has_measure();
  }
  // Records the measured point and R value on the last point, which then has_measure(); does
  // nothing on an empty path.
  void set_measure_of_last_point(const giPoint3& measured, double r) noexcept;

  // An undefined iterator over the points, valid while the path is not changed.
  itIterator<std::shared_ptr<mtrInspectionPoint>> inspection_points() const;

 private:
  // A deque never moves its elements when one is appended, so handed-out points stay valid.
  std::deque<mtrInspectionPoint> points_;
};
