// mtrProbePath: the list of inspection points.
#include "cncprobe/platform/model/probe_path.h"

void mtrProbePath::add_inspection_point(const giPoint3& nominal, const giUnitVec3& direction,
                                        double o, double u, double l, const utString& label) {
  points_.push_back(std::make_shared<mtrInspectionPoint>(nominal, direction, o, u, l, label));
}

std::shared_ptr<mtrInspectionPoint> mtrProbePath::inspection_point(unsigned int index) const {
  if (index >= points_.size()) return nullptr;
  return points_[index];
}

void mtrProbePath::set_measure_of_last_point(const giPoint3& measured, double r) noexcept {
  if (points_.empty()) return;
  points_.back()->set_measure(measured, r);
}
