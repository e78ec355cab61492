// The report page: the template's placeholders filled with the assets and the data.
#include "tools/report/report_page.h"

#include <array>
#include <random>

#include "tools/report/json_text.h"

namespace tool {

std::string html_escaped(std::string_view bytes) {
  std::string valid;
  append_valid_utf8(valid, bytes);
  std::string out;
  out.reserve(valid.size());
  for (const char c : valid) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string base64(const void* bytes, std::size_t size) {
  std::string out((size + 2) / 3 * 4, '\0');
  encode_base64(static_cast<const unsigned char*>(bytes), size, out.data());
  return out;
}

namespace {

// 128 random bits as hex: a nonce only has to be unguessable by whoever wrote the results file.
std::string fresh_nonce() {
  std::random_device device;
  std::string nonce;
  for (int i = 0; i < 4; ++i) {
    const unsigned value = device();
    static constexpr char kHex[] = "0123456789abcdef";
    for (int shift = 28; shift >= 0; shift -= 4) nonce += kHex[(value >> shift) & 15u];
  }
  return nonce;
}

}  // namespace

void write_report_page(const ReportPage& page, Output& out) {
  const std::string nonce = fresh_nonce();
  const std::string title = html_escaped(page.title);
  const std::string generator = html_escaped(page.generator);
  const std::string kind = html_escaped(page.kind);
  struct Fill {
    std::string_view name;
    std::string_view text;
  };
  const std::array<Fill, 10> fills{{{"NONCE", nonce},
                                    {"GENERATOR", generator},
                                    {"TITLE", title},
                                    {"STYLE", report_asset_style()},
                                    {"PAGE_KIND", kind},
                                    {"DATA", {}},
                                    {"THREE", report_asset_three()},
                                    {"ORBIT", report_asset_orbit()},
                                    {"CHART", report_asset_chart()},
                                    {"APP", report_asset_app()}}};
  // The template is scanned once; what a placeholder brings in is never scanned again, so text
  // from a file or a library cannot become a placeholder.
  const std::string_view tpl = report_asset_page();
  std::size_t at = 0;
  while (at < tpl.size()) {
    const std::size_t open = tpl.find('@', at);
    if (open == std::string_view::npos) break;
    const std::size_t close = tpl.find('@', open + 1);
    if (close == std::string_view::npos) break;
    const std::string_view name = tpl.substr(open + 1, close - open - 1);
    const Fill* fill = nullptr;
    for (const Fill& f : fills) {
      if (f.name == name) fill = &f;
    }
    if (!fill) {  // an "@" of the page itself
      out.write(tpl.substr(at, close - at));
      at = close;
      continue;
    }
    out.write(tpl.substr(at, open - at));
    if (fill->name == "DATA") {
      page.write_data(out);
    } else {
      out.write(fill->text);
    }
    at = close + 1;
  }
  out.write(tpl.substr(at));
}

}  // namespace tool
