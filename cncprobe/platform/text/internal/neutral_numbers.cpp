// nlsNeutralNumbers: switches the calling thread to the "C" number format for one conversion.
#include "cncprobe/platform/text/internal/neutral_numbers.h"

#include <locale.h>

#if defined(_WIN32)
#include <cstring>
#include <string>

namespace {
// What a guard changed on Windows: whether the thread had its own locale, and its number format.
struct SavedNumbers {
  int thread_mode;
  std::string numeric;
};
}  // namespace

// Windows has no uselocale: the thread is given a locale of its own for the guard's lifetime,
// its number format set to "C", and both are put back afterwards.
nlsNeutralNumbers::nlsNeutralNumbers(nlsTranslationType type) {
  if (type != nlsTranslationNeutral) return;
  const char* current = setlocale(LC_NUMERIC, nullptr);
  if (current == nullptr || std::strcmp(current, "C") == 0) return;
  auto* saved = new SavedNumbers{0, current};
  saved->thread_mode = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
  setlocale(LC_NUMERIC, "C");
  previous_ = saved;
}

nlsNeutralNumbers::~nlsNeutralNumbers() {
  if (previous_ == nullptr) return;
  auto* saved = static_cast<SavedNumbers*>(previous_);
  setlocale(LC_NUMERIC, saved->numeric.c_str());
  _configthreadlocale(saved->thread_mode);
  delete saved;
}
#else
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
#endif
