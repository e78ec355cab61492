// nlsNeutralNumbers: a guard under which the C library reads numbers with "." as the decimal point.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
//
// A host process may select a number format with a decimal comma; results files always print
// "12.5". Wrap each conversion in a guard:
//
//   { nlsNeutralNumbers neutral(0); value = std::atof(text); }
#pragma once

#include "cncprobe/export.h"

// How numbers are to be read while a guard lives. 0 is the neutral form ("." as decimal point).
using nlsTranslationType = int;
inline constexpr nlsTranslationType nlsTranslationNeutral = 0;

// While a guard built with nlsTranslationNeutral lives, text-to-number conversions of the C
// library on the calling thread use the neutral form; other threads are unaffected. Any other
// translation type leaves the thread's number format as it is. The destructor restores the
// thread's previous form. Guards nest and cost two thread-local locale switches.
class CNCPROBE_API nlsNeutralNumbers {
 public:
  explicit nlsNeutralNumbers(nlsTranslationType type);
  ~nlsNeutralNumbers();
  nlsNeutralNumbers(const nlsNeutralNumbers&) = delete;
  nlsNeutralNumbers& operator=(const nlsNeutralNumbers&) = delete;

 private:
  // What the guard changed, to be put back (a locale_t; on Windows the thread's former number
  // format); null when the guard changed nothing.
  void* previous_ = nullptr;
};
