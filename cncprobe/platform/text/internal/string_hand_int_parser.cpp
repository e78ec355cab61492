// apStringHandIntParser: a strict decimal integer reader, by hand so no locale can change it.
#include "cncprobe/platform/text/internal/string_hand_int_parser.h"

#include <climits>

apStringParseIntResult apStringHandIntParser::parse(const apString& text) const noexcept {
  const apStringParseIntResult failure(0, 0);
  if (text.invalid()) return failure;
  const std::wstring& s = text.wstr();
  std::size_t i = 0;
  const bool negative = !s.empty() && s[0] == L'-';
  if (!s.empty() && (s[0] == L'-' || s[0] == L'+')) ++i;
  if (i == s.size()) return failure;
  // Accumulate towards the negative side, whose range is one larger.
  long long value = 0;
  for (; i < s.size(); ++i) {
    if (s[i] < L'0' || s[i] > L'9') return failure;
    value = value * 10 - (s[i] - L'0');
    if (value < INT_MIN) return failure;
  }
  if (!negative) {
    if (-value > INT_MAX) return failure;
    value = -value;
  }
  return apStringParseIntResult(1, static_cast<int>(value));
}
