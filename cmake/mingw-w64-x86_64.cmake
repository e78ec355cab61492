# Cross build for 64-bit Windows with Debian's MinGW-w64 (the posix thread model, for std::thread).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Libraries and packages come from the MinGW sysroot and from the folder scripts/windows-deps
# fills; programs run on the build machine.
set(CNCPROBE_WINDOWS_DEPS "${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps/prefix" CACHE PATH
  "Static Windows builds of PCRE2, libxml2, nettle and GoogleTest")
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${CNCPROBE_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(ENV{PKG_CONFIG_LIBDIR} "${CNCPROBE_WINDOWS_DEPS}/lib/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")

# Test programs and the tool run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run")

# The GCC runtime (libgcc, libstdc++, winpthread) is linked into every program and into the DLL:
# nothing of MinGW needs to be shipped beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
