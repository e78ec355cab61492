// apString: UTF-8 decoding and encoding of the wide string.
#include "cncprobe/platform/text/wide_string.h"

#include <cstring>

namespace {
constexpr char32_t kReplacement = 0xFFFD;
// wchar_t holds UTF-16 on Windows (characters beyond U+FFFF as surrogate pairs), UTF-32 elsewhere.
constexpr bool kUtf16 = sizeof(wchar_t) == 2;

// Decodes one scalar value at `i`; returns false (and advances one byte) on a malformed sequence.
bool decode_one(std::string_view bytes, std::size_t& i, char32_t& out) noexcept {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(bytes[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) {
    out = lead;
    ++i;
    return true;
  }
  std::size_t extra = 0;
  char32_t min = 0;
  char32_t value = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    extra = 1, min = 0x80, value = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    extra = 2, min = 0x800, value = lead & 0x0F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    extra = 3, min = 0x10000, value = lead & 0x07;
  } else {
    ++i;
    return false;
  }
  if (i + extra >= bytes.size()) {
    ++i;
    return false;
  }
  for (std::size_t k = 1; k <= extra; ++k) {
    const unsigned char next = byte(i + k);
    if ((next & 0xC0) != 0x80) {
      ++i;
      return false;
    }
    value = (value << 6) | (next & 0x3F);
  }
  if (value < min || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
    ++i;
    return false;
  }
  i += extra + 1;
  out = value;
  return true;
}

void encode_one(char32_t c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}
}  // namespace

apString::apString(apStringL, const wchar_t* text) {
  if (text) {
    text_ = text;
    valid_ = true;
  }
}

apString::apString(apStringUTF8, const char* text, int& error)
    : apString(apStringFromUTF8, text ? std::string_view(text) : std::string_view(), error) {}

apString::apString(apStringUTF8, std::string_view text, int& error) : valid_(true) {
  error = 0;
  // Never more characters than bytes: write into room made once, then cut to the count.
  text_.resize(text.size());
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    char32_t c = lead;
    if (lead < 0x80) {
      ++i;  // ASCII, nearly every byte of a results file
    } else if (!decode_one(text, i, c)) {
      c = kReplacement;
      error = 1;
    }
    if (kUtf16 && c > 0xFFFF) {
      // Windows: a character beyond the first plane is a surrogate pair. Four UTF-8 bytes make
      // it, so the room made above suffices.
      text_[count++] = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
      text_[count++] = static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      text_[count++] = static_cast<wchar_t>(c);
    }
  }
  text_.resize(count);
}

std::string apString::utf8(int& error) const {
  error = 0;
  // The ASCII run at the front, usually the whole text, one byte per character.
  std::string out(text_.size(), '\0');
  std::size_t ascii = 0;
  for (; ascii < text_.size(); ++ascii) {
    const auto c = static_cast<char32_t>(text_[ascii]);
    if (c >= 0x80) break;
    out[ascii] = static_cast<char>(c);
  }
  out.resize(ascii);
  for (std::size_t i = ascii; i < text_.size(); ++i) {
    auto c = static_cast<char32_t>(text_[i]);
    if (kUtf16 && c >= 0xD800 && c <= 0xDBFF && i + 1 < text_.size()) {
      const auto low = static_cast<char32_t>(text_[i + 1]);
      if (low >= 0xDC00 && low <= 0xDFFF) {  // a surrogate pair: one character
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      c = kReplacement;
      error = 1;
    }
    encode_one(c, out);
  }
  return out;
}

std::string apString::utf8() const {
  int error = 0;
  return utf8(error);
}

apString apString::operator+(const apString& other) const {
  apString sum = *this;
  sum += other;
  return sum;
}

apString& apString::operator+=(const apString& other) {
  text_ += other.text_;
  valid_ = valid_ || other.valid_;
  return *this;
}

bool apString::is_valid_utf8(std::string_view bytes) noexcept {
  std::size_t i = 0;
  while (i < bytes.size()) {
    // Runs of ASCII are by far the common case in results files.
    while (i + 8 <= bytes.size()) {
      std::uint64_t word;
      std::memcpy(&word, bytes.data() + i, 8);
      if (word & 0x8080808080808080ULL) break;
      i += 8;
    }
    if (i >= bytes.size()) break;
    char32_t c = 0;
    if (!decode_one(bytes, i, c)) return false;
  }
  return true;
}
