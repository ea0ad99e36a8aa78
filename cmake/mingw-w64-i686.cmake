# Cross-compiles for 32-bit Windows with Debian's mingw-w64 (posix threading flavour): the
# automation server for 32-bit hosts (32-bit Office, LabVIEW).
set(CMAKE_SYSTEM_PROCESSOR x86)
set(TOOLCHAIN_PREFIX i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
