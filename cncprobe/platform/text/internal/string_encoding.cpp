// The UTF-8 encoding of utString text behind apStringEncodingChooser.
#include "cncprobe/platform/text/internal/string_encoding.h"

#include <string>
#include <string_view>

namespace {
class Utf8Encoding final : public apIStringEncoding {
 public:
  utString to_ut_string(const apString& text, int& error) const override {
    if (text.invalid()) return utString();
    int bad = 0;
    const std::string bytes = text.utf8(bad);
    if (bad != 0) {
      error = bad;
      return utString();
    }
    return utString(bytes.data(), bytes.size());
  }

  apString to_ap_string(const utString& text, int& error) const override {
    if (text.invalid()) return apString();
    int bad = 0;
    apString wide(apStringFromUTF8, text.view(), bad);
    if (bad != 0) {
      error = bad;
      return apString();
    }
    return wide;
  }
};
}  // namespace

const apIStringEncoding* apStringEncodingChooser::ut_encoding() const noexcept {
  // A function-local constant: built once, thread-safely, and never destroyed before use ends.
  static const Utf8Encoding encoding;
  return &encoding;
}
