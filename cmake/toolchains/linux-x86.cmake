set(METERDB_TRIPLE i686-linux-gnu)
include("${CMAKE_CURRENT_LIST_DIR}/linux.cmake")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")  # numbers as on every other processor
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/${METERDB_TRIPLE}/lib/ld-linux.so.2 --library-path /usr/${METERDB_TRIPLE}/lib)
