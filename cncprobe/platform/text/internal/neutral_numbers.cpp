// nlsNeutralNumbers: switches the calling thread to the "C" number format for one conversion.
#include "cncprobe/platform/text/internal/neutral_numbers.h"

#include <locale.h>

#include <type_traits>

static_assert(std::is_pointer_v<locale_t>, "the guard keeps the previous locale as a pointer");

namespace {
// The neutral number format, built once for the whole process and never freed: every number
// conversion of every thread uses it. Null when the C library cannot build it.
locale_t neutral_locale() {
  static const locale_t neutral = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
  return neutral;
}
}  // namespace

nlsNeutralNumbers::nlsNeutralNumbers(nlsTranslationType type) {
  if (type != nlsTranslationNeutral) return;
  const locale_t neutral = neutral_locale();
  if (neutral == static_cast<locale_t>(nullptr)) return;
  const locale_t previous = uselocale(neutral);
  if (previous != static_cast<locale_t>(nullptr)) previous_ = previous;
}

nlsNeutralNumbers::~nlsNeutralNumbers() {
  if (previous_) uselocale(static_cast<locale_t>(previous_));
}
