// The report page: the template's placeholders filled with the assets and the data.
#include "tools/report/report_page.h"

#include <array>
#include <random>

namespace tool {

std::string json_for_script(std::string_view json) {
  std::string out;
  out.reserve(json.size() + json.size() / 64);
  std::size_t from = 0;
  while (true) {
    // Long runs (base64 blocks, numbers) hold none of these bytes: copy them whole.
    const std::size_t at = json.find_first_of("<>&\xE2", from);
    out.append(
        json.substr(from, at == std::string_view::npos ? std::string_view::npos : at - from));
    if (at == std::string_view::npos) break;
    const char c = json[at];
    from = at + 1;
    if (c == '<') {
      out += "\\u003c";
    } else if (c == '>') {
      out += "\\u003e";
    } else if (c == '&') {
      out += "\\u0026";
    } else if (at + 2 < json.size() && json[at + 1] == '\x80' &&
               (json[at + 2] == '\xA8' || json[at + 2] == '\xA9')) {
      out += json[at + 2] == '\xA8' ? "\\u2028" : "\\u2029";
      from = at + 3;
    } else {
      out += c;  // another character that starts with 0xE2
    }
  }
  return out;
}

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
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto* in = static_cast<const unsigned char*>(bytes);
  std::string out;
  out.resize((size + 2) / 3 * 4);
  char* o = out.data();
  std::size_t i = 0;
  for (; i + 3 <= size; i += 3) {
    const unsigned v = (unsigned{in[i]} << 16) | (unsigned{in[i + 1]} << 8) | in[i + 2];
    *o++ = kAlphabet[v >> 18];
    *o++ = kAlphabet[(v >> 12) & 63];
    *o++ = kAlphabet[(v >> 6) & 63];
    *o++ = kAlphabet[v & 63];
  }
  if (i < size) {
    const bool two = i + 1 < size;
    const unsigned v = (unsigned{in[i]} << 16) | (two ? unsigned{in[i + 1]} << 8 : 0u);
    *o++ = kAlphabet[v >> 18];
    *o++ = kAlphabet[(v >> 12) & 63];
    *o++ = two ? kAlphabet[(v >> 6) & 63] : '=';
    *o++ = '=';
  }
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
  const std::string data = json_for_script(page.data_json);
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
                                    {"DATA", data},
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
    out.write(fill->text);
    at = close + 1;
  }
  out.write(tpl.substr(at));
}

}  // namespace tool
