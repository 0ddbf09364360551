# Shared by the mingw-w64 toolchain files: ACE_MINGW_TRIPLET names the target.
set(CMAKE_SYSTEM_NAME Windows)
# The posix thread model gives the full <thread>/<mutex>; its runtime, like
# libstdc++ and libgcc, is linked in statically so that the DLLs and programs
# need nothing but the system's own DLLs.
set(CMAKE_C_COMPILER ${ACE_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ACE_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${ACE_MINGW_TRIPLET}-windres)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_FIND_ROOT_PATH /usr/${ACE_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
