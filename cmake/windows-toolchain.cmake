# 64-bit Windows by MinGW-w64 with POSIX threads; programs run under wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_zvclr_triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_zvclr_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_zvclr_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${_zvclr_triple}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${_zvclr_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The products ask for nothing but the system's own DLLs.
foreach(_zvclr_kind EXE SHARED MODULE)
  set(CMAKE_${_zvclr_kind}_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-wrapper.sh)
