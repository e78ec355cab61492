# Runs the tool on one input and compares its JSON document with the kept one, byte for byte.
# cmake -DTOOL=... -DSOURCE_DIR=... -DINPUT=relative/path -DSUBCOMMAND=extract|refs|settings
#       -DUNITS=mm|in -DEXPECTED=... [-DUPDATE=ON] [-DWRAPPER=emulator] -P golden_json.cmake
# WRAPPER runs a cross-built tool (Wine for Windows): its documents must equal the Linux ones.
set(args ${SUBCOMMAND} ${INPUT} --format json)
if(NOT SUBCOMMAND STREQUAL "refs")
  list(APPEND args --units ${UNITS})
endif()
execute_process(COMMAND ${WRAPPER} ${TOOL} ${args}
  WORKING_DIRECTORY ${SOURCE_DIR}
  OUTPUT_VARIABLE actual
  ERROR_VARIABLE errors
  RESULT_VARIABLE code)
if(NOT code MATCHES "^[01]$")
  message(FATAL_ERROR "cncprobe ${args} exited with ${code}: ${errors}")
endif()
if(UPDATE)
  file(WRITE ${EXPECTED} "${actual}")
  return()
endif()
file(READ ${EXPECTED} expected)
if(NOT actual STREQUAL expected)
  file(WRITE ${EXPECTED}.actual "${actual}")
  message(FATAL_ERROR "cncprobe ${args} differs from ${EXPECTED} (see ${EXPECTED}.actual) ${errors}")
endif()
