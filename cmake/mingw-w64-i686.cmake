# Windows x86; mingw-w64.cmake tells how.
set(BV_MINGW i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
