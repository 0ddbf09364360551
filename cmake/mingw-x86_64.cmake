# 64-bit Windows with Debian's mingw-w64; tests run under Wine.
# cmake -S . -B build/win64 --toolchain cmake/mingw-x86_64.cmake
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ACE_MINGW_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
# scripts/test-windows.sh passes its own (Wine under another user).
if(NOT DEFINED CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR wine)
endif()
