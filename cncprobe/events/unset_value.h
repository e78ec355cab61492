// The marker of a number that a printed report line did not set.
//
// Every double of the parsed report values is "not set" while it holds the largest finite double
// (1.7976931348623157e308); it is compared with exact equality, so no other value, NaN included,
// counts as not set.
#pragma once

#include <limits>

// The value a parsed number holds until it is set: the largest double, which no report prints.
inline constexpr double kptUnsetValue = std::numeric_limits<double>::max();
