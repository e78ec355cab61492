// Aligned text tables for the cncprobe tool's readable output.
#include "tools/text_table.h"

#include <algorithm>

namespace tool {

namespace {

std::vector<std::string_view> views_of(const TextTable::Row& row) {
  return std::vector<std::string_view>(row.begin(), row.end());
}

}  // namespace

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {
  widths_.reserve(columns_.size());
  for (const Column& column : columns_) widths_.push_back(display_width(column.title));
}

void TextTable::measure(Cells cells) {
  const std::size_t n = std::min(cells.size(), widths_.size());
  for (std::size_t i = 0; i < n; ++i) widths_[i] = std::max(widths_[i], display_width(cells[i]));
}

void TextTable::measure(const Row& row) { measure(views_of(row)); }

void TextTable::print_header(Output& out) const {
  std::vector<std::string_view> titles;
  titles.reserve(columns_.size());
  for (const Column& column : columns_) titles.emplace_back(column.title);
  print(out, titles);
}

void TextTable::print(Output& out, const Row& row) const { print(out, views_of(row)); }

void TextTable::print(Output& out, Cells cells) const {
  out.write_blanks(indent);
  std::size_t pending_blanks = 0;  // padding is written only when something follows it
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const std::string_view cell = i < cells.size() ? cells[i] : std::string_view();
    const std::size_t pad = widths_[i] - std::min(widths_[i], display_width(cell));
    if (i > 0) pending_blanks += 2;
    if (columns_[i].align == kRight) pending_blanks += pad;
    if (!cell.empty()) {
      out.write_blanks(pending_blanks);
      pending_blanks = 0;
      out.write(cell);
    }
    if (columns_[i].align == kLeft) pending_blanks += pad;
  }
  out.write('\n');
}

}  // namespace tool
