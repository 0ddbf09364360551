# 32-bit Windows with Debian's mingw-w64: the plug-in's own target, where the
# records have their original layout and the exports use __stdcall.
# cmake -S . -B build/win32 --toolchain cmake/mingw-i686.cmake
set(CMAKE_SYSTEM_PROCESSOR i686)
set(ACE_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
