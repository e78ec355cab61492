// apIStringEncoding and apStringEncodingChooser: converting wide text to the 8-bit utString form.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
//
//   int error = 0;
//   utString name = apStringEncodingChooser().ut_encoding()->to_ut_string(path.string(), error);
//   if (error != 0) { /* the text cannot be held as 8-bit text */ }
//
// On this platform the 8-bit text of utString is UTF-8, so every Unicode text converts; only a
// wide string holding a value that is no Unicode scalar value (a lone surrogate, a value beyond
// U+10FFFF) is refused.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"
#include "cncprobe/platform/text/wide_string.h"

// One 8-bit text encoding. Encoding objects handed out by apStringEncodingChooser live as long
// as the program, so a caller may keep the pointer after the chooser is gone.
class CNCPROBE_API apIStringEncoding {
 public:
  virtual ~apIStringEncoding() = default;

  // The text in this encoding. An invalid apString gives an invalid utString, an empty one a
  // valid empty utString. When the text cannot be represented, `error` is set non-zero and the
  // result is an invalid utString; on success `error` is left as the caller set it (to 0).
  [[nodiscard]] virtual utString to_ut_string(const apString& text, int& error) const = 0;

  // The wide text of 8-bit text in this encoding. An invalid utString gives an invalid apString.
  // When the bytes are not valid in this encoding, `error` is set non-zero and the result is an
  // invalid apString; on success `error` is left as the caller set it.
  [[nodiscard]] virtual apString to_ap_string(const utString& text, int& error) const = 0;

 protected:
  apIStringEncoding() = default;
  apIStringEncoding(const apIStringEncoding&) = default;
  apIStringEncoding& operator=(const apIStringEncoding&) = default;
};

// Chooses the encodings of the platform's string types; a cheap temporary object.
class CNCPROBE_API apStringEncodingChooser {
 public:
  // The encoding of utString text (UTF-8 here); never null, valid for the life of the program.
  [[nodiscard]] const apIStringEncoding* ut_encoding() const noexcept;
};
