// mtrInspectionFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/inspection_feature.h"

mtrInspectionFeature::~mtrInspectionFeature() = default;
