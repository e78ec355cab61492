// running_under_wine(): whether a Windows test program runs under Wine rather than Windows, so a
// test that needs what Wine does not do can say so and skip.
#pragma once

#if defined(_WIN32)
#include <windows.h>

inline bool running_under_wine() {
  const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}
#else
inline bool running_under_wine() { return false; }
#endif
