// mtrAngleSurfaceFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/angle_surface_feature.h"

mtrAngleSurfaceFeature::~mtrAngleSurfaceFeature() = default;
