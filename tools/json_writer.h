// JsonWriter: writes one JSON document as it goes, never holding the whole document in memory.
//
// A results file of millions of points is printed point by point.
//
//   JsonWriter json(out);
//   json.begin_object();
//   json.key("units"); json.string("mm");
//   json.key("centre"); json.point(10.0, 20.0, -5.0);   // [10, 20, -5] on one line
//   json.end_object();
//
// Containers are indented two blanks per level; a container begun with single_line = true, and
// everything inside it, stays on one line. Numbers read back to the same double; strings are
// escaped and made valid UTF-8 (see tools/output.h). The caller keeps keys and values in
// order: the writer inserts separators but does not check the document's shape.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/output.h"

namespace tool {

// How a document is laid out: on its own (indented), as an element of an array of documents
// (indented one level deeper, no line end after it), or on one line (one document per line).
enum class JsonLayout { kDocument, kArrayElement, kLine };

class JsonWriter {
 public:
  explicit JsonWriter(Output& out, JsonLayout layout = JsonLayout::kDocument)
      : out_(out), layout_(layout) {}

  void begin_object(bool single_line = false) { open('{', single_line); }
  void end_object() { close('}'); }
  void begin_array(bool single_line = false) { open('[', single_line); }
  void end_array() { close(']'); }

  // The name of the next member of the current object.
  void key(std::string_view name);

  void null();
  void boolean(bool value);
  // A number; null when it is not finite.
  void number(double value);
  // A number, or null when absent.
  void number(const std::optional<double>& value);
  void integer(std::int64_t value);
  // A string from any bytes: escaped, and invalid UTF-8 replaced by U+FFFD.
  void string(std::string_view bytes);
  // [x, y, z] on one line.
  void point(double x, double y, double z);
  // Writes what goes before the next value (a separator, a line end and indentation) and returns
  // the output, for a value the caller writes itself as JSON text with the write_json_ functions
  // below: the way a row repeated a million times is written from its literal pieces.
  Output& item();

  // A writer into `out` that goes on inside the containers this one stands in, as if the
  // innermost already held an item when `after_items`: how the parts of one long array are
  // written on several threads, each into its own output, and joined in order.
  JsonWriter continuation(Output& out, bool after_items) const;
  // Parts written by continuations were joined behind this writer's output: the innermost
  // container holds items.
  void items_written_elsewhere();

  // Ends the document with a line end (none for an array element, whose array separates it);
  // call once after the outermost container.
  void finish();

 private:
  struct Frame {
    bool single_line;
    bool empty;
  };
  void open(char bracket, bool single_line);
  void close(char bracket);
  // Separator and indentation before a value or a key.
  void before_item();
  void newline_and_indent(std::size_t depth);

  Output& out_;
  JsonLayout layout_;
  std::vector<Frame> frames_;
  bool after_key_ = false;
};

// `bytes` as a JSON string literal, quotes included: escaped, and invalid UTF-8 replaced by
// U+FFFD.
void write_json_string(Output& out, std::string_view bytes);
// A number as format_json_number writes it; null when it is not finite.
inline void write_json_number(Output& out, double value) {
  out.commit(write_json_number(value, out.room_for(kJsonNumberRoom)));
}
// [x, y, z] on one line.
inline void write_json_triple(Output& out, double x, double y, double z) {
  char* next = out.room_for(3 * kJsonNumberRoom + 6);
  *next++ = '[';
  next = write_json_number(x, next);
  *next++ = ',';
  *next++ = ' ';
  next = write_json_number(y, next);
  *next++ = ',';
  *next++ = ' ';
  next = write_json_number(z, next);
  *next++ = ']';
  out.commit(next);
}

// `bytes` as the text of a JSON string literal, quotes included.
std::string json_quoted(std::string_view bytes);

}  // namespace tool
