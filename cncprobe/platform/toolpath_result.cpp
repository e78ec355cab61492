// mtrToolpathResult: out-of-line destructor, so the class's type information lives in the library.
#include "cncprobe/platform/toolpath_result.h"

mtrToolpathResult::~mtrToolpathResult() = default;
