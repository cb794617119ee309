# Flags that every target of the project shares. Warnings are errors; a header
# of a library is a system header and stays silent.

add_library(vorlan_flags INTERFACE)
target_compile_options(vorlan_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow=local -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
  -Wno-missing-field-initializers
  -pthread)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports these two inside inlined library code that is right.
  target_compile_options(vorlan_flags INTERFACE -fpch-preprocess -Wno-restrict -Wno-maybe-uninitialized)
else()
  target_compile_options(vorlan_flags INTERFACE -Wthread-safety -Wno-unused-private-field -Wno-overloaded-virtual)
endif()

if(VORLAN_SANITIZER)
  add_compile_options(-fsanitize=${VORLAN_SANITIZER} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VORLAN_SANITIZER})
  if(VORLAN_SANITIZER STREQUAL "address")
    add_compile_options(-fsanitize=undefined -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=undefined)
  elseif(VORLAN_SANITIZER STREQUAL "thread")
    # The atomic fences of header-only libraries are unknown to the sanitizer.
    add_compile_options(-Wno-tsan)
  endif()
endif()

find_program(VORLAN_CCACHE ccache)
if(VORLAN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env
    CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}
    CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
    ${VORLAN_CCACHE})
endif()

find_program(VORLAN_MOLD mold)
if(VORLAN_MOLD)
  add_link_options(-fuse-ld=mold)
endif()
