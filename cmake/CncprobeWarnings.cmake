# Warning flags in one place; tests get a slightly looser set because test macros expand to code
# we do not control. Warnings become errors only with CNCPROBE_WERROR, which the presets that
# developers and CI build with turn on: a packager's build with another compiler or another
# optimisation level must not fail on a warning that compiler adds.
option(CNCPROBE_WERROR "Treat compiler warnings as errors (the development presets turn it on)" OFF)
add_library(cncprobe_warnings INTERFACE)
add_library(cncprobe_test_warnings INTERFACE)
if(MSVC)
  # Windows developers building with their own Visual Studio: UTF-8 sources, C++ __cplusplus.
  set(cncprobe_werror "$<$<BOOL:${CNCPROBE_WERROR}>:/WX>")
  target_compile_options(cncprobe_warnings INTERFACE /W4 /utf-8 /Zc:__cplusplus ${cncprobe_werror})
  target_compile_options(cncprobe_test_warnings INTERFACE /W3 /utf-8 /Zc:__cplusplus ${cncprobe_werror})
else()
  set(cncprobe_werror "$<$<BOOL:${CNCPROBE_WERROR}>:-Werror>")
  target_compile_options(cncprobe_warnings INTERFACE
    -Wall -Wextra ${cncprobe_werror} -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
    -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)
  target_compile_options(cncprobe_test_warnings INTERFACE -Wall -Wextra ${cncprobe_werror} -Wno-sign-compare)
endif()
