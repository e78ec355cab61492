// apStringFormatter: our own small conversion loop instead of swprintf, so a format can do no harm.
#include "cncprobe/platform/text/internal/string_formatter.h"

#include <string>

apString apStringFormatter::format_list(const apString& format,
                                        std::initializer_list<int> arguments) {
  if (format.invalid()) return apString();
  const std::wstring& f = format.wstr();
  const int* next = arguments.begin();
  std::wstring out;
  out.reserve(f.size() + 11 * arguments.size());
  for (std::size_t i = 0; i < f.size(); ++i) {
    if (f[i] == L'%' && i + 1 < f.size()) {
      const wchar_t conversion = f[i + 1];
      if (conversion == L'%') {
        out.push_back(L'%');
        ++i;
        continue;
      }
      if ((conversion == L'd' || conversion == L'i') && next != arguments.end()) {
        out += std::to_wstring(*next++);
        ++i;
        continue;
      }
    }
    out.push_back(f[i]);
  }
  return apString(std::move(out));
}
