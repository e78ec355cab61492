// giXform3: rigid transform arithmetic, done with Eigen on the stored doubles.
#include "cncprobe/platform/geometry/xform3.h"

#include <Eigen/Core>
#include <cmath>

namespace {

using Matrix = Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>;
using ConstMatrix = Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>;
using Vector = Eigen::Map<Eigen::Vector3d>;
using ConstVector = Eigen::Map<const Eigen::Vector3d>;

// Cosine and sine of an angle in degrees. Whole quarter turns are exact, so workplanes turned by
// 90 or 180 degrees map grid points onto grid points. A non-finite angle counts as no turn.
void cos_sin(const giAngle& angle, double& c, double& s) noexcept {
  const double degrees = angle.degrees();
  c = 1.0;
  s = 0.0;
  if (!std::isfinite(degrees)) return;
  const double reduced = std::remainder(degrees, 360.0);  // in [-180, 180]
  if (reduced == 0.0) return;
  if (reduced == 90.0) {
    c = 0.0;
    s = 1.0;
    return;
  }
  if (reduced == -90.0) {
    c = 0.0;
    s = -1.0;
    return;
  }
  if (reduced == 180.0 || reduced == -180.0) {
    c = -1.0;
    s = 0.0;
    return;
  }
  const double radians = reduced * (3.14159265358979323846 / 180.0);
  c = std::cos(radians);
  s = std::sin(radians);
}

// Right-hand rotation about the axis with index `axis`: the other two axes (i, j), in cyclic
// order, turn so that i goes towards j.
void set_rotation(double* r, const giAngle& angle, int axis) noexcept {
  double c = 1.0;
  double s = 0.0;
  cos_sin(angle, c, s);
  const int i = (axis + 1) % 3;
  const int j = (axis + 2) % 3;
  Matrix m(r);
  m.setIdentity();
  m(i, i) = c;
  m(i, j) = -s;
  m(j, i) = s;
  m(j, j) = c;
}

}  // namespace

giXform3::giXform3(giXformTranslate_t, const giVector3& v) noexcept {
  t_[0] = v.x();
  t_[1] = v.y();
  t_[2] = v.z();
}

giXform3::giXform3(giXformRotate_t, const giAngle& angle, giAxisX_t) noexcept {
  set_rotation(r_, angle, 0);
}
giXform3::giXform3(giXformRotate_t, const giAngle& angle, giAxisY_t) noexcept {
  set_rotation(r_, angle, 1);
}
giXform3::giXform3(giXformRotate_t, const giAngle& angle, giAxisZ_t) noexcept {
  set_rotation(r_, angle, 2);
}

giXform3& giXform3::postmultiply(const giXform3& m) noexcept {
  // (R, t) ∘ (Rm, tm) = (R·Rm, R·tm + t)
  Matrix r(r_);
  Vector t(t_);
  const ConstMatrix rm(m.r_);
  const ConstVector tm(m.t_);
  const Eigen::Vector3d new_t = r * tm + t;
  const Eigen::Matrix3d new_r = r * rm;
  r = new_r;
  t = new_t;
  return *this;
}

giXform3 giXform3::inverse() const noexcept {
  // (R, t)⁻¹ = (Rᵀ, -Rᵀ·t)
  giXform3 result;
  const ConstMatrix r(r_);
  const ConstVector t(t_);
  Matrix(result.r_) = r.transpose();
  Vector(result.t_) = -(r.transpose() * t);
  return result;
}

giPoint3 giXform3::apply(const giPoint3& p) const noexcept {
  const Eigen::Vector3d q =
      ConstMatrix(r_) * Eigen::Vector3d(p.x(), p.y(), p.z()) + ConstVector(t_);
  return giPoint3(q.x(), q.y(), q.z());
}

giVector3 giXform3::apply(const giVector3& v) const noexcept {
  const Eigen::Vector3d w = ConstMatrix(r_) * Eigen::Vector3d(v.x(), v.y(), v.z());
  return giVector3(w.x(), w.y(), w.z());
}

double giXform3::rotation(int row, int column) const noexcept {
  if (row < 0 || row > 2 || column < 0 || column > 2) return 0.0;
  return r_[row * 3 + column];
}
