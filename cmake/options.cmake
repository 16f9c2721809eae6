# Compiler settings that every target of the project shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

add_library(zvclr_options INTERFACE)
# Contraction to fused multiply-add would change single colours: the bytes are part of the contract.
target_compile_options(zvclr_options INTERFACE
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wundef -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)

set(_zvclr_sanitize "")
if(ZVCLR_SANITIZE)
  set(_zvclr_sanitize -fsanitize=${ZVCLR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(ZVCLR_SANITIZE MATCHES undefined AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    list(APPEND _zvclr_sanitize -fno-sanitize=function)
  endif()
  if(WIN32)
    # No sanitizer runtime for MinGW: undefined behaviour traps instead.
    set(_zvclr_sanitize -fsanitize=undefined -fsanitize-undefined-trap-on-error)
  endif()
endif()
target_compile_options(zvclr_options INTERFACE ${_zvclr_sanitize})
target_link_options(zvclr_options INTERFACE ${_zvclr_sanitize})

# Whether row code has variants for other instruction sets than the platform's baseline.
set(ZVCLR_ISA_VARIANTS OFF)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
  set(ZVCLR_ISA_VARIANTS ON)
  target_compile_definitions(zvclr_options INTERFACE ZVCLR_ISA_VARIANTS)
endif()
