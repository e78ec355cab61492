// giWorkplane3: moving a frame and taking world coordinates into it, with Eigen.
#include "cncprobe/platform/geometry/workplane3.h"

#include <Eigen/Core>

namespace {

Eigen::Vector3d to_eigen(const giVector3& v) { return {v.x(), v.y(), v.z()}; }
Eigen::Vector3d to_eigen(const giPoint3& p) { return {p.x(), p.y(), p.z()}; }

}  // namespace

giWorkplane3& giWorkplane3::become(giWorkplaneWorld_t) noexcept {
  *this = giWorkplane3(giWorkplaneWorld);
  return *this;
}

double giWorkplane3::transform(const giXform3& x) noexcept {
  const giPoint3 moved = x.apply(origin_);
  const double distance = (to_eigen(moved) - to_eigen(origin_)).norm();
  origin_ = moved;
  x_axis_ = giUnitVec3(x.apply(x_axis_.vector()));
  y_axis_ = giUnitVec3(x.apply(y_axis_.vector()));
  z_axis_ = giUnitVec3(x.apply(z_axis_.vector()));
  return distance;
}

giXform3 giWorkplane3::get_transform_to_work() const noexcept {
  // F = (A, o) with the axes as the columns of A; F⁻¹ = (Aᵀ, -Aᵀ·o). Rows of Aᵀ are the axes.
  giXform3 result;
  const giUnitVec3* axes[3] = {&x_axis_, &y_axis_, &z_axis_};
  Eigen::Matrix3d at;
  for (int row = 0; row < 3; ++row) at.row(row) = to_eigen(axes[row]->vector()).transpose();
  const Eigen::Vector3d t = -(at * to_eigen(origin_));
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) result.r_[row * 3 + column] = at(row, column);
    result.t_[row] = t(row);
  }
  return result;
}

giPoint3 giWorkplane3::to_work(const giPoint3& p) const noexcept {
  const Eigen::Vector3d d = to_eigen(p) - to_eigen(origin_);
  return giPoint3(to_eigen(x_axis_.vector()).dot(d), to_eigen(y_axis_.vector()).dot(d),
                  to_eigen(z_axis_.vector()).dot(d));
}

giVector3 giWorkplane3::to_work(const giVector3& v) const noexcept {
  const Eigen::Vector3d d = to_eigen(v);
  return giVector3(to_eigen(x_axis_.vector()).dot(d), to_eigen(y_axis_.vector()).dot(d),
                   to_eigen(z_axis_.vector()).dot(d));
}
