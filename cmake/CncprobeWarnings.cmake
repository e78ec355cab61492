# Warning flags in one place: the project's own code treats warnings as errors; tests get a
# slightly looser set because test macros expand to code we do not control.
add_library(cncprobe_warnings INTERFACE)
target_compile_options(cncprobe_warnings INTERFACE
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
  -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)

add_library(cncprobe_test_warnings INTERFACE)
target_compile_options(cncprobe_test_warnings INTERFACE -Wall -Wextra -Werror -Wno-sign-compare)
