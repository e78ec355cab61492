// The streaming JSON writer of the cncprobe tool.
#include "tools/json_writer.h"

#include <array>
#include <charconv>

namespace tool {

namespace {

// The bytes a JSON string holds as they are: printable ASCII (and DEL) but the quote and the
// backslash. Keys, labels and feature names are nearly always all such bytes, so they are
// copied in one piece.
constexpr std::array<bool, 256> kPlainBytes = [] {
  std::array<bool, 256> plain{};
  for (int c = 0x20; c < 0x80; ++c) plain[static_cast<std::size_t>(c)] = true;
  plain['"'] = false;
  plain['\\'] = false;
  return plain;
}();

bool plain_byte(char c) noexcept { return kPlainBytes[static_cast<unsigned char>(c)]; }

// Appends to a std::string, as Output appends to its stream.
struct StringSink {
  std::string& text;
  void write(std::string_view bytes) { text.append(bytes); }
  void write(char c) { text.push_back(c); }
};

// The escape of an ASCII byte that is not plain.
void write_escape(auto& out, unsigned char u) {
  switch (u) {
    case '"':
      return out.write("\\\"");
    case '\\':
      return out.write("\\\\");
    case '\n':
      return out.write("\\n");
    case '\r':
      return out.write("\\r");
    case '\t':
      return out.write("\\t");
    case '\b':
      return out.write("\\b");
    case '\f':
      return out.write("\\f");
    default:
      static constexpr char kHex[] = "0123456789abcdef";
      const char escape[] = {'\\', 'u', '0', '0', kHex[u >> 4], kHex[u & 0x0F]};
      return out.write(std::string_view(escape, sizeof escape));
  }
}

void write_quoted(auto& out, std::string_view bytes) {
  out.write('"');
  std::size_t next = 0;
  while (next < bytes.size()) {
    std::size_t end = next;
    while (end < bytes.size() && plain_byte(bytes[end])) ++end;
    out.write(bytes.substr(next, end - next));
    if (end == bytes.size()) break;
    const auto u = static_cast<unsigned char>(bytes[end]);
    if (u < 0x80) {
      write_escape(out, u);
      next = end + 1;
      continue;
    }
    // A UTF-8 sequence is made of bytes above 0x7F only, so a run of them is repaired on its own
    // as it would be within the whole text.
    next = end;
    while (end < bytes.size() && static_cast<unsigned char>(bytes[end]) >= 0x80) ++end;
    std::string valid;
    append_valid_utf8(valid, bytes.substr(next, end - next));
    out.write(valid);
    next = end;
  }
  out.write('"');
}

}  // namespace

void write_json_string(Output& out, std::string_view bytes) { write_quoted(out, bytes); }

std::string json_quoted(std::string_view bytes) {
  std::string text;
  StringSink sink{text};
  write_quoted(sink, bytes);
  return text;
}

void JsonWriter::newline_and_indent(std::size_t depth) {
  if (layout_ == JsonLayout::kArrayElement) ++depth;
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
  // Inside a single-line container everything stays on that line; a document on one line is one
  // single-line container.
  const bool inherited =
      frames_.empty() ? layout_ == JsonLayout::kLine : frames_.back().single_line;
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
  write_quoted(out_, name);
  out_.write(": ");
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
  write_json_number(out_, value);
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
  write_quoted(out_, bytes);
}

void JsonWriter::point(double x, double y, double z) {
  before_item();
  write_json_triple(out_, x, y, z);
}

Output& JsonWriter::item() {
  before_item();
  return out_;
}

JsonWriter JsonWriter::continuation(Output& out, bool after_items) const {
  JsonWriter part(out, layout_);
  part.frames_ = frames_;
  part.after_key_ = after_key_;
  if (after_items && !part.frames_.empty()) part.frames_.back().empty = false;
  return part;
}

void JsonWriter::items_written_elsewhere() {
  if (!frames_.empty()) frames_.back().empty = false;
}

void JsonWriter::finish() {
  if (layout_ != JsonLayout::kArrayElement) out_.write('\n');
}

}  // namespace tool
