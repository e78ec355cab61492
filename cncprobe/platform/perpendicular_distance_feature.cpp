// mtrPerpendicularDistanceFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/perpendicular_distance_feature.h"

mtrPerpendicularDistanceFeature::~mtrPerpendicularDistanceFeature() = default;
