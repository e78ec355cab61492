// giVector3: length.
#include "cncprobe/platform/geometry/vector3.h"

#include <cmath>

double giVector3::length() const noexcept { return std::hypot(x_, y_, z_); }
