// mtrCornerFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/corner_feature.h"

mtrCornerFeature::~mtrCornerFeature() = default;
