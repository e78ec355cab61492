// Aligned text tables for the cncprobe tool's readable output.
#include "tools/text_table.h"

#include <algorithm>

namespace tool {

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {
  widths_.reserve(columns_.size());
  for (const Column& column : columns_) widths_.push_back(display_width(column.title));
}

void TextTable::measure(const Row& row) {
  const std::size_t n = std::min(row.size(), widths_.size());
  for (std::size_t i = 0; i < n; ++i) widths_[i] = std::max(widths_[i], display_width(row[i]));
}

void TextTable::print_header(Output& out) const {
  std::vector<const std::string*> cells;
  cells.reserve(columns_.size());
  for (const Column& column : columns_) cells.push_back(&column.title);
  print_cells(out, cells);
}

void TextTable::print(Output& out, const Row& row) const {
  static const std::string kEmpty;
  std::vector<const std::string*> cells;
  cells.reserve(columns_.size());
  for (std::size_t i = 0; i < columns_.size(); ++i)
    cells.push_back(i < row.size() ? &row[i] : &kEmpty);
  print_cells(out, cells);
}

void TextTable::print_cells(Output& out, const std::vector<const std::string*>& cells) const {
  std::string line(indent, ' ');
  std::size_t pending_blanks = 0;  // padding is written only when something follows it
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string& cell = *cells[i];
    const std::size_t pad = widths_[i] - std::min(widths_[i], display_width(cell));
    if (i > 0) pending_blanks += 2;
    if (columns_[i].align == kRight) pending_blanks += pad;
    if (!cell.empty()) {
      line.append(pending_blanks, ' ');
      pending_blanks = 0;
      line.append(cell);
    }
    if (columns_[i].align == kLeft) pending_blanks += pad;
  }
  line.push_back('\n');
  out.write(line);
}

}  // namespace tool
