# Warning flags in one place; tests get a slightly looser set because test macros expand to code
# we do not control. Warnings become errors only with CNCPROBE_WERROR, which the presets that
# developers and CI build with turn on: a packager's build with another compiler or another
# optimisation level must not fail on a warning that compiler adds.
option(CNCPROBE_WERROR "Treat compiler warnings as errors (the development presets turn it on)" OFF)
set(cncprobe_werror "$<$<BOOL:${CNCPROBE_WERROR}>:-Werror>")

add_library(cncprobe_warnings INTERFACE)
target_compile_options(cncprobe_warnings INTERFACE
  -Wall -Wextra ${cncprobe_werror} -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
  -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)

add_library(cncprobe_test_warnings INTERFACE)
target_compile_options(cncprobe_test_warnings INTERFACE -Wall -Wextra ${cncprobe_werror} -Wno-sign-compare)
