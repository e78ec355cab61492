# The manual page cncprobe(1): docs/cncprobe.1.md turned into man format by pandoc at build time and
# installed into share/man/man1. Without pandoc (a packager's minimal machine) the page is skipped
# and the build goes on. Included from the top-level CMakeLists.txt when the tool is built.
find_program(CNCPROBE_PANDOC pandoc)
if(NOT CNCPROBE_PANDOC OR WIN32)
  return()
endif()
set(CNCPROBE_MAN_PAGE ${PROJECT_BINARY_DIR}/man/cncprobe.1)
# "smart" typography is off: it would turn the options' "--" into dashes.
add_custom_command(OUTPUT ${CNCPROBE_MAN_PAGE}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
  COMMAND ${CNCPROBE_PANDOC} --standalone --from markdown-smart --to man
    --metadata "footer=cncprobe ${PROJECT_VERSION}" --output ${CNCPROBE_MAN_PAGE}
    ${PROJECT_SOURCE_DIR}/docs/cncprobe.1.md
  DEPENDS ${PROJECT_SOURCE_DIR}/docs/cncprobe.1.md
  COMMENT "Writing the manual page cncprobe.1"
  VERBATIM)
add_custom_target(man ALL DEPENDS ${CNCPROBE_MAN_PAGE})
install(FILES ${CNCPROBE_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
