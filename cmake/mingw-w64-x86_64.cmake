# Windows x64; mingw-w64.cmake tells how.
set(BV_MINGW x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
