# Flags that every target of the project shares. Warnings are errors; a header
# of a library is a system header and stays silent.

add_library(vorlan_flags INTERFACE)
target_compile_options(vorlan_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wnon-virtual-dtor -Wcast-align -Wno-missing-field-initializers
  -pthread)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # ccache needs the preprocessed form of a precompiled header. GCC 12 reports the
  # last two inside inlined library code that is right.
  target_compile_options(vorlan_flags INTERFACE
    -fpch-preprocess -Wshadow=local -Woverloaded-virtual -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread -Wno-maybe-uninitialized)
  if(CMAKE_UNITY_BUILD)
    # Each .cpp is an included file then, and its anonymous types look like a header's.
    target_compile_options(vorlan_flags INTERFACE -Wno-subobject-linkage)
  endif()
else()
  # A time stamp in the precompiled header would make every ccache entry a new one.
  target_compile_options(vorlan_flags INTERFACE
    "SHELL:-Xclang -fno-pch-timestamp" -Wno-unused-private-field -Wno-overloaded-virtual)
endif()

if(VORLAN_SANITIZER STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(VORLAN_SANITIZER STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
  # The atomic fences of header-only libraries are unknown to the sanitizer.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan)
  endif()
elseif(VORLAN_SANITIZER)
  message(FATAL_ERROR "VORLAN_SANITIZER is \"${VORLAN_SANITIZER}\"; it may be address, thread or empty.")
endif()

if(VORLAN_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "The fuzzers need clang++: use the preset fuzz.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(VORLAN_ANALYZE)
  # A guarded field needs a lock type that clang knows as one: CommonMutex or RWLock.
  target_compile_options(vorlan_flags INTERFACE -Wthread-safety)
  find_program(VORLAN_CLANG_TIDY NAMES clang-tidy REQUIRED)
  set(CMAKE_CXX_CLANG_TIDY ${VORLAN_CLANG_TIDY} --quiet)
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
