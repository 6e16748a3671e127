# Cross-builds the program for 32-bit Windows.
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
# The display computes in double precision, as the other builds do, not in the processor's 80 bits.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
