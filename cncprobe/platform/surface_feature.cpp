// mtrSurfaceFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/surface_feature.h"

mtrSurfaceFeature::~mtrSurfaceFeature() = default;
