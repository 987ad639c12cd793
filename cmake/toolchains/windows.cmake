# Windows, with the MinGW-w64 compiler for METERDB_TRIPLE (the one with POSIX threads). Programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${METERDB_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${METERDB_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${METERDB_TRIPLE}-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine")
include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
