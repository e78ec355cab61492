// mtrProbePath: the points of a path, stored in the path and shared with its ownership.
#include "cncprobe/platform/model/probe_path.h"

namespace {
// Steps over the points of one path by index, handing each out as probe_path.h describes.
class PointIterator : public itAbsCloneableIterator<std::shared_ptr<mtrInspectionPoint>> {
 public:
  explicit PointIterator(const mtrProbePath& path) : path_(path) {}

  bool undefined() const override { return index_ >= path_.inspection_points_count(); }
  void reset() override { index_ = kUndefined; }
  bool operator++() override {
    index_ = index_ == kUndefined ? 0 : index_ + 1;
    if (index_ >= path_.inspection_points_count()) index_ = kUndefined;
    return index_ != kUndefined;
  }
  std::shared_ptr<mtrInspectionPoint> operator()() const override {
    return path_.inspection_point(index_);
  }
  [[nodiscard]] std::unique_ptr<itAbsCloneableIterator<std::shared_ptr<mtrInspectionPoint>>> clone()
      const override {
    return std::make_unique<PointIterator>(*this);
  }

 private:
  static constexpr unsigned int kUndefined = ~0U;
  const mtrProbePath& path_;
  unsigned int index_ = kUndefined;
};
}  // namespace

void mtrProbePath::add_inspection_point(const giPoint3& nominal, const giUnitVec3& direction,
                                        double o, double u, double l, const utString& label) {
  points_.emplace_back(nominal, direction, o, u, l, label);
}

void mtrProbePath::add_numbered_inspection_point(const giPoint3& nominal,
                                                 const giUnitVec3& direction, double o, double u,
                                                 double l, const utString& label_prefix) {
  const auto number = static_cast<unsigned int>(points_.size() + 1);
  points_.emplace_back(nominal, direction, o, u, l, label_prefix, number);
}

std::shared_ptr<mtrInspectionPoint> mtrProbePath::inspection_point(unsigned int index) const {
  if (index >= points_.size()) return nullptr;
  // The points are part of the path: they share its owner. A path held by no shared pointer has
  // an empty owner, and the pointer only borrows the point.
  auto* point = const_cast<mtrInspectionPoint*>(&points_[index]);
  return std::shared_ptr<mtrInspectionPoint>(
      std::const_pointer_cast<mtrProbePath>(weak_from_this().lock()), point);
}

void mtrProbePath::set_measure_of_last_point(const giPoint3& measured, double r) noexcept {
  if (points_.empty()) return;
  points_.back().set_measure(measured, r);
}

itIterator<std::shared_ptr<mtrInspectionPoint>> mtrProbePath::inspection_points() const {
  return itIterator<std::shared_ptr<mtrInspectionPoint>>(std::make_unique<PointIterator>(*this));
}
