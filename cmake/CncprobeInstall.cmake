# Installs the shared library, its public headers, a CMake package (find_package(cncprobe CONFIG)
# giving cncprobe::cncprobe) and a pkg-config file. Included from the top-level CMakeLists.txt.
include(CMakePackageConfigHelpers)

set(CNCPROBE_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/cncprobe)

# The public headers use C++20 (defaulted comparisons), so every host compiles at least C++20.
target_compile_features(cncprobe INTERFACE cxx_std_20)

install(TARGETS cncprobe EXPORT cncprobeTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

# Every header under cncprobe/, in its folder, so that #include "cncprobe/..." works as in the
# source tree; test utilities and internal/ folders stay behind.
# The installed tool finds the library beside it, wherever the prefix is moved to.
if(TARGET cncprobe_cli AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH CNCPROBE_BIN_TO_LIB
    "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(cncprobe_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${CNCPROBE_BIN_TO_LIB}")
endif()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/cncprobe/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/cncprobe
  COMPONENT development
  FILES_MATCHING PATTERN "*.h"
  PATTERN "*_test*.h" EXCLUDE
  PATTERN "test_*.h" EXCLUDE
  PATTERN "internal" EXCLUDE)

install(EXPORT cncprobeTargets
  NAMESPACE cncprobe::
  DESTINATION ${CNCPROBE_CMAKE_INSTALL_DIR}
  COMPONENT development)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/cncprobeConfig.cmake.in
  ${PROJECT_BINARY_DIR}/cncprobeConfig.cmake
  INSTALL_DESTINATION ${CNCPROBE_CMAKE_INSTALL_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cncprobeConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cncprobeConfig.cmake ${PROJECT_BINARY_DIR}/cncprobeConfigVersion.cmake
  DESTINATION ${CNCPROBE_CMAKE_INSTALL_DIR}
  COMPONENT development)

# The .pc file finds its prefix from where it lies (pkg-config's ${pcfiledir}), so a staged or
# relocated install works without reconfiguring.
set(CNCPROBE_PC_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(CNCPROBE_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH CNCPROBE_PC_PREFIX_FROM_PCDIR
    "/prefix/${CNCPROBE_PC_INSTALL_DIR}" "/prefix")
  string(REGEX REPLACE "/$" "" CNCPROBE_PC_PREFIX_FROM_PCDIR "${CNCPROBE_PC_PREFIX_FROM_PCDIR}")
  set(CNCPROBE_PC_PREFIX "\${pcfiledir}/${CNCPROBE_PC_PREFIX_FROM_PCDIR}")
endif()
foreach(dir IN ITEMS LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(CNCPROBE_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(CNCPROBE_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/cncprobe.pc.in ${PROJECT_BINARY_DIR}/cncprobe.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cncprobe.pc
  DESTINATION ${CNCPROBE_PC_INSTALL_DIR}
  COMPONENT development)

# The licence of cncprobe and the notices of what it links or embeds, where packagers and hosts
# look for them.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/cncprobe
  COMPONENT runtime)

# The Windows package (cpack -G ZIP in the build folder): cncprobe.dll and cncprobe.exe in bin/,
# the import library cncprobe.lib and cncprobe.def in lib/, the headers, the CMake package, and
# the licences of what the DLL has linked in (PCRE2, libxml2, the MinGW-w64 and GCC runtimes).
if(WIN32)
  if(MINGW)
    install(FILES ${PROJECT_BINARY_DIR}/cncprobe.def
      DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT development)
  endif()
  if(IS_DIRECTORY "${CNCPROBE_WINDOWS_DEPS}/share/licenses")
    install(DIRECTORY ${CNCPROBE_WINDOWS_DEPS}/share/licenses/
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/cncprobe/licenses
      COMPONENT runtime)
  endif()
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_NAME cncprobe)
  set(CPACK_PACKAGE_VENDOR "cncprobe")
  set(CPACK_PACKAGE_FILE_NAME cncprobe-${PROJECT_VERSION}-windows-x64)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
  include(CPack)
endif()
