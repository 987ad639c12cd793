set(METERDB_TRIPLE i686-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/windows.cmake")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")  # numbers as on every other processor
