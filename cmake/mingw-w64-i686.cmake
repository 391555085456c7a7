# Windows x86; mingw-w64.cmake tells how.
set(BV_MINGW i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
# Arithmetic of doubles is the same as on all other processors: the old unit rounds as its control word says, which
# belongs to the whole thread.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
