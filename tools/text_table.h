// TextTable: columns aligned for a person reading a terminal, filled in two passes.
//
// The first pass only measures, so a table of a million rows needs no more memory than one row;
// a row's cells may be views of text formatted afresh for each pass.
//
//   TextTable table({{"KIND", TextTable::kLeft}, {"NOMINAL", TextTable::kRight}});
//   for (const Row& row : rows) table.measure(row);   // first pass: widths only
//   table.print_header(out);
//   for (const Row& row : rows) table.print(out, row); // second pass: the same rows again
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/output.h"

namespace tool {

class TextTable {
 public:
  enum Align { kLeft, kRight };
  struct Column {
    std::string title;
    Align align;
  };
  using Row = std::vector<std::string>;
  using Cells = std::span<const std::string_view>;

  // Columns in order; every row holds one cell per column (missing cells print empty).
  explicit TextTable(std::vector<Column> columns);

  // Widens the columns to fit the row's cells, which must already be printable text.
  void measure(Cells cells);
  void measure(const Row& row);
  // The column titles, then one row per line, each indented by `indent` blanks; two blanks
  // between columns, no blanks at the end of a line.
  void print_header(Output& out) const;
  void print(Output& out, Cells cells) const;
  void print(Output& out, const Row& row) const;

  std::size_t indent = 2;

 private:
  std::vector<Column> columns_;
  std::vector<std::size_t> widths_;
};

}  // namespace tool
