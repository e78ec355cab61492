#include "tools/report/json_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace tool {

namespace {

// Bytes copied as they are: printable ASCII but the quote, the backslash and the three that
// could end or bend a script element.
constexpr std::array<bool, 256> plain_bytes() {
  std::array<bool, 256> plain{};
  for (int c = 0x20; c < 0x80; ++c) plain[c] = true;
  for (const char c : {'"', '\\', '<', '>', '&'}) plain[static_cast<unsigned char>(c)] = false;
  return plain;
}
constexpr std::array<bool, 256> kPlain = plain_bytes();

void append_escaped_ascii(std::string& out, char c) {
  switch (c) {
    case '"':
      out += "\\\"";
      return;
    case '\\':
      out += "\\\\";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    case '\b':
      out += "\\b";
      return;
    case '\f':
      out += "\\f";
      return;
    default:
      break;
  }
  static constexpr char kHex[] = "0123456789abcdef";
  const auto u = static_cast<unsigned char>(c);
  out += "\\u00";
  out += kHex[u >> 4];
  out += kHex[u & 15u];
}

// A run of bytes from 0x80 up: made valid UTF-8, with the two line separators JavaScript once
// read as line ends escaped. A valid sequence never spans an ASCII byte, so validating run by
// run replaces exactly the bytes that validating the whole string would.
void append_non_ascii(std::string& out, std::string_view run) {
  std::string valid;
  append_valid_utf8(valid, run);
  std::size_t from = 0;
  for (std::size_t at = 0; at + 2 < valid.size(); ++at) {
    if (valid[at] == '\xE2' && valid[at + 1] == '\x80' &&
        (valid[at + 2] == '\xA8' || valid[at + 2] == '\xA9')) {
      out.append(valid, from, at - from);
      out += valid[at + 2] == '\xA8' ? "\\u2028" : "\\u2029";
      from = at + 3;
      at += 2;
    }
  }
  out.append(valid, from);
}

}  // namespace

void append_script_json_string(std::string& out, std::string_view bytes) {
  out += '"';
  std::size_t at = 0;
  while (at < bytes.size()) {
    std::size_t end = at;
    while (end < bytes.size() && kPlain[static_cast<unsigned char>(bytes[end])]) ++end;
    out.append(bytes.data() + at, end - at);
    if (end == bytes.size()) break;
    if (static_cast<unsigned char>(bytes[end]) >= 0x80) {
      at = end;
      while (end < bytes.size() && static_cast<unsigned char>(bytes[end]) >= 0x80) ++end;
      append_non_ascii(out, bytes.substr(at, end - at));
      at = end;
      continue;
    }
    switch (bytes[end]) {
      case '<':
        out += "\\u003c";
        break;
      case '>':
        out += "\\u003e";
        break;
      case '&':
        out += "\\u0026";
        break;
      default:
        append_escaped_ascii(out, bytes[end]);
    }
    at = end + 1;
  }
  out += '"';
}

char* encode_base64(const unsigned char* in, std::size_t size, char* out) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::size_t i = 0;
  for (; i + 3 <= size; i += 3) {
    const unsigned v = (unsigned{in[i]} << 16) | (unsigned{in[i + 1]} << 8) | in[i + 2];
    *out++ = kAlphabet[v >> 18];
    *out++ = kAlphabet[(v >> 12) & 63];
    *out++ = kAlphabet[(v >> 6) & 63];
    *out++ = kAlphabet[v & 63];
  }
  if (i < size) {
    const bool two = i + 1 < size;
    const unsigned v = (unsigned{in[i]} << 16) | (two ? unsigned{in[i + 1]} << 8 : 0u);
    *out++ = kAlphabet[v >> 18];
    *out++ = kAlphabet[(v >> 12) & 63];
    *out++ = two ? kAlphabet[(v >> 6) & 63] : '=';
    *out++ = '=';
  }
  return out;
}

void JsonText::flush() {
  if (!sink_) return;
  sink_->write(text_);
  text_.clear();
}

void JsonText::before_value() {
  drain();
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (!first_.empty()) {
    if (!first_.back()) text_ += ',';
    first_.back() = false;
  }
}

JsonText& JsonText::begin_object() {
  before_value();
  text_ += '{';
  first_.push_back(true);
  return *this;
}
JsonText& JsonText::end_object() {
  text_ += '}';
  first_.pop_back();
  return *this;
}
JsonText& JsonText::begin_array() {
  before_value();
  text_ += '[';
  first_.push_back(true);
  return *this;
}
JsonText& JsonText::end_array() {
  text_ += ']';
  first_.pop_back();
  return *this;
}
JsonText& JsonText::key(std::string_view name) {
  before_value();
  append_script_json_string(text_, name);
  text_ += ':';
  after_key_ = true;
  return *this;
}
JsonText& JsonText::null() {
  before_value();
  text_ += "null";
  return *this;
}
JsonText& JsonText::boolean(bool value) {
  before_value();
  text_ += value ? "true" : "false";
  return *this;
}
JsonText& JsonText::number(double value) {
  before_value();
  if (std::isinf(value)) {
    text_ += value > 0 ? "1e999" : "-1e999";
  } else {
    char buffer[kNumberBufferSize];
    text_ += format_json_number(value, buffer);
  }
  return *this;
}
JsonText& JsonText::number(const std::optional<double>& value) {
  return value ? number(*value) : null();
}
JsonText& JsonText::integer(std::int64_t value) {
  before_value();
  char buffer[24];
  const int length = std::snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(value));
  text_.append(buffer, static_cast<std::size_t>(length));
  return *this;
}
JsonText& JsonText::string(std::string_view bytes) {
  before_value();
  append_script_json_string(text_, bytes);
  return *this;
}
JsonText& JsonText::string_or_null(const std::optional<std::string>& value) {
  return value ? string(*value) : null();
}
JsonText& JsonText::base64_string(const void* bytes, std::size_t size) {
  before_value();
  text_ += '"';
  // In blocks of whole 3-byte groups, each handed on before the next, so a column of a million
  // points never sits in memory a second time as text.
  constexpr std::size_t kInBlock = 3 * 16 * 1024;
  const auto* in = static_cast<const unsigned char*>(bytes);
  for (std::size_t at = 0; at < size; at += kInBlock) {
    const std::size_t n = std::min(kInBlock, size - at);
    const std::size_t was = text_.size();
    text_.resize(was + (n + 2) / 3 * 4);
    encode_base64(in + at, n, text_.data() + was);
    drain();
  }
  text_ += '"';
  return *this;
}

}  // namespace tool
