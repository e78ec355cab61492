// ut_append_valid_utf8: text made fit for a reader that takes only UTF-8 (a JSON document, a C
// host), so a label a machine wrote in a legacy code page reads the same wherever it is shown.
#pragma once

#include <string>
#include <string_view>

#include "cncprobe/export.h"

// Appends `bytes` to `out` with every byte that is not part of well-formed UTF-8 (a stray
// continuation byte, a cut sequence, an overlong form, a surrogate, a code point beyond
// U+10FFFF) replaced by U+FFFD, one replacement per such byte.
CNCPROBE_API void ut_append_valid_utf8(std::string& out, std::string_view bytes);
