// The streaming JSON writer of the cncprobe tool.
#include "tools/json_writer.h"

#include <charconv>

namespace tool {

namespace {

// True when `bytes` goes into a JSON string as it is: printable ASCII without a quote or a
// backslash. Keys, labels and feature names nearly always are, so they skip the decoding below.
bool plain_ascii(std::string_view bytes) noexcept {
  for (const char c : bytes) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u >= 0x7F || c == '"' || c == '\\') return false;
  }
  return true;
}

void append_quoted(std::string& out, std::string_view bytes) {
  if (plain_ascii(bytes)) {
    out.push_back('"');
    out.append(bytes);
    out.push_back('"');
    return;
  }
  std::string valid;
  append_valid_utf8(valid, bytes);
  out.push_back('"');
  for (const char c : valid) {
    const auto u = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        out.append("\\\"");
        break;
      case '\\':
        out.append("\\\\");
        break;
      case '\n':
        out.append("\\n");
        break;
      case '\r':
        out.append("\\r");
        break;
      case '\t':
        out.append("\\t");
        break;
      case '\b':
        out.append("\\b");
        break;
      case '\f':
        out.append("\\f");
        break;
      default:
        if (u < 0x20) {
          static constexpr char kHex[] = "0123456789abcdef";
          out.append("\\u00");
          out.push_back(kHex[u >> 4]);
          out.push_back(kHex[u & 0x0F]);
        } else {
          out.push_back(c);
        }
    }
  }
  out.push_back('"');
}

}  // namespace

std::string json_quoted(std::string_view bytes) {
  std::string out;
  append_quoted(out, bytes);
  return out;
}

void JsonWriter::newline_and_indent(std::size_t depth) {
  // A line end and two blanks per level, written at once for the usual depths.
  static constexpr std::string_view kIndents =
      "\n                                                                ";
  const std::size_t wanted = 1 + 2 * depth;
  if (wanted <= kIndents.size()) {
    out_.write(kIndents.substr(0, wanted));
    return;
  }
  out_.write('\n');
  for (std::size_t i = 0; i < depth; ++i) out_.write("  ");
}

void JsonWriter::before_item() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (frames_.empty()) return;
  Frame& frame = frames_.back();
  if (!frame.empty) out_.write(',');
  if (frame.single_line) {
    if (!frame.empty) out_.write(' ');
  } else {
    newline_and_indent(frames_.size());
  }
  frame.empty = false;
}

void JsonWriter::open(char bracket, bool single_line) {
  before_item();
  out_.write(bracket);
  // Inside a single-line container everything stays on that line.
  const bool inherited = !frames_.empty() && frames_.back().single_line;
  frames_.push_back(Frame{single_line || inherited, true});
}

void JsonWriter::close(char bracket) {
  if (frames_.empty()) return;
  const Frame frame = frames_.back();
  frames_.pop_back();
  if (!frame.single_line && !frame.empty) newline_and_indent(frames_.size());
  out_.write(bracket);
}

void JsonWriter::key(std::string_view name) {
  before_item();
  if (plain_ascii(name)) {
    out_.write('"');
    out_.write(name);
    out_.write("\": ");
  } else {
    scratch_.clear();
    append_quoted(scratch_, name);
    scratch_.append(": ");
    out_.write(scratch_);
  }
  after_key_ = true;
}

void JsonWriter::null() {
  before_item();
  out_.write("null");
}

void JsonWriter::boolean(bool value) {
  before_item();
  out_.write(value ? "true" : "false");
}

void JsonWriter::number(double value) {
  before_item();
  char buffer[kNumberBufferSize];
  out_.write(format_json_number(value, buffer));
}

void JsonWriter::number(const std::optional<double>& value) {
  if (value) {
    number(*value);
  } else {
    null();
  }
}

void JsonWriter::integer(std::int64_t value) {
  before_item();
  char buffer[24];
  const std::to_chars_result r = std::to_chars(buffer, buffer + sizeof buffer, value);
  out_.write(std::string_view(buffer, static_cast<std::size_t>(r.ptr - buffer)));
}

void JsonWriter::string(std::string_view bytes) {
  before_item();
  if (plain_ascii(bytes)) {
    out_.write('"');
    out_.write(bytes);
    out_.write('"');
    return;
  }
  scratch_.clear();
  append_quoted(scratch_, bytes);
  out_.write(scratch_);
}

void JsonWriter::point(double x, double y, double z) {
  begin_array(true);
  number(x);
  number(y);
  number(z);
  end_array();
}

void JsonWriter::finish() { out_.write('\n'); }

}  // namespace tool
