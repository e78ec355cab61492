// The self-contained HTML page of an inspection or trend report: the page template, its style and
// scripts, three.js and Chart.js, all compiled into the tool, and the report's data as JSON.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "tools/output.h"

namespace tool {

// The bytes of the assets compiled in by tools/report/embed_assets.cmake.
std::string_view report_asset_page();
std::string_view report_asset_style();
std::string_view report_asset_app();
std::string_view report_asset_three();
std::string_view report_asset_orbit();
std::string_view report_asset_chart();

// `bytes` as text for HTML element content or a quoted attribute.
std::string html_escaped(std::string_view bytes);

// Standard base64 (with padding) of `size` bytes.
std::string base64(const void* bytes, std::size_t size);

struct ReportPage {
  std::string title;      // plain text; escaped when written
  std::string kind;       // "report" or "trend": the body's class
  std::string generator;  // "cncprobe 0.2.0"
  // Writes the data document where the page holds it, escaped for its script element (JsonText
  // does that); called once, after the page's head has gone out.
  std::function<void(Output&)> write_data;
};

// Writes the page; every script carries a fresh nonce that the page's content security policy
// requires, so markup smuggled into the page could not run a script even if it escaped escaping.
void write_report_page(const ReportPage& page, Output& out);

}  // namespace tool
