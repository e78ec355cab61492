// apString: the Unicode (wide) string of messages and paths, with an invalid state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cncprobe/export.h"

// Tag: the text that follows is a wide literal.
struct apStringL {};
// The tag passed to the literal constructor.
inline constexpr apStringL apStringLiteral{};
// Tag: the text that follows is UTF-8 and is decoded.
struct apStringUTF8 {};
// The tag passed to the UTF-8 constructors.
inline constexpr apStringUTF8 apStringFromUTF8{};

class CNCPROBE_API apString {
 public:
  // An invalid string: it carries no text at all.
  apString() = default;
  // A string holding the wide text; a null pointer gives an invalid string.
  apString(apStringL, const wchar_t* text);
  explicit apString(std::wstring text) : text_(std::move(text)), valid_(true) {}
  // Decodes NUL-terminated UTF-8. `error` is 0 for valid UTF-8 and non-zero otherwise (overlong
  // forms, surrogates, code points beyond U+10FFFF and cut sequences are invalid); an invalid
  // sequence decodes to U+FFFD so the string still holds a readable text.
  apString(apStringUTF8, const char* text, int& error);
  apString(apStringUTF8, std::string_view text, int& error);

  apString(const apString&) = default;
  apString(apString&&) noexcept = default;
  apString& operator=(const apString&) = default;
  apString& operator=(apString&&) noexcept = default;
  ~apString() = default;

  // Non-zero for a string holding no text at all.
  int invalid() const noexcept { return valid_ ? 0 : 1; }
  // The wide text.
  const std::wstring& wstr() const noexcept { return text_; }
  // The wide text, NUL-terminated.
  const wchar_t* c_str() const noexcept { return text_.c_str(); }
  // The length in wide characters.
  std::size_t length() const noexcept { return text_.size(); }

  // The text encoded as UTF-8 (empty for an invalid string). `error` is set non-zero when the
  // text holds a value that is no Unicode scalar value; that character becomes U+FFFD.
  std::string utf8(int& error) const;
  std::string utf8() const;

  // Non-zero when both hold the same text; two invalid strings are equal.
  int operator==(const apString& other) const noexcept {
    return valid_ == other.valid_ && text_ == other.text_;
  }
  int operator!=(const apString& other) const noexcept { return !(*this == other); }
  // Concatenation; the result is valid when either side is.
  apString operator+(const apString& other) const;
  // Appends `other`; the result is valid when either side is.
  apString& operator+=(const apString& other);

  // True when `bytes` is well-formed UTF-8; the cheap test a results-file line is put to.
  static bool is_valid_utf8(std::string_view bytes) noexcept;

 private:
  std::wstring text_;
  bool valid_ = false;
};
