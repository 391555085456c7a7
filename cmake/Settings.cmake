# What every target of the project is built with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
# What is built finds its libraries beside itself, wherever the tree or the prefix is moved.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT WIN32)
  # A library with unique symbols stays in memory for ever; a module of ours can be unloaded.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
# The system's headers are most of what a compiler reads, so sources are compiled in groups.
set(CMAKE_UNITY_BUILD ON CACHE BOOL "Compile sources in groups")
set(CMAKE_UNITY_BUILD_BATCH_SIZE 8)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1 -DNDEBUG")  # for fuzzers
if(BV_SANITIZE)
  set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g1")  # built often, run once
endif()

find_program(CCACHE ccache)
if(CCACHE)
  # A precompiled header has times and macros of its own; ccache is to look past them.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

set(BV_SANITIZE "" CACHE STRING "Sanitizers for all targets, such as address,undefined")
if(BV_SANITIZE)
  add_compile_options(-fsanitize=${BV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(BV_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=vptr)  # an object of somebody else has the interface's table, and no C++ type
  endif()
  add_link_options(-fsanitize=${BV_SANITIZE})
endif()
if(BV_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)  # all code tells the fuzzer what it reaches
endif()

# Our own code compiles without a warning of gcc, the compiler of record; what is built from other people's sources is
# left alone.
add_library(bv_warnings INTERFACE)
target_compile_options(bv_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow
  -Woverloaded-virtual -Wcast-qual $<$<CXX_COMPILER_ID:GNU>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(bv_warnings INTERFACE -Wno-restrict)  # sees overlaps in "literal" + std::string
endif()
if(WIN32)
  # The real headers and __uuidof use extensions; calling conventions of C callbacks are theirs.
  target_compile_options(bv_warnings INTERFACE -Wno-pedantic)
endif()
