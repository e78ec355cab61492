// mtrProbeWCSAxis: the work-coordinate axis along which a surface, wall or channel was probed.
#pragma once

#include "cncprobe/platform/geometry/axis.h"

// 0 = X, 1 = Y, 2 = Z: the same numbers as gi_Axis.
enum mtrProbeWCSAxis : int { mtrProbeWCSAxisX = 0, mtrProbeWCSAxisY = 1, mtrProbeWCSAxisZ = 2 };

// The geometry axis with the same number.
constexpr gi_Axis to_gi_axis(mtrProbeWCSAxis axis) noexcept { return static_cast<gi_Axis>(axis); }
