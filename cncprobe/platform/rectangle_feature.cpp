// mtrRectangleFeature: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/rectangle_feature.h"

mtrRectangleFeature::~mtrRectangleFeature() = default;
