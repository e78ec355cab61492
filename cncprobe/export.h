// Symbol visibility for the shared library: everything is hidden unless marked CNCPROBE_API.
#pragma once

#if defined(CNCPROBE_STATIC)
#define CNCPROBE_API
#elif defined(_WIN32)
#if defined(CNCPROBE_BUILDING)
#define CNCPROBE_API __declspec(dllexport)
#else
#define CNCPROBE_API __declspec(dllimport)
#endif
#else
#define CNCPROBE_API __attribute__((visibility("default")))
#endif
