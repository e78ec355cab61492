// mtrCircleFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/circle_feature.h"

mtrCircleFeature::~mtrCircleFeature() = default;
