// Numbers and text as an exchanged XML document may carry them.
//
// Measured values are XML decimals: no exponent, no NaN or infinity, a point whatever the locale,
// and enough digits that reading the text back gives the same double. Text read from a results
// file (feature names, labels, file names) may hold bytes that are not UTF-8 or characters XML
// 1.0 cannot carry at all; they are replaced so the document still parses.
#pragma once

#include <string>
#include <string_view>

// Appends `value` to `out` as a plain decimal with the fewest digits that read back as the same
// double ("0.1", "-12.5", "3"); -0 is written 0. False, with nothing appended, for NaN or an
// infinity.
bool ex_append_decimal(std::string& out, double value);

// `bytes` as XML 1.0 can carry it: every byte that is not part of well-formed UTF-8 and every
// character XML forbids (controls other than tab, line feed and carriage return; U+FFFE, U+FFFF)
// becomes U+FFFD. Markup characters stay; the XML writer escapes them.
std::string ex_xml_text(std::string_view bytes);
